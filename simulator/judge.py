"""Recovers what a power cut has left of a card, as the next boot would, and looks at what it holds."""

import multiprocessing
import os
import re
import signal
import subprocess
import tempfile
from dataclasses import dataclass
from pathlib import Path

from . import archive
from .card import PARTITIONS, ROOT, other_partition
from .cuts import Fingerprints
from .instrument import FSTAB, SYSTEM

MEMORY = "/dev/shm"  # private to the simulation
NAMES_TOLD = 3
OLD, NEW = "old", "new"


@dataclass(frozen=True)
class Finding:
    """What was found on a partition: why it is of no use, or (None) what it holds.

    That is the text of /etc/fstab of the root partition, and of a system partition what its system lacks, None
    when it is whole.
    """

    fault: str | None
    content: object = None


class Judge:
    """Looks at partitions after cuts that are asked for in the order of the log.

    To be made where mounts are private, with a folder of its own in memory. The partitions are mounted one by
    one as the boot mounts them, by which the kernel goes through their journals; nothing else repairs them.
    What e2fsck still finds to be repaired after that is a fault.
    """

    def __init__(self, history, card, before, folder, systems=None):
        """before is the image of the card before the run, systems what whole systems hold, by partition."""
        self._history, self._folder, self._systems = history, folder, systems
        self._regions = {name: card.region(name) for name in (ROOT, *PARTITIONS)}
        self._done = dict.fromkeys(self._regions, 0)
        for name, (start, size) in self._regions.items():
            (folder / name).mkdir(parents=True)
            subprocess.run(["dd", f"if={before}", f"of={self._flushed(name)}", "bs=1M", f"skip={start}", f"count={size}",
                            "iflag=skip_bytes,count_bytes", "conv=sparse", "status=none"], check=True)
            os.truncate(self._flushed(name), size)

    def look(self, name, cut):
        """The finding about a partition after a cut."""
        if name == ROOT:
            return self._recover(name, cut, lambda folder: Path(f"{folder}{FSTAB}").read_bytes().decode(errors="replace"))
        return self._recover(name, cut, lambda folder: difference(self._systems[name], archive.tree(folder)))

    def system(self, name, cut):
        """What the system on a partition holds after a cut, as archive.tree() tells. Raises OSError."""
        finding = self._recover(name, cut, archive.tree)
        if finding.fault:
            raise OSError(finding.fault)
        return finding.content

    def _flushed(self, name):
        return self._folder / f"{name}.flushed"

    def _recover(self, name, cut, read):
        """A finding with what read(folder) makes of the partition mounted there."""
        folder, image = self._folder / name, self._folder / f"{name}.cut"
        self._make(name, cut, image)
        mounting = subprocess.run(["mount", "-t", "ext4", "-o", "loop,noatime", image, folder], check=False,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace")
        if mounting.returncode != 0:
            return Finding(f"{name} cannot be mounted: {mounting.stdout.strip()}")
        try:
            content = read(folder)
        except OSError as error:
            return Finding(f"{name} cannot be read: {error}")
        finally:
            subprocess.run(["umount", folder], check=True)
        checking = subprocess.run(["e2fsck", "-fn", image], check=False,
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, errors="replace")
        if checking.returncode != 0:
            told = [line for line in checking.stdout.splitlines() if line and not re.search(r"^Pass |\? no$", line)]
            return Finding(f"{name} needs a repair: {' '.join(told[:NAMES_TOLD])}", content)
        return Finding(None, content)

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

    The other arguments are those of a Judge. The work is shared among all processors.
    """
    fingerprints, findings, asked = Fingerprints(history, card), {}, []

    def unknown():
        for cut in cuts:
            asked.append(fingerprints.of(cut))
            for content in asked[-1].items():
                if content not in findings:
                    findings[content] = None
                    yield content, cut

    with tempfile.TemporaryDirectory(dir=MEMORY, ignore_cleanup_errors=True) as memory, multiprocessing.get_context("fork").Pool(
            os.cpu_count(), _start_judge, (history, card, before, memory, systems)) as judges:
        for content, finding in judges.imap_unordered(_look, unknown()):
            findings[content] = finding
    return [{name: findings[name, number] for name, number in contents.items()} for contents in asked], len(findings)


def _start_judge(history, card, before, memory, systems):
    global _judge
    signal.signal(signal.SIGTERM, signal.SIG_DFL)  # Python's handler may come too late for a worker that begins to wait.
    _judge = Judge(history, card, before, Path(memory, str(os.getpid())), systems)


def _look(task):
    (name, number), cut = task
    return (name, number), _judge.look(name, cut)


def verdict(findings, used):
    """Which system an instrument is left with, OLD or NEW, and what is wrong: with anything wrong it is broken.

    used is the partition that was in use when the update began.
    """
    faults = [finding.fault for finding in findings.values() if finding.fault]
    fstab = findings[ROOT].content
    named = None if fstab is None else next_system(fstab)
    if fstab is not None and named is None:
        faults.append(f"{FSTAB} does not name just one system: {fstab!r}")
    if findings[used].content:
        faults.append(f"the system that was in use, on {used}: {findings[used].content}")
    if named == other_partition(used) and findings[named].content:
        faults.append(f"the new system, on {named}: {findings[named].content}")
    return (OLD if named == used else NEW), faults


def next_system(fstab):
    """The system partition that an /etc/fstab names for /usr/local; None when it does not name just one of both."""
    lines = [line.split() for line in fstab.splitlines() if line.strip() and not line.lstrip().startswith("#")]
    named = [fields[0].removeprefix("/dev/") for fields in lines if len(fields) == 6 and fields[1] == SYSTEM]
    mentioned = set(re.findall("|".join(PARTITIONS), fstab))
    return named[0] if len(named) == 1 and set(named) == mentioned else None


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
    return ", ".join(sorted(names)[:NAMES_TOLD]) + (f" and {more} more" if more > 0 else "")
