"""Measures in the emulated instrument what bench/update, bench/start and bench/load measure in the simulated one.

It boots once for each archive; all that is compared takes turns there. Updates go from one partition to the other
and back, both of which an update with the same archive has filled before. Takes about a quarter of an hour, on a
machine that is quiet otherwise. Builds what it needs in build/arm; needs root.
"""

import contextlib
import json
import shlex
import shutil
import sys
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path

from bench import load, start, update
from bench.course import (MARKS, PATIENCE_SECONDS, STAMPED, Course, durations, milestones, script_moments, script_of,
                          updater_moments)
from bench.measuring import median_of, median_ratio, megabytes, moments_of, run_tables, table, table_parser
from simulator import SOURCES, archive
from simulator.archive import OFFERED_FIRMWARE
from simulator.build import SCREEN_VSYNC, VIEWER, VSYNC_TARGET, Build, make, require_emulator
from simulator.emulator.emulation import BOOT_SECONDS
from simulator.emulator.images import make_drive, prepare
from simulator.emulator.instrument import UP, EmulatedInstrument
from simulator.emulator.machine import Machine, MachineError
from simulator.emulator.screen import EmulatedScreen
from simulator.faults import LOG_FOLDER
from simulator.instrument import LIBRARIES, PROGRAM, Settings
from simulator.run import SILENT
from simulator.screen import SMALLEST
from simulator.view import read

INSIDE, REFERENCE = (SOURCES / "bench" / name for name in ("emulated.sh", "reference.qml"))
DRAWN = {"LD_PRELOAD": f"{LIBRARIES}/{SCREEN_VSYNC}", "SCREEN_SWAP_LOG": "/run/results/pictures"}
BRING_PROGRAMS = f"""\
mkdir -p {LIBRARIES}
cp /usr/local/bin/vrk-updater {PROGRAM}
cp {LOG_FOLDER}/{VIEWER} {start.VIEWER}
cp {LOG_FOLDER}/{SCREEN_VSYNC} {LIBRARIES}
"""
LOG_NO_MORE_COMMANDS = "mount --bind /usr/bin/dash /usr/bin/sh"
LOAD_HEAD = [*load.HEAD, "Updater, processor ms a picture", "Window, processor ms a picture",
             "Ratio of these"]
TICKS = 100  # a second
POLL_SECONDS = 0.1


@contextlib.contextmanager
def switched_on(build, file):
    """Yields an Inside of the emulated instrument with an archive on its drive."""
    with tempfile.TemporaryDirectory() as name:
        folder, images = Path(name), prepare(build, Settings())
        settings = Settings(board_version=OFFERED_FIRMWARE, initialize_ms=0)
        instrument = EmulatedInstrument(folder, build, settings, images)
        shared, drive = instrument.new_run_folder(), folder / "drive.img"
        make_drive(drive, file)
        for brought in (INSIDE, REFERENCE, build.viewer, build.vsync):
            shutil.copy(brought, shared)
        with Machine(images, instrument.card.image, drive, shared, SMALLEST,
                     environment={"VRK_UPDATER": f"{LOG_FOLDER}/{INSIDE.name}"}) as machine:
            inside = Inside(machine, shared, machine.wait_for_line(UP, BOOT_SECONDS)[2])
            inside.run(BRING_PROGRAMS)
            yield inside


class Inside:
    """Runs scripts in an emulated instrument, whose computer is `machine` and which has come up with `partition`."""

    def __init__(self, machine, shared, partition):
        self.machine, self.partition = machine, partition
        self._shared, self._count = shared, 0

    def bring(self, name, text):
        """Brings a file; its path in the instrument."""
        new = self._shared / "new"
        new.write_text(text)
        new.rename(self._shared / name)
        return f"{LOG_FOLDER}/{name}"

    def run(self, script):
        """Runs a script that knows the functions of emulated.sh; returns the folder with the files that it has made.

        Raises MachineError when it fails or takes too long.
        """
        self._count += 1
        self.bring(f"{self._count}.sh", script)
        results, until = self._shared / str(self._count), time.monotonic() + PATIENCE_SECONDS
        while not results.exists():
            if self.machine.has_ended() or time.monotonic() > until:
                raise MachineError(f"the instrument does not get to the end of:\n{script}")
            time.sleep(POLL_SECONDS)
        if (results / "status").read_text() != "0\n":
            raise MachineError(f"the instrument failed at:\n{script}\n{(results / 'output').read_text()}")
        return results


@dataclass
class DrawnCourse(Course):
    """With what the program that draws took while the commands ran: processor seconds, MiB at most, pictures."""

    processor: float
    peak: float
    pictures: int


