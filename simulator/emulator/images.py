"""What the emulated instrument boots from: kernel, initrd, card and USB drive, as files, without mounting them."""

import contextlib
import fcntl
import gzip
import hashlib
import os
import re
import shutil
import subprocess
import tempfile
from dataclasses import dataclass
from pathlib import Path

from .. import SOURCES, archive, card, faults
from ..card import MIB, PARTITIONS, ROOT, Card
from ..instrument import BOARD_FOLDER, FSTAB, OLDER_VERSION, SETTINGS
from ..rootfs import Tree, mount

HERE = Path(__file__).parent
CACHE = Path(os.environ.get("XDG_CACHE_HOME") or Path.home() / ".cache", "vrk-updater", "emulator")
MODULES = ("virtio_pci", "virtio_gpu", "sdhci_pci", "crc32c_generic", "ext4", "xhci_pci", "usb_storage", "sd_mod",
           "usbhid", "hid_generic", "evdev", "uinput", "vfat", "nls_cp437", "nls_ascii", "nls_utf8",
           "9p", "9pnet_virtio")
MODULE_NEEDS = re.compile(rb"\0depends=([^\0]*)\0")
BUSYBOX_COMMANDS = ("init", "reboot")
NOT_ON_THE_CARD = ("boot", "usr/lib/modules", "var/cache", "var/lib/apt", "var/lib/dpkg")
FSTAB_TEXT = """\
# <device>      <folder>   <type>  <options>         <dump> <pass>
/dev/mmcblk1p2  /          ext4    defaults,noatime  0      1
/dev/mmcblk1p3  /usr/local ext4    defaults,noatime  0      2
log             {log}      9p      trans=virtio,version=9p2000.L  0 0
"""
ROOT_BYTES = 640 * MIB
DRIVE_START, DRIVE_ROOM = MIB, 48 * MIB  # FAT32 wants a file system of some size
BALLAST_FILES = 1


@dataclass(frozen=True)
class Images:
    """Files to boot from, none of which is to be written, and the sample archive."""

    folder: Path

    @property
    def kernel(self):
        return self.folder / "kernel"

    @property
    def initrd(self):
        return self.folder / "initrd"

    @property
    def card(self):
        return self.folder / "card.img"

    @property
    def archive(self):
        return self.folder / f"zepra_update_v{archive.OFFERED_VERSION}.tar.gz"


def prepare(build, settings):
    """The Images for a build and an instrument's settings, of which the cache keeps the latest.

    The caller's mounts must be private (namespaces.py).
    """
    CACHE.mkdir(parents=True, exist_ok=True)
    with open(CACHE / "lock", "w") as lock, tempfile.TemporaryDirectory(dir=CACHE) as made:
        fcntl.flock(lock, fcntl.LOCK_EX)
        images = Images(CACHE / _digest(build, settings))
        if not images.folder.exists():
            print("making the emulated instrument", flush=True)
            new = Images(Path(made, "images"))
            new.folder.mkdir()
            package = Path(made, "package")
            _unpack_package(build, package)
            _make(new, build, package, settings)
            for old in CACHE.iterdir():
                if old.is_dir() and old != Path(made):
                    shutil.rmtree(old)
            new.folder.rename(images.folder)
    return images


