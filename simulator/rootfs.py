"""The instrument's root file system: an overlay on a base, with everything changeable in memory.

To be used inside the namespaces of isolation.py: nothing here unmounts on failure, the end of the
namespace does.
"""

import os
import stat
import subprocess
from pathlib import Path

CHARACTER_DEVICES = {
    "null": (1, 3), "zero": (1, 5), "full": (1, 7), "random": (1, 8), "urandom": (1, 9), "tty": (5, 0),
}
LINKS = {"fd": "/proc/self/fd", "stdin": "fd/0", "stdout": "fd/1", "stderr": "fd/2"}
X_SOCKETS = "/tmp/.X11-unix"


def mount(*arguments):
    """Runs mount, or raises CalledProcessError."""
    subprocess.run(["mount", *map(str, arguments)], check=True)


class RootFileSystem:
    """Builds the root below an empty folder; path is where it lies."""

    def __init__(self, folder, base="/"):
        self._memory = folder
        self.path = folder / "root"
        mount("-t", "tmpfs", "-o", "mode=0755", "instrument", folder)
        upper, work = folder / "upper", folder / "work"
        for place in (upper, work, self.path):
            place.mkdir()
        self._hide(upper / "usr" / "local")
        mount("-t", "overlay", "-o", f"lowerdir={base},upperdir={upper},workdir={work}", "instrument", self.path)
        self._mount_kernel_folders()
        self._make_devices()

    @staticmethod
    def _hide(place):
        """Makes the folder appear empty, whatever the base has there."""
        place.mkdir(parents=True)
        os.setxattr(place, "trusted.overlay.opaque", b"y")

    def _mount_kernel_folders(self):
        for name, mode in (("tmp", "1777"), ("run", "0700"), ("dev", "0755"), ("media", "0755")):
            mount("-t", "tmpfs", "-o", f"mode={mode}", name, self.path / name)
        mount("-t", "proc", "proc", self.path / "proc")
        mount("-t", "sysfs", "-o", "ro", "sysfs", self.path / "sys")

    def _make_devices(self):
        for name, numbers in CHARACTER_DEVICES.items():
            node = self.path / "dev" / name
            os.mknod(node, stat.S_IFCHR | 0o666, os.makedev(*numbers))
            node.chmod(0o666)
        for name, target in LINKS.items():
            (self.path / "dev" / name).symlink_to(target)
        (self.path / "dev" / "shm").mkdir(mode=0o1777)

    def add_block_device(self, name, number):
        """Makes the node /dev/<name>."""
        os.mknod(self.path / "dev" / name, stat.S_IFBLK | 0o660, number)

    def inside(self, path):
        """Where an absolute path of the instrument lies, seen from outside."""
        return Path(f"{self.path}{path}")

    def write(self, path, text):
        """Writes a file, its folders included."""
        place = self.inside(path)
        place.parent.mkdir(parents=True, exist_ok=True)
        place.write_text(text)

    def bind(self, source, path, *options):
        """Shows a file or folder from outside at a path of the instrument."""
        place = self.inside(path)
        place.parent.mkdir(parents=True, exist_ok=True)
        if source.is_dir():
            place.mkdir(exist_ok=True)
        else:
            place.touch()
        mount("--bind", source, place)
        if options:
            mount("-o", ",".join(("remount", "bind", *options)), place)

    def share_displays(self):
        """Lets programs inside reach the X servers of this machine."""
        if os.path.isdir(X_SOCKETS):
            self.bind(Path(X_SOCKETS), X_SOCKETS)

    def command(self, *arguments):
        """The command line that runs arguments inside."""
        return ["chroot", str(self.path), *map(str, arguments)]

    def run(self, *arguments):
        """Runs a command inside, or raises CalledProcessError."""
        subprocess.run(self.command(*arguments), check=True)
