"""The instrument's MMC card: an image file with a partition table, a root partition and two system partitions."""

import contextlib
import errno
import fcntl
import hashlib
import os
import struct
import subprocess
import tempfile

MIB = 1024 * 1024
SECTOR = 512
BLOCK = 4096  # of the file systems
BEFORE_PARTITIONS = 8 * MIB
WHOLE, ROOT = "mmcblk1", "mmcblk1p2"
MARKS, MARK_OFFSET = "marks", 1 * MIB  # a sector before the partitions, where a log of writes gets its marks
PARTITIONS = ("mmcblk1p3", "mmcblk1p4")
TABLE, TABLE_ENTRY = 446, struct.Struct("<8xII")  # where it lies in the image; first sector and number of sectors

LOOP_CTL_GET_FREE, LOOP_CONFIGURE, BLKROSET = 0x4C82, 0x4C0A, 0x125D
READ_ONLY, AUTOCLEAR, DIRECT_IO = 1, 4, 16
WRITABLE = struct.pack("=I", 0)


def other_partition(name):
    """The name of the system partition that is not the given one."""
    return PARTITIONS[1 - PARTITIONS.index(name)]


class Card:
    """The card in an image file. Its contents are to be read only while it is not attached."""

    def __init__(self, image):
        self.image = image
        self._devices = {}

    def make(self, contents, root_bytes, partition_bytes, power_of_two=False):
        """Writes a sparse image; contents maps each partition's name to the folder that fills it.

        The sizes are those of the root partition and of each system partition, in whole MiB. An emulated
        SD card wants a size that is a power of two; the image then ends with room that no partition has.
        """
        total, table = BEFORE_PARTITIONS, ["label: dos"]
        for name, size in ((ROOT, root_bytes), *((name, partition_bytes) for name in PARTITIONS)):
            table.append(f"{name} : start={total // SECTOR}, size={size // SECTOR}, type=83")
            total += size
        with open(self.image, "wb") as file:
            file.truncate(1 << (total - 1).bit_length() if power_of_two else total)
        subprocess.run(["sfdisk", "--quiet", self.image], input="\n".join(table), text=True, check=True)
        for name, folder in contents.items():
            start, size = self.region(name)
            # Small partitions, too, have the blocks of large ones. With complete inode tables the kernel has
            # nothing to catch up on behind the scenes.
            subprocess.run(["mke2fs", "-q", "-F", "-t", "ext4", "-b", str(BLOCK), "-L", name, "-d", folder,
                            "-E", f"offset={start},root_owner=0:0,lazy_itable_init=0",
                            self.image, f"{size // 1024}k"], check=True)

    @property
    def partition_bytes(self):
        """The size of each system partition."""
        return self.region(PARTITIONS[0])[1]

    def region(self, name):
        """Where a partition lies in the image: its start and its size in bytes, as the partition table tells."""
        with open(self.image, "rb") as file:
            file.seek(TABLE + TABLE_ENTRY.size * (int(name.removeprefix(f"{WHOLE}p")) - 1))
            start, size = (sectors * SECTOR for sectors in TABLE_ENTRY.unpack(file.read(TABLE_ENTRY.size)))
        if not size:
            raise OSError(f"the card {self.image} has no partition {name}; it may be of an older kind")
        return start, size

    def attach(self, served=None):
        """Attaches loop devices to the card and its partitions; maps their names to device numbers.

        With served, a file that stands for the image, they write straight to that, and one more to its marks.
        """
        file, flags = (served, AUTOCLEAR | DIRECT_IO) if served else (self.image, AUTOCLEAR)
        for name in (ROOT, *PARTITIONS):
            self._devices[name] = self._attach(file, *self.region(name), flags)
        self._devices[WHOLE] = self._attach(file, 0, 0, flags | READ_ONLY)
        if served:
            self._devices[MARKS] = self._attach(file, MARK_OFFSET, SECTOR, flags)
        return {name: os.fstat(device).st_rdev for name, device in self._devices.items()}

    def _attach(self, file, start, size, flags):
        """Opens a loop device that goes with its last user, a mount or this process, whatever ends that.

        Not by losetup, which cannot ask for this: what ends it before a second call would leave the device.
        """
        with open(file, "r+b") as backing, open("/dev/loop-control", "rb") as control:
            info = struct.pack("=5Q4I64s64s32s2Q", 0, 0, 0, start, size, 0, 0, 0, flags,
                               os.fsencode(file)[-63:], b"", b"", 0, 0)
            configuration = struct.pack("=2I", backing.fileno(), 0) + info + bytes(64)
            while True:
                device = os.open(f"/dev/loop{fcntl.ioctl(control, LOOP_CTL_GET_FREE)}", os.O_RDWR)
                try:
                    fcntl.ioctl(device, LOOP_CONFIGURE, configuration)
                    fcntl.ioctl(device, BLKROSET, WRITABLE)
                    return device
                except OSError as error:
                    os.close(device)
                    if error.errno != errno.EBUSY:  # somebody else was quicker
                        raise

    def detach(self):
        """Lets go of the loop devices, which end with their last mount."""
        for device in self._devices.values():
            fcntl.ioctl(device, BLKROSET, WRITABLE)  # what a fault has set would stay with the device
            os.close(device)
        self._devices = {}

    def recover(self):
        """Finishes in each partition what its journal holds, as the next mount would; while it is not attached."""
        for name in (ROOT, *PARTITIONS):
            place = f"{self.image}?offset={self.region(name)[0]}"
            subprocess.run(["e2fsck", "-y", "-E", "journal_only", place], check=False, stdout=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL)

    def debugfs(self, partition, request, *options):
        """The answer of debugfs to a request about a partition."""
        place = f"{self.image}?offset={self.region(partition)[0]}"
        return subprocess.run(["debugfs", *options, "-R", request, place], check=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout

    def read_file(self, partition, name):
        """The content of a file on a partition; empty when there is none, or no file system to be read."""
        with contextlib.suppress(subprocess.CalledProcessError):
            return self.debugfs(partition, f"cat /{name.lstrip('/')}")
        return b""

    def write_file(self, partition, name, content):
        """Writes a new file, into a folder that is there."""
        with tempfile.NamedTemporaryFile() as file:
            file.write(content)
            file.flush()
            self.debugfs(partition, f"write {file.name} /{name.lstrip('/')}", "-w")

    def copy_out(self, partition, folder):
        """Copies all that lies on a partition into an empty folder. Raises OSError when nothing can be read."""
        self.debugfs(partition, f"rdump / {folder}")
        if not os.listdir(folder):  # The status of debugfs does not tell.
            raise OSError(f"nothing can be read from {partition} of {self.image}")

    def shell(self, partition, command, *words):
        """What a shell command with these words says in a partition that is mounted as the boot does it, meanwhile."""
        start, size = self.region(partition)
        # In a namespace of its own: what else starts meanwhile would otherwise keep the mount.
        script = ('mount -t ext4 -o "loop,noatime,offset=$1,sizelimit=$2" "$3" /mnt && shift 3 '
                  f"&& (cd /mnt && {command}) && umount /mnt")
        return subprocess.check_output(["unshare", "--mount", "sh", "-c", script, "sh", str(start), str(size),
                                        self.image, *words])

    def digest(self, partition):
        """A digest of a partition's bytes but for those that each mount writes: superblock and journal."""
        start, size = self.region(partition)
        with open(self.image, "rb") as file:
            file.seek(start)
            content = bytearray(file.read(size))
        block = 1024 << content[1048]
        content[1024:2048] = bytes(1024)
        for number in map(int, self.debugfs(partition, "blocks <8>").split()):
            content[number * block:(number + 1) * block] = bytes(block)
        return hashlib.sha256(content).hexdigest()
