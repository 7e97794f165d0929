"""Recovers what a power cut has left of a card, as the next boot would, and looks at what it holds."""

import multiprocessing
import os
import re
import signal
import subprocess
import tempfile
from concurrent.futures import ProcessPoolExecutor
from concurrent.futures.process import BrokenProcessPool
from dataclasses import dataclass
from pathlib import Path

from . import archive
from .card import PARTITIONS, ROOT, other_partition
from .cuts import Fingerprints
from .instrument import FSTAB

MEMORY = "/dev/shm"  # private to the simulation
NAMES_TOLD = 3
OLD, NEW = "old", "new"


@dataclass(frozen=True)
class Finding:
    """What was found on a partition: why it is of no use, if it is not, and what it holds as far as it can be read."""

    fault: str | None
    fstab: str | None = None  # the text of the root partition's /etc/fstab
    deviation: str | None = None  # of a system partition: in what its system is not the whole one


class Judge:
    """Looks at partitions after cuts that are asked for in the order of the log.

    To be made where mounts are private, with a folder of its own in memory. The partitions are mounted one by
    one as the boot mounts them, by which the kernel goes through their journals; nothing else repairs them.
    What e2fsck still finds to be repaired after that is a fault.
    """

    def __init__(self, history, card, before, folder, systems=None):
        """before is the image of the card before the run, systems what whole systems hold, by partition.

        This and looking raise OSError or CalledProcessError when the folder has no room left.
        """
        self._history, self._folder, self._systems = history, folder, systems
        self._regions = {name: card.region(name) for name in (ROOT, *PARTITIONS)}
        self._done = dict.fromkeys(self._regions, 0)
        for name, (start, size) in self._regions.items():
            (folder / name).mkdir(parents=True)
            subprocess.run(["dd", f"if={before}", f"of={self._flushed(name)}", "bs=1M", f"skip={start}",
                            f"count={size}", "iflag=skip_bytes,count_bytes", "conv=sparse", "status=none"], check=True)
            os.truncate(self._flushed(name), size)

    def look(self, name, cut):
        """The finding about a partition after a cut."""
        if name == ROOT:
            fault, text = self._recover(name, cut, _read_fstab)
            return Finding(fault, fstab=text)
        fault, system = self._recover(name, cut, archive.tree)
        return Finding(fault, deviation=None if system is None else difference(self._systems[name], system))

    def fstab(self, cut):
        """The text of /etc/fstab after a cut. Raises OSError when the root partition is of no use."""
        return self._read(ROOT, cut, _read_fstab)

    def system(self, name, cut):
        """The system on a partition after a cut, as archive.tree() tells of it. Raises OSError when it is of no use."""
        return self._read(name, cut, archive.tree)

    def _read(self, name, cut, read):
        fault, content = self._recover(name, cut, read)
        if fault:
            raise OSError(fault)
        return content

    def _flushed(self, name):
        return self._folder / f"{name}.flushed"

    def _recover(self, name, cut, read):
        """Why a partition is of no use, or None, and what read(folder) makes of it mounted there, or None."""
        folder, image = self._folder / name, self._folder / f"{name}.cut"
        self._make(name, cut, image)
        mounting = subprocess.run(["mount", "-t", "ext4", "-o", "loop,noatime", image, folder], check=False,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace")
        if mounting.returncode != 0:
            return f"{name} cannot be mounted: {mounting.stdout.strip()}", None
        try:
            content = read(folder)
        except OSError as error:
            return f"{name} cannot be read: {error}", None
        finally:
            subprocess.run(["umount", folder], check=True)
        checking = subprocess.run(["e2fsck", "-fn", image], check=False,
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, errors="replace")
        if checking.returncode != 0:
            told = [line for line in checking.stdout.splitlines() if line and not re.search(r"^Pass |\? no$", line)]
            return f"{name} needs a repair: {' '.join(told[:NAMES_TOLD])}", content
        return None, content

    def _make(self, name, cut, image):
        """Makes the image of a partition as the cut leaves it."""
        start, size = self._regions[name]
        flushed = self._history.flushed(cut.position)
        with open(self._flushed(name), "r+b") as file:
            self._history.put(self._history.writes(self._done[name], flushed), file, start, start + size)
        self._done[name] = flushed
        subprocess.run(["cp", self._flushed(name), image], check=True)
        with open(image, "r+b") as file:
            self._history.put(self._history.kept(cut), file, start, start + size)


def look_at_all(history, cuts, card, before, systems):
    """The findings after each cut by partition, and how many different contents of partitions there were to look at.

    The other arguments are those of a Judge. The work is shared among all processors. Raises OSError or
    CalledProcessError when it cannot be done.
    """
    fingerprints, findings, asked = Fingerprints(history, card), {}, []

    def unknown():
        for cut in cuts:
            asked.append(fingerprints.of(cut))
            for content in asked[-1].items():
                if content not in findings:
                    findings[content] = None
                    yield content, cut

    with tempfile.TemporaryDirectory(dir=MEMORY, ignore_cleanup_errors=True) as memory:
        judges = ProcessPoolExecutor(os.cpu_count(), multiprocessing.get_context("fork"), _start_judge,
                                     (history, card, before, memory, systems))
        try:
            findings.update(judges.map(_look, unknown()))
        except BrokenProcessPool:
            raise OSError(f"a process that looks at the cards has ended; there may not be enough room in {MEMORY} "
                          "or not enough memory") from None
        finally:
            judges.shutdown(cancel_futures=True)
    return [{name: findings[name, number] for name, number in contents.items()} for contents in asked], len(findings)


def _start_judge(history, card, before, memory, systems):
    global _judge
    signal.signal(signal.SIGTERM, signal.SIG_DFL)  # Python's handler may come too late for one that begins to wait.
    _judge = Judge(history, card, before, Path(memory, str(os.getpid())), systems)


def _look(task):
    (name, number), cut = task
    return (name, number), _judge.look(name, cut)


def _read_fstab(folder):
    return Path(f"{folder}{FSTAB}").read_bytes().decode(errors="replace")


def verdict(findings, used, fstab):
    """Which system an instrument is left with, OLD, NEW or None, and what is wrong: with anything wrong it is broken.

    used is the partition that was in use when the update began, fstab the text that /etc/fstab had then. The
    update replaces the partition's name in it; any other text is wrong.
    """
    new = other_partition(used)
    named = {fstab: used, fstab.replace(used, new): new}.get(findings[ROOT].fstab)
    faults = [finding.fault for finding in findings.values() if finding.fault]
    if named is None and findings[ROOT].fstab is not None:
        faults.append(f"{FSTAB} is neither as before nor with {new} in place of {used}: {findings[ROOT].fstab!r}")
    if findings[used].deviation:
        faults.append(f"the system that was in use, on {used}: {findings[used].deviation}")
    if named == new and findings[new].deviation:
        faults.append(f"the new system, on {new}: {findings[new].deviation}")
    return {used: OLD, new: NEW}.get(named), faults


def difference(expected, found):
    """What makes a system another than the one expected, in words; None when nothing does. Both from archive.tree()."""
    kinds = {
        "missing": expected.keys() - found.keys(),
        "different": {name for name in expected.keys() & found.keys() if expected[name] != found[name]},
        "not of it": found.keys() - expected.keys(),
    }
    return "; ".join(f"{kind}: {_listed(names)}" for kind, names in kinds.items() if names) or None


def _listed(names):
    more = len(names) - NAMES_TOLD
    told = [os.fsencode(name).decode(errors="backslashreplace") for name in sorted(names)[:NAMES_TOLD]]
    return ", ".join(told) + (f" and {more} more" if more > 0 else "")