class Updates:
    """Updates of an instrument by its updater, and by shell scripts with the same command lines."""

    def __init__(self, inside):
        self._inside, self._partition = inside, inside.partition
        self._scripts = {}
        for _ in range(2):
            self._learn()
        inside.run(LOG_NO_MORE_COMMANDS)

    def _learn(self):
        """Lets the updater make an update, and makes a script of its command lines and milestones."""
        partition, known = self._partition, len(self._inside.machine.commands())
        log = (self._update(self._updater()) / "updater.log").read_text(errors="replace")
        self.lines = [line for line, _ in self._inside.machine.commands()[known:]]
        tells = {number: "".join(f"echo {values(load.movement(milestone))} >&5\n" for milestone in found)
                 for number, found in milestones(log).items()}
        self._scripts[partition] = self._inside.bring(f"update-{partition}.sh", script_of(self.lines, tells))

    def by_updater(self):
        """The DrawnCourse of an update by the updater."""
        results = self._update(self._updater())
        return drawn_course_of(results, updater_moments((results / "updater.log").read_text(errors="replace")))

    def by_script(self):
        """The Course of an update by a script."""
        results = self._update(f"updated_by bash {self._scripts[self._partition]} 5> /dev/null", f"mv {MARKS} .")
        return course_of(results, script_moments((results / "marks").read_text()))

    def beside_window(self):
        """The same beside a window that moves as the updater's does, as a DrawnCourse."""
        window = with_environment(DRAWN, start.VIEWER, f"file://{LOG_FOLDER}/{REFERENCE.name}")
        results = self._update(f"updated_beside {self._scripts[self._partition]} {values(load.BEGINNING)} {window}",
                               f"mv {MARKS} .")
        return drawn_course_of(results, script_moments((results / "marks").read_text()))

    @staticmethod
    def _updater():
        return f"updated_by followed {with_environment({**STAMPED, **DRAWN}, PROGRAM, *SILENT)}"

    def _update(self, *lines):
        """Runs lines of a script that make an update; what they have left. Raises MachineError when there was none."""
        results = self._inside.run(" &&\n".join(lines))
        partition = (results / "partition").read_text().strip().removeprefix("/dev/")
        if partition == self._partition:
            raise MachineError(f"the update failed:\n{(results / 'updater.log').read_text(errors='replace')}")
        self._partition = partition
        return results


class EmulatedStarts:
    """Starts of programs in an instrument, as those of start.Starts."""

    def __init__(self, inside):
        self._inside = inside
        self._count = 0

    def bring(self, document):
        """Brings a QML document; its path in the instrument."""
        self._count += 1
        return self._inside.bring(f"window{self._count}.qml", document)

    def start(self, step, caches=None):
        """Starts a step with its caches in a folder of that name, or without any; returns the Start."""
        folder = f"/run/caches-{caches}"
        environment = {**DRAWN, "XDG_CACHE_HOME": folder, **step.environment}
        until = "until_still"
        if step.until != "question":
            until, environment["SCREEN_STOP_AT"] = "until_stopped", step.until
        forget = "" if caches else f"rm -rf {folder}\n"
        results = self._inside.run(f"{forget}started {until} {with_environment(environment, *step.command)}")
        begun, ended, ticks = map(float, (results / "start").read_text().split())
        pictures = moments_of(results / "pictures")
        if step.until == "question":
            self._require_question()
        self._inside.run("ended")
        return start.Start(1000 * ((pictures or [ended])[-1] - begun), 1000 * ticks / TICKS, {}, {})

    def _require_question(self):
        with EmulatedScreen(self._inside.machine) as screen:
            if not start.is_question(read(screen.picture())):
                raise MachineError("the screen stands still without the question")


def values(shown):
    """A word of a command line for what a window is to show."""
    return shlex.quote(json.dumps(shown))


def with_environment(variables, *command):
    """A command line that has these variables in its environment."""
    return shlex.join(["env", *(f"{name}={value}" for name, value in variables.items()), *command])


def course_of(results, moments):
    """The course of an update that has left these results, with these moments of its commands."""
    begun, ended = map(float, (results / "seconds").read_text().split())
    return Course(ended - begun, durations(moments))


def drawn_course_of(results, moments):
    """The same when something was drawn meanwhile."""
    course = course_of(results, moments)
    samples = [tuple(map(float, line.split())) for line in (results / "samples").read_text().splitlines()]
    pictures, last, seconds = moments_of(results / "pictures"), samples[-1], sum(course.commands)
    first = next(sample for sample in samples if sample[0] >= last[0] - seconds)
    return DrawnCourse(course.seconds, course.commands, (last[1] - first[1]) / TICKS, last[2] / 1024,
                       sum(at >= pictures[-1] - seconds for at in pictures))


def load_row(file, found):
    """The line of the table of what an update costs the updater."""
    pairs = list(zip(found.updater, found.script_beside, strict=True))
    row = load.row(file, zip(*((own.seconds, own.processor, own.peak, other.processor, other.peak)
                               for own, other in pairs)))
    mine, others = ([1000 * course.processor / course.pictures for course in courses]
                    for courses in (found.updater, found.script_beside))
    return [*row, median_of(mine, 0), median_of(others, 0), median_ratio(mine, others)]


def measure(build, options):
    starts, measured, loads = None, [], []
    for size in options.sizes:
        file = archive.sample(build, size)
        with switched_on(build, file) as inside:
            starts = starts or measured_starts(inside, options.runs)
            updates, found = Updates(inside), update.Measured(f"{megabytes(file):.0f} MB")
            found.compare([updates.by_updater, updates.by_script, updates.beside_window], options.runs)
        measured.append(found)
        loads.append(load_row(file, found))
    return "\n\n".join([update.tables(measured, updates.lines), starts, table(LOAD_HEAD, loads)])


def measured_starts(inside, runs):
    """The tables of the start."""
    starts = EmulatedStarts(inside)
    steps = start.steps_of(starts)
    return start.step_tables(steps, start.started_in_turns(starts, steps, runs))


def emulated(options):
    """The build to measure in the emulated instrument; that of build/arm is brought up to date."""
    folder = options.build.absolute()
    if folder == SOURCES / "build" / "arm":
        make("--emulator", besides=(VIEWER, VSYNC_TARGET))
    require_emulator()
    return Build.emulated(folder)


def main():
    arguments = table_parser("bench/emulated", __doc__, runs=3, preset="arm")
    arguments.add_argument("--sizes", type=int, nargs="+", default=[1, 4], metavar="FILES",
                           help="the archives' sizes in files of 8 MiB, about 4.2 MB packed (1 4)")
    return run_tables(arguments.parse_args(), "bench/emulated", measure, build_of=emulated)


if __name__ == "__main__":
    sys.exit(main())
