"""Measures the updater's start up to the first picture and to the question, and where its time goes.

Step by step, from a bare Qt Quick window to the updater, each on the same virtual screen in the same simulated
instrument, in turns; once with the caches of Qt and of the OpenGL driver from an earlier start, once without.
The program is stopped at its first picture, so that the processor time is exact. Needs root and a build.
"""

import collections
import contextlib
import os
import re
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass, replace
from pathlib import Path

from bench.measuring import (in_turns, median_of, median_ratio, moments_of, processor_clock, run_tables, table,
                             table_parser)
from simulator import SOURCES, archive
from simulator.build import Build
from simulator.instrument import PROGRAM, Instrument, Settings
from simulator.run import ARCHIVE, UPDATER_LOG
from simulator.screen import Screen
from simulator.watcher import Watcher

VIEWER = "/opt/vrk-updater/screenviewer"
FILES = "/run/starts"
WINDOW = 'Window {{ visible: true; width: 800; height: 480; color: "black"; {content} }}\n'
BASE_IMPORTS = ("import QtQuick 2.9", "import QtQuick.Window 2.2")
COMPONENTS = 'import "qrc:/Zentar/Components"'
BACKGROUND = "RadialBackground { anchors.fill: parent }"
INPUT_METHOD = {"QT_IM_MODULE": "qtvirtualkeyboard"}
UPDATER = (PROGRAM, "-u", ARCHIVE)
YARDSTICK, FIRST_PICTURE = "and the imports of the updater's screen", "**the updater's first picture**"
QUESTION = "**the updater's question**"

OTHER = " before"
CACHES = {"kept": "With the caches of an earlier start", None: "Without them"}

LIBRARIES = {
    "platform plugin": "/platforms/|/generic/|xcbglintegrations", "input method": "virtualkeyboard|inputcontexts",
    "QML modules": "/qml/", "OpenGL driver": "/dri/|libGL|libEGL", "image formats": "imageformats", "others": "",
}
THREADS = {"main thread": "vrk-updater", "QML engine's thread": "QQml", "render thread": "QSGRender",
           "OpenGL driver's threads": ""}


@dataclass(frozen=True)
class Step:
    """Something to be started."""

    name: str
    command: tuple
    environment: dict
    until: str = "picture"  # or "load", or "question"


@dataclass
class Start:
    """How long a start took, in milliseconds: by the clock, of the processor, by threads, for opening libraries."""

    elapsed: float
    processor: float
    threads: dict
    libraries: dict


