"""The real updater on a virtual screen, in an instrument without a disk.

The root file system is the simulator's private one. The partitions are missing: stand-ins of mount
and umount only claim that they did their work, and the archive is unpacked into memory.
"""

import contextlib
import ctypes.util
import functools
import glob
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from dataclasses import dataclass, field
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCES / "simulator"))

import sample  # noqa: E402
import standins  # noqa: E402
from isolation import run_isolated  # noqa: E402
from rootfs import RootFileSystem  # noqa: E402
from screen import VirtualScreen  # noqa: E402
from xdisplay import XDisplay  # noqa: E402

BUILD = Path(os.environ.get("VRK_BUILD", SOURCES / "build" / "dev")).absolute()
SKIPPED = 77
SMALLEST = (800, 480)
MEMORY = "/mnt"  # of this mount namespace only
PROGRAM = "/opt/vrk-updater/vrk-updater"
FSTAB = "/dev/mmcblk1p3 /usr/local ext4 defaults 0 2\n"
DRIVE = "/media/usb"
ARCHIVE = f"{DRIVE}/zepra_update_v3.5.0.tar.gz"
MISSING_ARCHIVE = f"{DRIVE}/missing/zepra_update_v3.5.0.tar.gz"
CORRUPT_ARCHIVE = f"{DRIVE}/corrupt/zepra_update_v3.5.0.tar.gz"
UNNAMED_ARCHIVE = f"{DRIVE}/update.tar.gz"
SILENT = ("-u", ARCHIVE, "--silent")

# What of the build goes beside the program, and under which name.
PARTS = {"bin/vrk-updater-simulated": os.path.basename(PROGRAM), "bin/translations": "translations",
         "lib/libvrk-embedded-api.so": "libvrk-embedded-api.so", "lib/libscreen-vsync.so": "libscreen-vsync.so"}

MOUNT = '#!/bin/dash\n[ $# -gt 0 ] || echo "/dev/mmcblk1p3 on /usr/local type ext4 (rw)"\n'
UMOUNT = "#!/bin/dash\n"

QML_FAULT = re.compile(r"\.qml\b.*:\d+|QML |qrc:/|binding loop|TypeError|ReferenceError|\.qml: ", re.IGNORECASE)


def qml_faults(log):
    """Lines of a program's output in which the QML engine complains."""
    return [line for line in log.splitlines() if QML_FAULT.search(line)]


@dataclass(frozen=True)
class Play:
    """One run of the updater: the instrument it meets, and what takes its time or fails in it.

    `delays` and `failures` map commands to seconds, and to the first call that fails; `ballast` is
    how many files of 8 MiB the archive brings, `environment` what the updater's has besides.
    """

    arguments: tuple = ("-u", ARCHIVE)
    language: int = 1
    size: tuple = SMALLEST
    initialize_ms: int = 600
    initialize_result: int = 0
    flash_result: int = 0
    page_ms: int = 2
    ballast: int = 0
    environment: dict = field(default_factory=dict)
    delays: dict = field(default_factory=dict)
    failures: dict = field(default_factory=dict)

    def settings(self):
        """The text for the settings of the substitute of the instrument library."""
        return "\n".join([
            "[instrument]", "system_version=3.4.0", f"initialize_ms={self.initialize_ms}",
            f"initialize_result={self.initialize_result}",
            "[board]", "version=2.06", f"page_ms={self.page_ms}", f"flash_result={self.flash_result}",
            "[state]", "file=/run/board.ini", ""])


class Running:
    """The updater in the play, its screen, and its root file system."""

    def __init__(self, process, screen, root, log):
        self.process, self.screen, self.root, self._log = process, screen, root, log

    def output(self):
        """What the updater has written so far."""
        self._log.flush()
        return Path(self._log.name).read_text(errors="replace")

    def exit_status(self, timeout=15):
        """Waits for the updater's end."""
        return self.process.wait(timeout)


