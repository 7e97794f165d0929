"""Tries faults at every command of an update, strange archives, and signals at every moment, each in a simulated
instrument of its own with an operator, and compares what comes of it with the tables of docs/faults.md. Their first
columns and their headings say what is tried. The exit status is 1 when anything comes out otherwise, 77 where it
cannot be tried here, and 125 when the trying itself fails."""

import collections
import itertools
import os
import random
import re
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import astuple, dataclass
from pathlib import Path

from PIL import Image

from . import SOURCES, archive
from .build import require_screen, require_served_card
from .card import MIB, PARTITIONS, ROOT
from .commandline import status_of, tool_parser
from .faults import numbers_chosen
from .instrument import FSTAB, Settings
from .outside import Simulation
from .screen_names import ENDINGS
from .view import read

DOCUMENT, GUIDE = SOURCES / "docs" / "faults.md", SOURCES / "docs" / "how-an-update-runs.md"
COMMANDS, ARCHIVES, SIGNALS, RESULTS = "At a command", "Strange archives", "Signals", "The endings"
SPLIT = re.compile(r"(?<!\\)\|")

OLD, NEW = PARTITIONS
BEFORE, OFFERED = Settings.board_version, archive.OFFERED_FIRMWARE
PARTITION_BYTES, FIRMWARE_BYTES = 16 * MIB, 4096
FIRMWARE = f"usr/local/share/zentar/atmega/ZEPRA_AFW_{OFFERED}.hex"
ARCHIVE_NAME = f"zepra_update_v{archive.OFFERED_VERSION}.tar.gz"
SETUP = "bin/zepra-setup.sh"
PACK = 'set -e; pack() { tar -czf "$archive" "$@"; }; '
TO_THE_ERROR = ["--fail", "umount"]
SUCCESS = "Firmware upgrade successful"
WRONG_REMARK = re.compile("QML|the operator stopped|nothing changed|stood still|could not be pressed|no \".*\" came")
JOBS, PATIENCE_SECONDS, PROMPT_SECONDS = 2, 300, 3


@dataclass(frozen=True)
class Ending:
    """How an update ended; the fields are the columns of the table of endings."""

    screen: str
    status: str
    log: str
    mounted: str
    fstab: str
    next_start: str
    board: str


@dataclass(frozen=True)
class Trial:
    """What is tried, and the cell of the document that tells how it ends."""

    section: str
    row: int
    column: int
    options: tuple
    archive: str = ""  # what the document calls it
    made_by: str = "pack usr/local"  # a shell line that makes the archive, in a folder with "usr/local"

    def __str__(self):
        return " ".join(self.options) or f'the archive "{self.archive}", made by: {self.made_by}'


class Document:
    """The tables of docs/faults.md, by their sections; all cells are texts, and the first two rows are the head."""

    def __init__(self, text):
        self._lines = text.splitlines()
        self.tables, self._starts = {}, {}
        section = None
        for number, line in enumerate(self._lines):
            section = line.removeprefix("## ") if line.startswith("## ") else section
            if line.startswith("|"):
                self._starts.setdefault(section, number)
                self.tables.setdefault(section, []).append([cell.strip().replace("\\|", "|")
                                                            for cell in SPLIT.split(line)[1:-1]])

    def text(self):
        """The document with its tables as they are now."""
        lines, moved = list(self._lines), 0
        for section, start in self._starts.items():
            rows = ["| " + " | ".join(cell.replace("|", "\\|") for cell in row) + " |" for row in self.tables[section]]
            height = len(list(itertools.takewhile(lambda line: line.startswith("|"), self._lines[start:])))
            lines[start + moved:start + moved + height] = rows
            moved += len(rows) - height
        return "\n".join(lines) + "\n"

    def trials(self):
        """What the tables ask for."""
        for section, first, options in ((COMMANDS, 1, _fault), (ARCHIVES, 2, None), (SIGNALS, 1, _signals)):
            head, _, *rows = self.tables[section]
            for number, row in enumerate(rows, 2):
                for column in range(first, len(head)):
                    if section == ARCHIVES:
                        yield Trial(section, number, column, (), row[0], plain(row[1]))
                    else:
                        yield Trial(section, number, column, tuple(options(plain(row[0]), plain(head[column]))))

    def expected(self, trial):
        """How the document says that it ends; None where it says nothing."""
        number = self.tables[trial.section][trial.row][trial.column:][:1]
        return self._endings().get(number[0]) if number else None

    def described(self, ending):
        """An ending with its number in the document, as text."""
        numbers = {known: number for number, known in self._endings().items()}
        return f"{numbers.get(ending, 'not there yet')}: {ending}" if ending else "nothing yet"

    def _endings(self):
        return {row[0]: Ending(*row[1:]) for row in self.tables[RESULTS][2:]}

    def put(self, endings):
        """Writes how the trials ended into the tables, numbered in their order."""
        numbers = {}
        for trial, ending in endings.items():
            row = self.tables[trial.section][trial.row]
            row[trial.column:] = [*row[trial.column:trial.column], str(numbers.setdefault(ending, len(numbers) + 1)),
                                  *row[trial.column + 1:]]
        self.tables[RESULTS][2:] = [[str(number), *astuple(ending)] for ending, number in numbers.items()]