class Starts:
    """A context: an instrument that is switched on, in which programs are started."""

    def __init__(self, build):
        self._build = build
        self._count = 0

    def __enter__(self):
        with contextlib.ExitStack() as stack:
            self._screen = stack.enter_context(Screen())
            folder = stack.enter_context(tempfile.TemporaryDirectory())
            settings = Settings(card=False, initialize_ms=0, log_commands=False)
            self._instrument = stack.enter_context(Instrument(Path(folder), self._build, settings))
            self._instrument.root.bind(self._build.viewer, VIEWER, "ro")
            self._instrument.plug_in(archive.sample(self._build, 0), os.path.basename(ARCHIVE))
            self._stack = stack.pop_all()
        return self

    def __exit__(self, *_):
        self._stack.close()

    def add(self, build):
        """Brings the updater of another build; its path in the instrument."""
        folder = "/opt/other"
        self._instrument.root.bind(build.translations, f"{folder}/translations", "ro")
        self._instrument.root.bind(build.program, f"{folder}/{os.path.basename(PROGRAM)}", "ro")
        return f"{folder}/{os.path.basename(PROGRAM)}"

    def bring(self, document):
        """Brings a QML document; its path in the instrument."""
        self._count += 1
        path = f"{FILES}/window{self._count}.qml"
        self._instrument.root.write(path, document)
        return path

    def start(self, step, caches=None):
        """Starts a step with its caches in a folder of that name, or without any; returns the Start."""
        self._count += 1
        own = f"{FILES}/{self._count}"
        self._instrument.root.inside(own).mkdir(parents=True)
        environment = {**self._instrument.refresh(), "XDG_CACHE_HOME": f"{FILES}/{caches}" if caches else own,
                       **step.environment}
        if step.until == "question":
            return self._until_question(step.command, environment)
        environment |= {"SCREEN_STOP_AT": step.until, "SCREEN_SWAP_LOG": f"{own}/pictures",
                        "SCREEN_LOAD_LOG": f"{own}/libraries"}
        return self._until_stopped(step.command, environment, self._instrument.root.inside(own))

    def launching(self):
        """What it takes to start any program in the instrument, in milliseconds by the clock and of the processor."""
        begun = time.monotonic()
        process = self._instrument.start(("true",), {}, subprocess.DEVNULL)
        _, process.returncode, used = os.wait4(process.pid, 0)
        return 1000 * (time.monotonic() - begun), 1000 * (used.ru_utime + used.ru_stime)

    def _until_stopped(self, command, environment, folder):
        with self._started(self._screen, command, environment) as (begun, process):
            stopped = os.waitid(os.P_PID, process.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)
            if stopped.si_code != os.CLD_STOPPED:
                raise OSError(f"{command} ended early")
            ended = (moments_of(folder / "pictures") or [time.monotonic()])[0]
            return Start(1000 * (ended - begun), 1000 * processor_clock(process), thread_times(process),
                         library_times(folder / "libraries"))

    def _until_question(self, command, environment):
        # The other screen still shows the program before.
        with Screen() as screen, Watcher(screen) as watcher, \
                self._started(screen, command, environment) as (begun, process):
            shot = watcher.wait_for(is_question)
            return Start(1000 * (shot.seconds - begun), 1000 * processor_clock(process), {}, {})

    @contextlib.contextmanager
    def _started(self, screen, command, environment):
        """Starts a program on a screen, and ends it; yields the moment of the start and the process."""
        begun = time.monotonic()
        with open(self._instrument.run_folder / UPDATER_LOG, "wb") as output, self._instrument.start(
                command, {**screen.environment(), **environment}, output, stdin=subprocess.PIPE) as process:
            try:
                yield begun, process
            finally:
                process.kill()


def is_question(view):
    """Whether the updater's question stands on the screen."""
    return view.upper and view.message and not view.bar


def thread_times(process):
    """The processor milliseconds of a process by kinds of threads."""
    found = collections.Counter()
    for thread in Path(f"/proc/{process.pid}/task").iterdir():
        name = (thread / "comm").read_text()
        kind = next(kind for kind, part in THREADS.items() if name.startswith(part))
        found[kind] += int((thread / "schedstat").read_text().split()[0]) / 1e6
    return found


def library_times(log):
    """The processor milliseconds for opening libraries, by kinds of them."""
    found = collections.Counter()
    for line in log.read_text().splitlines() if log.exists() else ():
        nanoseconds, name = line.split(" ", 1)
        kind = next(kind for kind, part in LIBRARIES.items() if re.search(part, name))
        found[kind] += int(nanoseconds) / 1e6
    return found


def screen_imports():
    """The import lines of all modules that the updater's screen uses."""
    documents = (SOURCES / "src" / "qml").rglob("*.qml")
    found = {line for document in documents for line in document.read_text().splitlines()
             if re.match(r"import Qt", line)}
    return sorted(re.sub(r" as .*", "", line) for line in found)


def window(starts, name, imports, content="", environment=()):
    """The step that shows a window with these imports and that content."""
    path = starts.bring("\n".join([*imports, WINDOW.format(content=content)]))
    return Step(name, (VIEWER, f"file://{path}"), dict(environment))


def steps_of(starts):
    """What is started, each with all that the one before has and something more."""
    imports = screen_imports()
    return [
        Step("the updater's libraries", UPDATER, {}, "load"),
        window(starts, "a Qt Quick window", BASE_IMPORTS),
        window(starts, YARDSTICK, imports),
        window(starts, "and the input method", imports, "", INPUT_METHOD),
        window(starts, "and the background", [*imports, COMPONENTS], BACKGROUND, INPUT_METHOD),
        Step("and the rest of the screen, empty", (VIEWER,), INPUT_METHOD),
        Step(FIRST_PICTURE, UPDATER, {}),
        Step(QUESTION, UPDATER, {}, "question"),
    ]


