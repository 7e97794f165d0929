"""A power cut of the emulated instrument: at one of the writes to its card while a chosen command runs.

The card has no cache of its own, and Linux knows that: what it has taken it keeps, and there are no
flushes. What is lost is the computer's memory, with all that Linux had not written yet. Cards that lose
or mix up writes are the subject of ./simulate --power-cuts.
"""

import random
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path

from .. import archive, writelog
from ..cuts import IN_ORDER, Cut, History
from ..faults import numbers_chosen
from .instrument import copy_image
from .machine import MachineError

POLL_SECONDS = 0.02


@dataclass
class PowerCut:
    """What was cut off where: after `kept` of the `writes` to the card that were made while the command ran."""

    command: str
    seed: int
    kept: int = 0
    writes: int = 0
    files: int = 0  # that were looked at of the system that was in use at the next start
    fault: str | None = None  # what makes that system another than it should be

    def __str__(self):
        return (f"after {self.kept} of {self.writes} writes while {self.command!r} ran; "
                f"--seed {self.seed} cuts at the same part of them")


class CutOff:
    """Lets a machine run until a chosen command of the updater has run, and then its card lose what came later."""

    def __init__(self, choice, seed, card, folder):
        self._choice, self._card = choice, card
        self._seed = random.randrange(1_000_000) if seed is None else seed
        self._before, self.log = folder / "before-cut.img", folder / "writes.log"
        copy_image(card.image, self._before)
        self.log.touch()

    def cut(self, machine, timeout):
        """Cuts the power when the command has run; returns the PowerCut.

        Raises MachineError when it does not come within `timeout` seconds, OSError when the log cannot be read.
        """
        line, first = self._wait(machine, timeout, lambda _: True)
        self._wait(machine, timeout, lambda status: status is not None)
        machine.cut_power()
        history = History(self.log, self._seed)
        last = len(history.entries)
        position = first + round((last - first) * random.Random(self._seed).random())
        history.make_card(self._before, Cut(position, IN_ORDER), self._card.image)
        self._before.unlink()
        self.log.unlink()
        return PowerCut(line, self._seed, position - first, last - first)

    def _wait(self, machine, timeout, fits):
        """Waits for the chosen command with a fitting status; returns its line and the number of writes before."""
        until = time.monotonic() + timeout
        ended = False
        while not ended and time.monotonic() < until:
            ended, writes, so_far = machine.has_ended(), writelog.count(self.log), machine.commands()
            for number in numbers_chosen(self._choice, [line for line, _ in so_far])[:1]:
                if fits(so_far[number][1]):
                    return so_far[number][0], writes
            time.sleep(POLL_SECONDS)
        raise MachineError(f"the updater has run no command that begins like {self._choice!r}")


def system_of_card(card, partition):
    """The system on a partition of a card that is not in use, as archive.tree() tells of it."""
    with tempfile.TemporaryDirectory() as folder:
        card.copy_out(partition, folder)
        found = archive.tree(Path(folder))
    found.pop("lost+found", None)  # which an update removes and e2fsck may bring back
    return found
