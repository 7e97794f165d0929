"""What of a build goes into the simulated instrument, how it is made, and what it needs here."""

import ctypes.util
import glob
import os
import shutil
import subprocess
from dataclasses import dataclass, field
from pathlib import Path

from . import SOURCES

SETUP, ARM_ROOT = SOURCES / "tools" / "setup", SOURCES / "tools" / "arm-root"
TOUCHSCREEN, VIEWER = "touchscreen", "screenviewer"
NATIVE_PROGRAM, ARM_PROGRAM = "vrk-updater-simulated", "vrk-updater"
SCREEN_VSYNC, VSYNC_TARGET = "libscreen-vsync.so", "screen-vsync"
NATIVE_TARGETS, ARM_TARGETS = (NATIVE_PROGRAM, VSYNC_TARGET), (ARM_PROGRAM, TOUCHSCREEN)
NOT_POSSIBLE = 77
ELF, ARM_MACHINE = b"\x7fELF", b"\x28\x00"


class NotPossible(Exception):
    """This machine cannot do what is asked for; the text says why."""


@dataclass(frozen=True)
class Build:
    """A build folder, the program to take from it, the base of the root file system, and the environment there."""

    folder: Path
    program_name: str = NATIVE_PROGRAM
    base: Path = Path("/")
    environment: dict = field(default_factory=dict)

    @classmethod
    def arm(cls, folder, program_name=ARM_PROGRAM, effects=False):
        """An ARM build, on the root file system of tools/arm-root.

        Under the emulator Mesa's quick driver draws wrongly. Its simple one draws all that there is
        but is slow; Qt Quick's software backend is fast and leaves out the graphical effects.
        """
        drawing = {"GALLIUM_DRIVER": "softpipe"} if effects else {"QT_QUICK_BACKEND": "software"}
        return cls(folder, program_name, arm_root(), drawing)

    @classmethod
    def emulated(cls, folder):
        """An ARM build, on the system of the emulated instrument."""
        return cls(folder, ARM_PROGRAM, arm_root("--instrument"))

    @property
    def program(self):
        return self.folder / "bin" / self.program_name

    @property
    def translations(self):
        return self.folder / "bin" / "translations"

    @property
    def library(self):
        return self.folder / "lib" / "libvrk-embedded-api.so"

    @property
    def touchscreen(self):
        """The program that makes a touch screen in the emulated instrument."""
        return self.folder / "bin" / TOUCHSCREEN

    @property
    def viewer(self):
        """The program that shows the screen without the updater behind it."""
        return self.folder / "bin" / VIEWER

    @property
    def vsync(self):
        """The library that gives a virtual screen its refresh rate; None where the build has none."""
        library = self.folder / "lib" / SCREEN_VSYNC
        return library if library.exists() else None

    def check(self):
        """Raises FileNotFoundError when a part is missing, OSError when it is for another processor."""
        for part in (self.program, self.library, self.translations):
            if not part.exists():
                raise FileNotFoundError(f"{part} is missing: build first")
        if is_arm(self.program) != (self.base != Path("/")):
            kind = "ARM, which needs --arm" if is_arm(self.program) else "another processor than ARM"
            raise OSError(f"{self.program} is built for {kind}")


def is_arm(program):
    """Whether a file is a program or library for 32-bit ARM."""
    with open(program, "rb") as file:
        header = file.read(20)
    return header[:4] == ELF and header[18:20] == ARM_MACHINE


def require_screen():
    """Raises NotPossible where the updater cannot run on a virtual screen."""
    require_root_and("Xvfb", "mount")
    if not glob.glob("/usr/lib/*/dri/swrast_dri.so") or not ctypes.util.find_library("GL"):
        raise NotPossible("there is no software OpenGL (Debian packages libgl1 and libgl1-mesa-dri)")


def require_emulator():
    """Raises NotPossible where no computer can be emulated."""
    require_root_and("qemu-system-arm", "sfdisk", "mke2fs", "mkfs.vfat", "mcopy", "cpio")


def require_root_and(*tools):
    """Raises NotPossible without root, which private mounts need, and without these tools."""
    if os.geteuid() != 0:
        raise NotPossible("a private root file system needs root")
    missing = [tool for tool in tools if not shutil.which(tool)]
    if missing:
        raise NotPossible("not installed here: " + " ".join(missing))


def require_devices():
    """Raises NotPossible where the instrument's partitions cannot be had."""
    if os.geteuid() != 0 or not os.path.exists("/dev/loop-control"):
        raise NotPossible("needs root and loop devices for the instrument's partitions")


def require_served_card():
    """Raises NotPossible where nothing can stand between the instrument and its card, to log writes or fail."""
    require_devices()
    if not os.path.exists("/dev/fuse"):
        raise NotPossible("needs /dev/fuse to log what is written to the instrument's card, or to let the card fail")


def make(*kind, besides=()):
    """Installs what is missing and builds for this machine, with "--arm" or "--emulator" for the instrument.

    These are options of tools/setup; `besides` are targets that are not built otherwise. Returns the build folder.
    Raises NotPossible or OSError.
    """
    preset, targets = ("arm", ARM_TARGETS) if kind else ("dev", NATIVE_TARGETS)
    setting_up = subprocess.run([SETUP, *kind], check=False)
    if setting_up.returncode != 0:
        raise (NotPossible if setting_up.returncode == NOT_POSSIBLE else OSError)("tools/setup failed, as said above")
    folder = SOURCES / "build" / preset
    print(f"building into {folder.relative_to(SOURCES)}", flush=True)
    if not (folder / "build.ninja").exists():
        _quietly("cmake", "--preset", preset, "-DBUILD_TESTING=OFF")
    _quietly("cmake", "--build", "--preset", preset, "--target", *targets, *besides)
    return folder


def _quietly(*command):
    done = subprocess.run(command, cwd=SOURCES, check=False, text=True, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        raise OSError(f"{done.stdout}{' '.join(command)} failed")


def arm_root(*kind):
    """The path of the armhf root file system, or of the one that an option of tools/arm-root names.

    Raises NotPossible, or OSError when it must be made first.
    """
    checking = subprocess.run([ARM_ROOT, *kind, "--check"], stdout=subprocess.PIPE, text=True, check=False)
    if checking.returncode != 0:
        raise (NotPossible if checking.returncode == NOT_POSSIBLE else OSError)(checking.stdout.strip())
    printing = subprocess.run([ARM_ROOT, *kind, "--print"], stdout=subprocess.PIPE, text=True, check=True)
    return Path(printing.stdout.strip())