def other_steps(starts, steps, folder):
    """The steps of the updater once more for that of another build folder, if there is one."""
    if not folder:
        return []
    command = (starts.add(Build(folder.absolute())), *UPDATER[1:])
    return [replace(step, name=step.name + OTHER, command=command) for step in steps
            if step.name in (FIRST_PICTURE, QUESTION)]


def measure(build, options):
    with Starts(build) as starts:
        steps = steps_of(starts)
        others = other_steps(starts, steps, options.before)
        found = started_in_turns(starts, [*steps, *others], options.runs)
        elapsed, processor = (min(column) for column in zip(*(starts.launching() for _ in range(options.runs))))
    for runs in found.values():
        runs[:] = [replace(start, elapsed=start.elapsed - elapsed, processor=start.processor - processor)
                   for start in runs]
    parts = [step_tables(steps, found)]
    if others:
        parts.append(table(["Before and now", "before, ms", "now, ms", "before, of the processor, ms", "now", "ratio"],
                           [comparison(step, caches, found) for caches in CACHES for step in others]))
    return "\n\n".join([*parts, *breakdowns(found[FIRST_PICTURE, "kept"])])


def started_in_turns(starts, steps, runs):
    """The Starts of each step, by its name and its caches."""
    for step in steps:
        starts.start(step, "kept")
    found = collections.defaultdict(list)
    for step, caches in in_turns([(step, caches) for caches in CACHES for step in steps], runs):
        found[step.name, caches].append(starts.start(step, caches))
    return found


def comparison(step, caches, found):
    """The line of the table that compares a step of the other build with the same of this one."""
    before, now = found[step.name, caches], found[step.name.removesuffix(OTHER), caches]
    return [f"{step.name.removesuffix(OTHER)}, {CACHES[caches].lower()}",
            *(median_of((start.elapsed for start in starts), 0) for starts in (before, now)),
            *(median_of((start.processor for start in starts), 1) for starts in (before, now)),
            median_ratio([start.processor for start in now], [start.processor for start in before])]


def step_tables(steps, found):
    """The tables of all steps, with each of the CACHES."""
    return "\n\n".join(f"{title}:\n\n{step_table(steps, found, caches)}" for caches, title in CACHES.items())


def step_table(steps, found, caches):
    """What each step takes with such caches, and its ratio to the yardstick."""
    rows, before = [], 0
    for step in steps:
        starts, yardstick = found[step.name, caches], found[YARDSTICK, caches]
        elapsed, processor = (figures(starts, yardstick, what) for what in ("elapsed", "processor"))
        rows.append([step.name, *elapsed, *processor, f"{float(processor[0]) - before:.1f}"])
        before = float(processor[0])
    heads = ["Up to the first picture of", "ms", "ratio", "of the processor, ms", "ratio", "more than the row above"]
    return table(heads, rows)


def figures(starts, yardstick, what):
    """The median milliseconds and the ratio to those of the yardstick, as texts."""
    mine, others = ([getattr(start, what) for start in starts] for starts in (starts, yardstick))
    return [median_of(mine, 0 if what == "elapsed" else 1), median_ratio(mine, others)]


def breakdowns(starts):
    """The processor time up to the first picture, by threads and for the libraries that are opened on the way."""
    for title, kinds, what in (("By threads", THREADS, "threads"),
                               ("Of that, for opening libraries", LIBRARIES, "libraries")):
        yield table([title, "processor, ms"],
                    [[kind, median_of((getattr(start, what)[kind] for start in starts), 1)] for kind in kinds])


def main():
    arguments = table_parser("bench/start", __doc__, runs=11)
    arguments.add_argument("--before", type=Path, metavar="BUILD", help="a build folder to compare the updater with")
    return run_tables(arguments.parse_args(), "bench/start", measure)


if __name__ == "__main__":
    sys.exit(main())