def make_drive(image, file):
    """Writes the image of a USB drive on which a file lies."""
    size = file.stat().st_size // MIB * MIB + DRIVE_ROOM
    with open(image, "wb") as drive:
        drive.truncate(DRIVE_START + size)
    subprocess.run(["sfdisk", "--quiet", image], input=f"label: dos\nstart={DRIVE_START // 512}, type=c", text=True,
                   check=True)
    subprocess.run(["mkfs.vfat", "--offset", str(DRIVE_START // 512), image, str(size // 1024)], check=True,
                   stdout=subprocess.DEVNULL)
    subprocess.run(["mcopy", "-i", f"{image}@@{DRIVE_START}", file, "::/"], check=True)


def _unpack_package(build, folder):
    """Makes the build's Debian package and unpacks it."""
    with tempfile.TemporaryDirectory() as made:
        subprocess.run(["cpack", "--config", build.folder / "CPackConfig.cmake", "-B", made], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        subprocess.run(["dpkg-deb", "-x", *Path(made).glob("*.deb"), folder], check=True)


def _digest(build, settings):
    """A short name for images made of exactly this."""
    parts = [build.base / "etc" / "vrk-arm-root", build.program, build.library, build.touchscreen, archive.MAKE_ARCHIVE,
             *(Path(module.__file__) for module in (archive, card, faults)), faults.SHELL, Path(__file__)]
    made_of = [(path.name, path.read_bytes()) for path in parts]
    made_of += [*map(archive.tree, (HERE / "initrd", HERE / "instrument", SOURCES / "packaging", build.translations)),
                settings.running_version, settings.board_version, settings.partition_bytes]
    return hashlib.sha256(repr(made_of).encode()).hexdigest()[:16]


def _make(images, build, package, settings):
    kernels = sorted((build.base / "boot").glob("vmlinuz-*"))
    modules = build.base / "usr" / "lib" / "modules" / kernels[-1].name.removeprefix("vmlinuz-")
    shutil.copy(kernels[-1], images.kernel)
    _make_initrd(images.initrd, build.base / "usr" / "bin" / "busybox", modules)
    with tempfile.TemporaryDirectory() as made, _root_tree(build) as root:
        systems = dict(zip(PARTITIONS, (settings.running_version, OLDER_VERSION)))
        for name, version in systems.items():
            archive.write_system(Path(made, name), version, settings.board_version)
            _add(package / "usr" / "local", Path(made, name))
        contents = {ROOT: root, **{name: Path(made, name) for name in systems}}
        Card(images.card).make(contents, ROOT_BYTES, settings.partition_bytes, power_of_two=True)
        update = Path(made, "update")
        archive.write_update(update, archive.OFFERED_VERSION, archive.OFFERED_FIRMWARE, ballast_files=BALLAST_FILES)
        _add(package, update)
        archive.pack(update, archive.OFFERED_VERSION, images.folder)


def _make_initrd(file, busybox, modules):
    with tempfile.TemporaryDirectory() as made:
        for name in ("bin", "dev", "modules", "proc", "root", "sys"):
            Path(made, name).mkdir()
        shutil.copy(busybox, Path(made, "bin", "busybox"))
        Path(made, "bin", "sh").symlink_to("busybox")
        _add(HERE / "initrd", made)
        for number, module in enumerate(_in_order(modules)):
            shutil.copy(module, Path(made, "modules", f"{number:02}-{module.name}"))
        names = "\n".join(str(path.relative_to(made)) for path in sorted(Path(made).rglob("*")))
        packed = subprocess.run(["cpio", "--quiet", "-o", "-H", "newc"], cwd=made, input=names.encode(),
                                stdout=subprocess.PIPE, check=True).stdout
    file.write_bytes(gzip.compress(packed, 1))


def _in_order(modules):
    """The files of MODULES, each behind those that it needs; what is not there is part of the kernel."""
    files = {path.stem.replace("-", "_"): path for path in modules.rglob("*.ko")}
    found = []

    def add(name):
        if name in files and files[name] not in found:
            for needed in MODULE_NEEDS.search(files[name].read_bytes())[1].decode().replace("-", "_").split(","):
                add(needed)
            found.append(files[name])

    for name in MODULES:
        add(name)
    return found


@contextlib.contextmanager
def _root_tree(build):
    """Yields a folder that shows the ARM root file system with the instrument's own files."""
    with tempfile.TemporaryDirectory() as folder:
        mount("-t", "tmpfs", "memory", folder)
        try:
            upper, work, root = (Path(folder, name) for name in ("upper", "work", "root"))
            for place in (upper, work, root):
                place.mkdir()
            mount("-t", "overlay", "-o", f"lowerdir={build.base},upperdir={upper},workdir={work}", "root", root)
            _fill_root(root, build)
            yield root
        finally:
            subprocess.run(["umount", "--recursive", folder], check=True)


def _fill_root(root, build):
    for name in NOT_ON_THE_CARD:
        shutil.rmtree(root / name)
        (root / name).mkdir()
    _add(HERE / "instrument", root)
    shutil.copy(build.touchscreen, root / "usr" / "sbin")
    shutil.copy(build.library, root / "usr" / "lib")
    for name in BUSYBOX_COMMANDS:
        (root / "usr" / "sbin" / name).symlink_to("../bin/busybox")
    for path in ("/media/usb", faults.LOG_FOLDER, BOARD_FOLDER, os.path.dirname(SETTINGS)):
        Tree(root).inside(path).mkdir(parents=True)
    Tree(root).write(FSTAB, FSTAB_TEXT.format(log=faults.LOG_FOLDER))
    faults.install_logging_shell(Tree(root))


def _add(source, folder):
    shutil.copytree(source, folder, dirs_exist_ok=True, symlinks=True)