def plain(cell):
    """A cell's text without the marks of code."""
    return cell.strip("`")


def _fault(command, kind):
    return ["--signal", f"KILL@{command}"] if kind == "kill" else ["--fault", f"{kind}@{command}"]


def _signals(moment, names):
    signals = [word for name in names.split() for word in ("--signal", f"{name}@{moment}")]
    return signals + (TO_THE_ERROR if moment == "error" else [])


class Laboratory:
    """Where trials are made: an instrument and a folder for an archive, of which each trial has a copy."""

    def __init__(self, folder, build):
        self._folder, self._build = folder, build
        self._made = Simulation(folder / "made", build, PARTITION_BYTES)
        root = self._made.folder.parent / "root"
        archive.write_update(root, archive.OFFERED_VERSION, OFFERED, self._made.parts.translations, ballast_files=0)
        (root / FIRMWARE).write_text(archive.intel_hex(archive.seeded_bytes(OFFERED, FIRMWARE_BYTES)))
        self._old_system = self._made.card.digest(OLD)
        self._fstab = self._made.card.read_file(ROOT, FSTAB)
        self._lines = known_lines()
        self.looks = collections.defaultdict(set)  # of the words on the screen
        self.longest = None  # seconds for which an updater went on after a signal and the end of what was running

    def make(self, trial):
        """Makes a trial; returns its Ending and what went wrong with it, as a list of texts."""
        with tempfile.TemporaryDirectory(dir=self._folder) as folder:
            subprocess.run(["cp", "-r", "--sparse=always", *self._made.folder.parent.iterdir(), folder], check=True)
            simulation = Simulation(Path(folder), self._build)
            update = _packed(Path(folder), trial.made_by)
            findings, output = simulation.run(trial.options, update, PATIENCE_SECONDS)
            return self._ending(simulation, findings, update), self._faults(simulation, findings, output)

    def _ending(self, simulation, findings, update):
        fstab = simulation.card.read_file(ROOT, FSTAB)
        known = {self._fstab: "as before", self._fstab.replace(OLD.encode(), NEW.encode()): "switched"}
        return Ending(
            self._screen(findings), str(findings["exit_status"]), self._log(simulation),
            {OLD: "old", NEW: "new", None: "nothing"}[findings["mounted"]], known.get(fstab, "other"),
            _next_start(simulation, findings["after"]["partition"], update),
            {BEFORE: "old", "": "none"}.get(findings["after"]["board"], "new"))

    def _screen(self, findings):
        """The words on the last screen, if the updater came to one that ends an update."""
        last = next((screen for screen in findings["screens"] if screen["name"] in ENDINGS), None)
        if not last:
            return "–"
        words = SUCCESS if last["name"] == "final" else findings["update"]["words"]
        self.looks[words].add(read(Image.open(last["picture"])).message)
        return words or "?"

    def _log(self, simulation):
        """The lines of the updater that the guide explains."""
        lines = [line.rpartition("] ")[2] for line in simulation.output().splitlines()]
        told = [known for line in lines for known in self._lines if line.startswith(known)]
        return ", ".join(f"`{line}`" for line in told) or "–"

    def _faults(self, simulation, findings, output):
        """What must not be, however the update ends."""
        faults = [remark for remark in findings["remarks"] if WRONG_REMARK.search(remark)]
        faults += [f"left behind: {thing}" for thing in simulation.leftovers()]
        if simulation.card.digest(OLD) != self._old_system:
            faults.append("the partition that was in use was written")
        if "?" in self._screen(findings):
            faults.append(f"the error screen cannot be told:\n{output}")
        if findings["signal"]:
            self.longest = max(self.longest or 0, findings["lingered"])
        if findings["signal"] and findings["lingered"] > PROMPT_SECONDS:
            faults.append(f"went on for {findings['lingered']} s after the signal and what was running")
        return faults + _commands_after(findings)


def _commands_after(findings):
    """Complaints about commands that were begun after the installer was asked to end.

    It is asked only once the archive's test has ended, and may have begun those before umount by then.
    """
    name, moment = findings["signal"] or (None, None)
    lines = [line for line, _ in findings["commands"]]
    struck = numbers_chosen(moment, lines)[:1] if name == "TERM" else []
    first = next((at for at, line in enumerate(lines) if line.startswith("umount")), len(lines))
    later = [line for at in struck for line in lines[at + 1 if at > 0 else first:]
             if line != "sync" or not lines[at].startswith("sed ")]
    return [f"was begun after the signal: {line}" for line in later]


