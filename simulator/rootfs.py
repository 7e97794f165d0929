"""The instrument's root file system: an overlay on a base, with everything changeable in memory."""

import contextlib
import os
import signal
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


class Tree:
    """The folder `path`, in which an instrument's files lie at their places."""

    def __init__(self, path):
        self.path = path

    def inside(self, path):
        """Where an absolute path of the instrument lies, seen from outside."""
        return Path(f"{self.path}{path}")

    def write(self, path, text, executable=False):
        """Writes a file, its folders included; one that is there is replaced, not followed."""
        place = self.inside(path)
        place.parent.mkdir(parents=True, exist_ok=True)
        place.unlink(missing_ok=True)
        place.write_text(text)
        if executable:
            place.chmod(0o755)


class RootFileSystem(Tree):
    """A root file system below an empty folder; path is where it lies.

    To be made where mounts are private (namespaces.py), so that they end at the latest with the process.
    """

    def __init__(self, folder, base="/"):
        super().__init__(folder / "root")
        self._memory, self._base = folder, Path(base)
        mount("-t", "tmpfs", "-o", "mode=0755", "instrument", folder)
        upper, work = folder / "upper", folder / "work"
        for place in (upper / "usr" / "local", work, self.path):
            place.mkdir(parents=True)
        os.setxattr(upper / "usr" / "local", "trusted.overlay.opaque", b"y")  # empty, whatever the base has
        mount("-t", "overlay", "-o", f"lowerdir={base},upperdir={upper},workdir={work}", "instrument", self.path)
        for path, mode in (("/tmp", "1777"), ("/run", "0700"), ("/dev", "0755"), ("/media", "0755")):
            self.mount_memory(path, mode)
        mount("-t", "proc", "proc", self.path / "proc")
        mount("-t", "sysfs", "-o", "ro", "sysfs", self.path / "sys")
        self._make_devices()

    def _make_devices(self):
        for name, numbers in CHARACTER_DEVICES.items():
            self.add_device(name, stat.S_IFCHR | 0o666, os.makedev(*numbers))
        for name, target in LINKS.items():
            self.inside(f"/dev/{name}").symlink_to(target)
        self.inside("/dev/shm").mkdir(mode=0o1777)

    def add_device(self, name, mode, number):
        """Makes the node /dev/<name>."""
        node = self.inside(f"/dev/{name}")
        os.mknod(node, mode, number)
        node.chmod(stat.S_IMODE(mode))

    def close(self):
        """Ends all that runs inside, and unmounts."""
        while processes := self._processes():
            for process in processes:
                with contextlib.suppress(ProcessLookupError):  # It has ended by itself.
                    os.kill(process, signal.SIGKILL)
        subprocess.run(["umount", "--recursive", self._memory], check=True)

    def _processes(self):
        found = []
        for process in Path("/proc").glob("[0-9]*"):
            try:
                if (process / "stat").read_text().rpartition(")")[2].split()[0] != "Z" \
                        and os.path.samefile(process / "root", self.path):
                    found.append(int(process.name))
            except OSError:  # It has ended.
                continue
        return found

    def mount_memory(self, path, mode="0755"):
        """Makes a folder a file system of its own, which is empty at first; does nothing when it is one already."""
        place = self.inside(path)
        place.mkdir(exist_ok=True)
        if not place.is_mount():
            mount("-t", "tmpfs", "-o", f"mode={mode}", path, place)

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

    def keep_changes(self, path, device):
        """Shows a folder of the base whose changes lie on the file system of a block device, at the same path.

        A file that was written here is a plain file there.
        """
        kept = self._memory / "kept"
        kept.mkdir()
        mount("-o", "noatime", self.inside(f"/dev/{device}"), kept)
        work = kept / ".overlay"
        work.mkdir(exist_ok=True)
        mount("-t", "overlay", "-o", f"lowerdir={self._base}{path},upperdir={kept}{path},workdir={work}",
              path, self.inside(path))

    def share_displays(self):
        """Lets programs inside reach the X servers of this machine."""
        if os.path.isdir(X_SOCKETS):
            self.bind(Path(X_SOCKETS), X_SOCKETS)

    def command(self, *arguments):
        """The command line that runs arguments inside."""
        return ["chroot", str(self.path), *map(str, arguments)]
