"""What a power cut leaves of a card, made from the card before a run and the log of what was written to it.

Of what was written after the last flush a card keeps what it likes: nothing, everything in its order up to
here, or any part of it in any order. It keeps units of its own, so a long write, too, may be there in parts.
"""

import functools
import hashlib
import operator
import random
import re
import subprocess
from collections import namedtuple
from dataclasses import dataclass

from . import writelog
from .card import PARTITIONS, ROOT, SECTOR

IN_ORDER, NOTHING = "all", "none"
BEFORE_MARKS = "switching on"
UNIT = 4096  # bytes that a card keeps or loses as one, at multiples of them, unless told otherwise

Piece = namedtuple("Piece", "entry first count")  # sectors of what an entry of the log writes


@dataclass(frozen=True)
class Cut:
    """A power cut after so many entries of the log, and what of the writes that were not flushed the card keeps.

    That is IN_ORDER, NOTHING or a number that stands for a random part.
    """

    position: int
    part: str

    def __str__(self):
        return f"{self.position}.{self.part}"

    @classmethod
    def parse(cls, text):
        """The cut of that name. Raises OSError."""
        match = re.fullmatch(rf"(\d+)\.({IN_ORDER}|{NOTHING}|[1-9]\d*)", text)
        if not match:
            raise OSError(f"{text!r} is no point such as 117.{IN_ORDER}, 117.{NOTHING} or 117.3")
        return cls(int(match[1]), match[2])


class History:
    """What was written to a card in a run; the seed decides on the random parts, which consist of units.

    With flushes=False the card only claims to flush. Raises OSError when the log cannot be read.
    """

    def __init__(self, log, seed, unit=UNIT, flushes=True):
        self.entries = writelog.read(log)
        self.seed, self._unit = seed, unit // SECTOR
        self._flushed, self._marks = [0], [(0, BEFORE_MARKS)]
        for number, entry in enumerate(self.entries, 1):
            self._flushed.append(number if entry.flushes and flushes else self._flushed[-1])
            self._marks.append((number, entry.mark) if entry.mark else self._marks[-1])

    def flushed(self, position):
        """How many entries of the log have surely reached the card at a position."""
        return self._flushed[position]

    def mark(self, position):
        """The position of the last mark before a position, and its text."""
        return self._marks[position]

    def writes(self, start, end):
        """The writes of data among the entries from start on and before end, as whole pieces."""
        entries = enumerate(self.entries[start:end], start)
        return [Piece(number, 0, len(entry.data) // SECTOR) for number, entry in entries
                if len(entry.data) and entry.mark is None]

    def kept(self, cut):
        """The pieces that a cut keeps of what was not flushed, in the order in which they reach the card."""
        pending = self.writes(self.flushed(cut.position), cut.position)
        if cut.part in (IN_ORDER, NOTHING):
            return pending if cut.part == IN_ORDER else []
        chance = random.Random(f"{self.seed} {cut}")
        if chance.random() < 0.5:
            pending = [unit for write in pending for unit in self._units(write)]
        likelihood = chance.random()
        kept = [piece for piece in pending if chance.random() < likelihood]
        chance.shuffle(kept)
        return kept

    def _units(self, write):
        """The parts of a write that the card keeps or loses as one."""
        first, end = 0, write.count
        while first < end:
            at = self.entries[write.entry].offset // SECTOR + first
            count = min(self._unit - at % self._unit, end - first)
            yield Piece(write.entry, first, count)
            first += count

    def put(self, pieces, file, start=0, end=None):
        """Writes the pieces that lie in a region of the card to a file of that region."""
        for number, first, count in pieces:
            entry = self.entries[number]
            if start <= entry.offset and (end is None or entry.offset < end):
                file.seek(entry.offset - start + first * SECTOR)
                file.write(entry.data[first * SECTOR:(first + count) * SECTOR])

    def make_card(self, before, cut, image):
        """Makes the card that a cut leaves, from the card before the run. Raises OSError or CalledProcessError."""
        subprocess.run(["cp", "--sparse=always", before, image], check=True)
        with open(image, "r+b") as file:
            self.put(self.writes(0, self.flushed(cut.position)) + self.kept(cut), file)


class Fingerprints:
    """Numbers for what the partitions hold after cuts, asked for in the order of the log.

    Equal content has equal numbers, and other content practically never.
    """

    def __init__(self, history, card):
        self._history = history
        self._regions = {name: card.region(name) for name in (ROOT, *PARTITIONS)}
        self._there = {name: {} for name in self._regions}  # the numbers of sectors that were written and flushed
        self._sums = dict.fromkeys(self._regions, 0)
        self._done = 0

    def of(self, cut):
        """The number for each partition."""
        flushed = self._history.flushed(cut.position)
        for name, sectors in self._latest(self._history.writes(self._done, flushed)).items():
            self._sums[name] ^= self._change(name, sectors)
            self._there[name].update(sectors)
        self._done = flushed
        return {name: self._sums[name] ^ self._change(name, sectors)
                for name, sectors in self._latest(self._history.kept(cut)).items()}

    def _latest(self, pieces):
        """What the pieces leave in each partition: numbers by sector."""
        latest = {name: {} for name in self._regions}
        for number, first, count in pieces:
            offset = self._history.entries[number].offset
            name = next(name for name, (start, size) in self._regions.items() if start <= offset < start + size)
            sector = offset // SECTOR + first
            latest[name].update(zip(range(sector, sector + count), self._numbers(number)[first:first + count]))
        return latest

    def _change(self, name, sectors):
        there = self._there[name]
        return functools.reduce(operator.xor, (new ^ there.get(at, 0) for at, new in sectors.items()), 0)

    @functools.cache
    def _numbers(self, number):
        """A number for each sector that an entry writes, made of its place and its bytes."""
        entry = self._history.entries[number]
        return [int.from_bytes(hashlib.blake2b(b"%d %b" % (entry.offset + at, entry.data[at:at + SECTOR]),
                                               digest_size=8).digest())
                for at in range(0, len(entry.data), SECTOR)]


def every_cut(history, parts):
    """The cuts at every entry of the log; with so many random parts where not all is flushed."""
    cuts = []
    for position in range(len(history.entries) + 1):
        if position and not history.entries[position - 1].data:
            continue  # A flush changes nothing by itself.
        cuts.append(Cut(position, IN_ORDER))
        if history.writes(history.flushed(position), position):
            cuts += [Cut(position, part) for part in (NOTHING, *map(str, range(1, parts + 1)))]
    return cuts


def cuts_between_flushes(history, parts, seed):
    """The cuts before each flush with nothing or all of what it is to flush, and so many random ones."""
    waiting = [position for position in range(len(history.entries) + 1)
               if history.writes(history.flushed(position), position)]
    ends = sorted(set(waiting) - {position - 1 for position in waiting})
    chance = random.Random(seed)
    cuts = [Cut(position, part) for position in ends for part in (NOTHING, IN_ORDER)]
    cuts += [Cut(chance.choice(waiting), str(number)) for number in range(1, parts + 1)]
    return sorted(cuts, key=lambda cut: cut.position)