@contextlib.contextmanager
def on_stage(play, screen=None):
    """Starts the updater as the play wants it and yields a Running; ends it if it still runs.

    Its last picture stays on the screen when it has ended.

    Raises AssertionError at the end when the QML engine complained about anything.
    """
    with contextlib.ExitStack() as stack:
        folder = Path(stack.enter_context(tempfile.TemporaryDirectory(dir=memory())))
        screen = screen or stack.enter_context(VirtualScreen(*play.size))
        stack.enter_context(XDisplay(screen)).keep_last_pictures()
        root = RootFileSystem(folder)
        stack.callback(subprocess.run, ["umount", "-R", "-l", root.path, folder], check=True)
        _furnish(root, play)
        log = stack.enter_context(open(folder / "log", "wb"))
        process = _start(root, play, screen, log)
        stack.callback(_end, process)
        running = Running(process, screen, root, log)
        yield running
        _end(process)
        faults = qml_faults(running.output())
        if faults:
            raise AssertionError("the QML engine complained:\n" + "\n".join(faults))


def _furnish(root, play):
    root.write("/etc/fstab", FSTAB)
    root.write("/etc/vrk-embedded-api.ini", play.settings())
    root.write("/var/zepra/vrk-gui/settings.ini", f"[Regional]\nlanguage={play.language}\n")
    root.bind(archive(play.ballast), ARCHIVE, "ro")
    root.bind(archive(play.ballast), UNNAMED_ARCHIVE, "ro")
    root.write(CORRUPT_ARCHIVE, "no archive")
    folder = os.path.dirname(PROGRAM)
    for part, name in PARTS.items():
        root.bind(BUILD / part, f"{folder}/{name}", "ro")
    for name, text in (("mount", MOUNT), ("umount", UMOUNT)):
        command = root.inside(f"/usr/bin/{name}")
        command.unlink()
        command.write_text(text)
        command.chmod(0o755)
    for name, seconds in play.delays.items():
        standins.install_delayed_command(root.path, name, seconds)
    for name, first in play.failures.items():
        standins.install_failing_command(root.path, name, first)


@functools.cache
def memory():
    """A folder that ends with the namespaces of this process."""
    subprocess.run(["mount", "-t", "tmpfs", "stage", MEMORY], check=True)
    return MEMORY


@functools.cache
def archive(ballast):
    """The path of an archive, made once by each process."""
    root = Path(tempfile.mkdtemp(dir=memory()))
    sample.write_update(root / "system", "3.5.0", "2.07", ballast_files=ballast)
    subprocess.run([sample.MAKE_ARCHIVE, root / "system", "--version", "3.5.0", "--output", root],
                   check=True, stdout=subprocess.DEVNULL)
    return root / os.path.basename(ARCHIVE)


def _start(root, play, screen, log):
    environment = {"PATH": standins.search_path(), "HOME": "/root", "LANG": "C.UTF-8",
                   "XDG_RUNTIME_DIR": "/run", "LD_LIBRARY_PATH": os.path.dirname(PROGRAM),
                   "LD_PRELOAD": "libscreen-vsync.so"}
    return subprocess.Popen(root.command(PROGRAM, *play.arguments, *screen.arguments()),
                            env={**environment, **screen.env(), **play.environment},
                            stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT)


def _end(process):
    if process.poll() is None:
        process.kill()
    process.wait()


def main():
    """Runs the tests of the calling file in private namespaces, or says why that is not possible."""
    reason = missing()
    if reason:
        print(f"skipped: {reason}")
        sys.exit(SKIPPED)
    sys.exit(run_isolated(lambda: not unittest.main(exit=False, verbosity=2).result.wasSuccessful()))


def missing():
    """What this machine lacks for the updater on a virtual screen, or None."""
    if os.geteuid() != 0:
        return "a private root file system needs root"
    tools = [tool for tool in ("Xvfb", "xdotool", "mount") if not shutil.which(tool)]
    if tools:
        return "not installed here: " + " ".join(tools)
    if not glob.glob("/usr/lib/*/dri/swrast_dri.so") or not ctypes.util.find_library("GL"):
        return "there is no software OpenGL (Debian packages libgl1 and libgl1-mesa-dri)"
    return None
