"""The instrument's MMC device: an image file with a partition table and two ext4 partitions."""

import errno
import fcntl
import os
import struct
import subprocess
from dataclasses import dataclass

MIB = 1024 * 1024
SECTOR = 512

LOOP_CTL_GET_FREE = 0x4C82
LOOP_CONFIGURE = 0x4C0A
LO_FLAGS_READ_ONLY = 1
LO_FLAGS_AUTOCLEAR = 4
LOOP_MAJOR = 7


@dataclass(frozen=True)
class Region:
    """A part of the image, in bytes."""

    start: int
    size: int


PARTITIONS = {
    "mmcblk1p3": Region(8 * MIB, 512 * MIB),
    "mmcblk1p4": Region(520 * MIB, 512 * MIB),
}
WHOLE = Region(0, 1032 * MIB)


def other_partition(name):
    """The name of the partition that is not the given one."""
    return next(partition for partition in PARTITIONS if partition != name)


def make_image(path, contents):
    """Writes a sparse image; contents maps each partition's name to the folder that fills it.

    The inode tables are complete, so that the kernel has nothing to catch up on behind the scenes.
    """
    with open(path, "wb") as image:
        image.truncate(WHOLE.size)
        _write_partition_table(image)
    for name, folder in contents.items():
        region = PARTITIONS[name]
        subprocess.run(
            ["mke2fs", "-q", "-F", "-t", "ext4", "-L", name, "-d", str(folder),
             "-E", f"offset={region.start},root_owner=0:0,lazy_itable_init=0",
             str(path), f"{region.size // 1024}k"],
            check=True)


def read_file(path, partition, name):
    """The content of a file on a partition that is not mounted; empty when there is none."""
    place = f"{path}?offset={PARTITIONS[partition].start}"
    return subprocess.run(["debugfs", "-R", f"cat /{name}", place], check=True,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout


def _write_partition_table(image):
    for name, region in PARTITIONS.items():
        entry = struct.pack("<B3sB3sII", 0, b"\xfe\xff\xff", 0x83, b"\xfe\xff\xff",
                            region.start // SECTOR, region.size // SECTOR)
        image.seek(446 + 16 * (int(name[-1]) - 1))
        image.write(entry)
    image.seek(510)
    image.write(b"\x55\xaa")


class LoopDevice:
    """A loop device on a region of a file.

    The kernel detaches it by itself when its last user is gone: this object (whose descriptor
    closes at the latest with the process) and any mount of it.
    """

    def __init__(self, path, region, read_only=False):
        flags = LO_FLAGS_AUTOCLEAR | (LO_FLAGS_READ_ONLY if read_only else 0)
        info = struct.pack("=5Q4I64s64s32s2Q", 0, 0, 0, region.start, region.size,
                           0, 0, 0, flags, os.fsencode(path)[-63:], b"", b"", 0, 0)
        backing = os.open(path, os.O_RDONLY if read_only else os.O_RDWR)
        try:
            config = struct.pack("=2I", backing, 0) + info + bytes(64)
            self.minor, self._descriptor = _configure_free_device(config)
        finally:
            os.close(backing)

    @property
    def number(self):
        """The device number for a node of it."""
        return os.makedev(LOOP_MAJOR, self.minor)

    def close(self):
        """Gives up this object's hold on the device."""
        os.close(self._descriptor)


def _configure_free_device(config):
    with open("/dev/loop-control", "rb") as control:
        while True:
            minor = fcntl.ioctl(control, LOOP_CTL_GET_FREE)
            descriptor = os.open(f"/dev/loop{minor}", os.O_RDWR)
            try:
                fcntl.ioctl(descriptor, LOOP_CONFIGURE, config)
                return minor, descriptor
            except OSError as error:
                os.close(descriptor)
                if error.errno != errno.EBUSY:
                    raise
