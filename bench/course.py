"""The course of an update in the simulated instrument, with a card, timed command by command.

The command lines are those that an updater has given to the shell. A shell script with the same lines is what
an update is measured against.
"""

import collections
import contextlib
import datetime
import re
import shlex
import subprocess
import time
from dataclasses import dataclass

from simulator.archive import OFFERED_FIRMWARE, sample
from simulator.card import MIB
from simulator.instrument import Instrument, Settings
from simulator.run import ARCHIVE, SILENT, UPDATER_LOG, on_screen
from simulator.screen import Screen

PATIENCE_SECONDS = 300
SCRIPT, MARKS = "/run/update.sh", "/run/marks"
SCRIPT_HEAD = f"""\
#!/bin/bash
cd /tmp
begin() {{ printf '%s %s\\n' "$EPOCHREALTIME" "$1" >> {MARKS}; }}
"""
STAMP = r"(\d{4}-\d\d-\d\d[ T]\d\d:\d\d:\d\d\.\d+) (.*)"
STAMPED = {"QT_MESSAGE_PATTERN": "%{time yyyy-MM-dd HH:mm:ss.zzz} %{message}"}
CHECK, LAST_DONE = "VRK_Status", "Progress update: 1"  # written before the archive's test, and after the last command
MILESTONE = r"Progress update: (\S+)"


@dataclass
class Course:
    """How long an update took, and each of its command lines, in seconds; the first is the archive's test."""

    seconds: float
    commands: list

    @property
    def around(self):
        """The seconds before the first command and after the last."""
        return self.seconds - sum(self.commands)


class Courses:
    """A context: an instrument in a folder that is updated again and again, from one partition to the other and back.

    `lines` are the command lines of an update of the partition that is in use first.
    """

    def __init__(self, build, folder, partition_bytes=Settings.partition_bytes):
        self._build, self._folder, self._partition_bytes = build, folder, partition_bytes
        self._lines = {}

    def __enter__(self):
        with contextlib.ExitStack() as stack:
            self._screen = stack.enter_context(Screen())
            for _ in range(2):
                self._learn()
            self._stack = stack.pop_all()
        return self

    def __exit__(self, *_):
        self._stack.close()

    def _learn(self):
        """Lets the updater install a small archive, and keeps its command lines."""
        with self._switched_on(sample(self._build, 0), log_commands=True) as instrument:
            active = instrument.mounted_partition()
            self._update(instrument)
            self._lines[active] = [line for line, _ in instrument.commands()]

    @property
    def lines(self):
        return next(iter(self._lines.values()))

    def by_updater(self, archive, observe=lambda run: None):
        """The course of an update by the updater, in a silent run, which observe(run) may follow to its end."""
        with self._switched_on(archive) as instrument:
            return self._update(instrument, observe)

    def by_script(self, archive, prepare=lambda instrument: None):
        """The course of the same update by a shell script, after prepare(instrument)."""
        with self._switched_on(archive) as instrument:
            prepare(instrument)
            lines = self._lines[instrument.mounted_partition()]
            instrument.root.write(SCRIPT, script_of(lines))
            begun = time.time()
            with open(instrument.run_folder / UPDATER_LOG, "wb") as output:
                process = instrument.start(("bash", SCRIPT), {}, output)
                ended = ended_at(process)
            return Course(ended - begun, durations(script_moments(instrument.root.inside(MARKS).read_text())))

    def _update(self, instrument, observe=lambda run: None):
        begun = time.time()
        with on_screen(instrument, self._screen, SILENT, STAMPED) as run:
            observe(run)
            ended = ended_at(run.process)
        return Course(ended - begun, durations(updater_moments(run.output())))

    @contextlib.contextmanager
    def _switched_on(self, archive, log_commands=False):
        """The instrument with an archive on its drive; raises OSError when it is not updated then."""
        with self.instrument(archive, log_commands) as instrument:
            before = instrument.mounted_partition()
            yield instrument
        if instrument.configured_partition() == before:
            log = instrument.run_folder / UPDATER_LOG
            raise OSError(f"the update failed:\n{log.read_text(errors='replace')}")

    @contextlib.contextmanager
    def instrument(self, archive, log_commands=False):
        """The instrument, switched on, with an archive on its drive."""
        settings = Settings(partition_bytes=self._partition_bytes, board_version=OFFERED_FIRMWARE, initialize_ms=0,
                            log_commands=log_commands)
        with Instrument(self._folder, self._build, settings) as instrument:
            instrument.plug_in(archive, ARCHIVE.rpartition("/")[2])
            yield instrument


def partition_bytes_for(ballast_files):
    """The size of partitions for archives of that size."""
    return Settings.partition_bytes + ballast_files * 10 * MIB


def ended_at(process):
    """Waits for the end of a process; when that came. Raises OSError when it ended with an error."""
    try:
        status = process.wait(PATIENCE_SECONDS)
    except subprocess.TimeoutExpired:
        process.kill()
        raise
    ended = time.time()
    if status:
        raise OSError(f"{process.args[-1]} ended with {status}")
    return ended


def updater_moments(log):
    """When each command of an updater began and the last one ended, as its log tells."""
    lines = [(datetime.datetime.fromisoformat(stamp).timestamp(), text) for stamp, text in re.findall(STAMP, log)]
    moments = [at for at, text in lines if begins_command(text)]
    return moments + [at for at, text in lines if text == LAST_DONE]


def milestones(log):
    """The milestones that an updater has reported, by the number of the command line that came next."""
    found, number = collections.defaultdict(list), 0
    for _, text in re.findall(STAMP, log):
        number += begins_command(text)
        if milestone := re.fullmatch(MILESTONE, text):
            found[number].append(milestone[1])
    return found


def begins_command(text):
    """Whether an updater begins a command with this line of its log."""
    return CHECK in text or text.startswith('"')


def script_of(lines, before=None):
    """A shell script with such command lines that notes in MARKS when each began; `before` has more for some."""
    steps = [f"{(before or {}).get(number, '')}begin {shlex.quote(line)}\n{line}" for number, line in enumerate(lines)]
    return "\n".join([SCRIPT_HEAD, *steps, "begin end", ""])


def script_moments(marks):
    """When each command of a script began and the last one ended."""
    return [float(mark.partition(" ")[0]) for mark in marks.splitlines()]


def durations(moments):
    return [end - begin for begin, end in zip(moments, moments[1:])]
