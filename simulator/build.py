"""What of a build goes into the simulated instrument, and the root file system under it."""

import subprocess
from dataclasses import dataclass, field
from pathlib import Path

ARM_ROOT = Path(__file__).resolve().parent.parent / "tools" / "arm-root"
NATIVE_PROGRAM, ARM_PROGRAM = "vrk-updater-simulated", "vrk-updater"
NOT_POSSIBLE = 77
ELF, ARM_MACHINE = b"\x7fELF", b"\x28\x00"


class NotPossible(Exception):
    """This machine cannot run such a build; the text says why."""


@dataclass(frozen=True)
class Build:
    """The parts of a build, the base of the root file system, and what the environment needs there."""

    program: Path
    library: Path
    translations: Path
    base: Path = Path("/")
    environment: dict = field(default_factory=dict)

    @classmethod
    def native(cls, folder, program=NATIVE_PROGRAM):
        """The parts of a native build folder, on this machine's own file system."""
        return cls(*_parts(folder, program))

    @classmethod
    def arm(cls, folder, program=ARM_PROGRAM, effects=False):
        """The parts of an ARM build folder, on the root file system of tools/arm-root.

        Under the emulator Mesa's quick driver draws wrongly. Its simple one draws all that there is
        but is slow; Qt Quick's software backend is fast and leaves out the graphical effects.
        """
        drawing = {"GALLIUM_DRIVER": "softpipe"} if effects else {"QT_QUICK_BACKEND": "software"}
        return cls(*_parts(folder, program), base=_arm_root(), environment=drawing)

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


def _parts(folder, program):
    return folder / "bin" / program, folder / "lib" / "libvrk-embedded-api.so", folder / "bin" / "translations"


def _arm_root():
    """The path of the armhf root file system; raises NotPossible, or OSError when it must be made first."""
    checking = subprocess.run([ARM_ROOT, "--check"], stdout=subprocess.PIPE, text=True, check=False)
    if checking.returncode != 0:
        raise (NotPossible if checking.returncode == NOT_POSSIBLE else OSError)(checking.stdout.strip())
    return Path(subprocess.run([ARM_ROOT, "--print"], check=True, stdout=subprocess.PIPE, text=True).stdout.strip())