def known_lines():
    """The lines of the updater's log that the guide explains one by one, up to where they go on with other words."""
    section = GUIDE.read_text(encoding="utf-8").partition("\n## Reading the log\n")[2].partition("\n## ")[0]
    return [line.removesuffix("…").rstrip() for line in re.findall(r"^\| `(.*?)` \|", section, re.MULTILINE)]


def _packed(folder, made_by):
    """The archive that a shell line makes in the folder, which holds "root"."""
    made = folder / ARCHIVE_NAME
    subprocess.run(["bash", "-c", PACK + made_by], cwd=folder / "root", env={**os.environ, "archive": str(made)},
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return made


def _next_start(simulation, partition, update):
    """What the instrument starts next."""
    if partition != NEW:
        return "old" if partition == OLD else "nothing"
    wanted, found = archive.system_of_archive(update), simulation.system(NEW)
    if SETUP in wanted:  # which the updater makes executable
        mode, *others = wanted[SETUP]
        wanted[SETUP] = (oct(int(mode, 8) | 0o111), *others)
    found.pop("lost+found", None)
    set_up = found.pop(archive.SETUP_TRACE, None)
    if any(found.get(name) != entry for name, entry in wanted.items()):
        return "not what the archive brings"
    if not set_up:
        return "new, not set up"
    return "new" if found.keys() == wanted.keys() else "new, with remains"


def make_all(laboratory, trials, document):
    """Makes the trials, some at a time; returns endings, and how many came out otherwise and how many went wrong."""
    endings, otherwise, went_wrong = {}, 0, 0
    with ThreadPoolExecutor(JOBS) as workers:
        for trial, (ending, wrong) in zip(trials, workers.map(laboratory.make, trials)):
            endings[trial] = ending
            expected = document.expected(trial)
            if ending != expected:
                print(f"otherwise: {trial}\n  expected {document.described(expected)}\n"
                      f"  got      {document.described(ending)}", flush=True)
            if wrong:
                print(f"wrong: {trial}", *wrong, sep="\n  ", flush=True)
            otherwise += ending != expected
            went_wrong += bool(wrong)
    return endings, otherwise, went_wrong


def unclear(looks):
    """Complaints about words that look like others, or otherwise than at another time."""
    seen = [look for found in looks.values() for look in found]
    return [f"the screen with {words!r} does not always look the same, and unlike all others"
            for words, found in looks.items() if len(found) > 1 or seen.count(*found) > 1]


def chosen(document, options):
    """The trials that the options ask for. Raises OSError when there are none, or too few to be written down."""
    trials = [trial for trial in document.trials() if options.only in str(trial)]
    if not trials:
        raise OSError(f"nothing to be tried has {options.only!r} in it")
    if options.sample:
        chance = random.Random(options.seed)
        rows = itertools.groupby(trials, lambda trial: (trial.section, trial.row))
        trials = [chance.choice(list(row)) for _, row in rows]
    unknown = [trial for trial in document.trials() if trial not in trials and not document.expected(trial)]
    if options.write and unknown:
        raise OSError(f"--write has to try this, too, of which the document does not tell the ending: {unknown[0]}")
    return trials


def run(options):
    require_screen()
    require_served_card()
    document = Document(DOCUMENT.read_text(encoding="utf-8"))
    trials = chosen(document, options)
    started = time.monotonic()
    with tempfile.TemporaryDirectory() as folder:
        laboratory = Laboratory(Path(folder), options.build.absolute())
        endings, otherwise, went_wrong = make_all(laboratory, trials, document)
    complaints = unclear(laboratory.looks)
    print(*complaints, f"{len(trials)} trials in {time.monotonic() - started:.0f} s, seed {options.seed}: "
          f"{otherwise} came out otherwise, {went_wrong} went wrong", sep="\n")
    if laboratory.longest is not None:
        print("after a signal, once what was running had ended, the updater went on for "
              f"{laboratory.longest} s at most")
    if options.write:
        document.put({trial: endings.get(trial) or document.expected(trial) for trial in document.trials()})
        DOCUMENT.write_text(document.text(), encoding="utf-8")
    return bool(went_wrong or complaints or (otherwise and not options.write))


def main():
    parser = tool_parser("tools/try-faults", __doc__)
    parser.add_argument("--only", default="", metavar="TEXT",
                        help="only what has this text in it: @sed, full@, too large")
    parser.add_argument("--sample", action="store_true", help="of each row only one cell, by chance")
    parser.add_argument("--seed", type=int, default=random.randrange(10_000), help="for that chance")
    parser.add_argument("--write", action="store_true", help="write into the document how they end")
    return status_of(lambda: run(parser.parse_args()), "try-faults")


if __name__ == "__main__":
    sys.exit(main())
