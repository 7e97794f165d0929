"""Logs of all that is written to a card, in the format of the kernel's dm-log-writes.

The simulated instrument's card is logged by served_card.py, that of an emulated computer by QEMU's driver
blklogwrites. A write to one sector before the partitions is no data but a mark: the text in it tells what
comes next.
"""

import mmap
import os
import struct
from dataclasses import dataclass

from .card import MARK_OFFSET, SECTOR

HEADER, ENTRY = struct.Struct("<QQQI"), struct.Struct("<QQQQ")
MAGIC, VERSION = 0x6A736677736872, 1
FLUSH, FUA, DISCARD = 1, 2, 4


@dataclass(frozen=True)
class Entry:
    """A write, a flush, or (with FUA) a write and the flush of it and all before.

    A card may keep with FUA that write alone. Where a device does not know FUA Linux asks for a flush in its place.
    """

    offset: int  # in the card, in bytes
    data: memoryview  # empty for a flush alone
    flushes: bool

    @property
    def mark(self):
        """The text of a mark, None for any other entry."""
        if self.data and self.offset == MARK_OFFSET:
            return bytes(self.data).decode(errors="replace").strip()
        return None


class Writer:
    """Writes a log."""

    def __init__(self, path):
        self._file = open(path, "wb")
        self._count, self._end = 0, SECTOR
        self._write_header()

    def add(self, offset, data, flags=0):
        """Adds an entry; offset and data are in whole sectors."""
        head = ENTRY.pack(offset // SECTOR, len(data) // SECTOR, flags, 0).ljust(SECTOR, b"\0")
        self._file.seek(self._end)
        self._file.write(head + data)
        self._end, self._count = self._file.tell(), self._count + 1
        self._write_header()

    def _write_header(self):
        self._file.seek(0)
        self._file.write(HEADER.pack(MAGIC, VERSION, self._count, SECTOR).ljust(SECTOR, b"\0"))
        self._file.flush()


def read(path):
    """The entries of a log in their order. Raises OSError when the file is no such log, or not all of one."""
    with open(path, "rb") as file:
        content = memoryview(mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)) if os.path.getsize(path) else b""
    magic, version, count, sector = HEADER.unpack_from(bytes(content[:HEADER.size]).ljust(HEADER.size))
    if (magic, version) != (MAGIC, VERSION):
        raise OSError(f"{path} is no log of writes")
    entries, at = [], sector
    for _ in range(count):
        first, sectors, flags, _ = ENTRY.unpack(bytes(content[at:at + ENTRY.size]).ljust(ENTRY.size))
        at += sector + sectors * sector
        if at > len(content):
            raise OSError(f"{path} ends before the last of its {count} entries")
        if flags & DISCARD:
            raise OSError(f"{path} holds a discard, which nothing here is to make")
        entries.append(Entry(first * sector, content[at - sectors * sector:at], bool(flags & (FLUSH | FUA))))
    return entries


def count(path):
    """How many entries a log holds so far, while it is written."""
    with open(path, "rb") as file:
        return HEADER.unpack(file.read(HEADER.size).ljust(HEADER.size, b"\0"))[2]
