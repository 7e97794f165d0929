"""Measures what an update takes longer than the commands that it runs, and where its time goes.

In the same simulated instrument, in turns, the updater installs an archive in a silent run, and a shell script
runs the same command lines: alone, and beside a Qt Quick window with the updater's background that moves
as its screen does, since the drawing takes its share of the processor. Needs root, loop devices and a build.
"""

import functools
import statistics
import sys
import tempfile
from dataclasses import dataclass, field
from pathlib import Path

from bench.course import Courses, partition_bytes_for
from bench.measuring import in_turns, median_of, median_ratio, megabytes, run_tables, table, table_parser
from bench.screen import reference
from simulator import archive
from simulator.build import require_devices
from simulator.run import ARCHIVE

HEAD = ["Archive", "Shell script, s", "Updater, s", "Ratio", "Start and end, s", "Archive's test longer by, s",
        "All other commands, ratio", "... to the script beside a window"]
COMMAND_HEAD = ["Command", "Updater, s", "Script, s", "Script beside a window, s"]
SHOWN_SHARE = 0.01  # of the whole script's time


@dataclass
class Measured:
    """The courses of updates with one archive."""

    name: str
    updater: list = field(default_factory=list)
    script: list = field(default_factory=list)
    script_beside: list = field(default_factory=list)

    @property
    def all(self):
        return self.updater, self.script, self.script_beside

    def compare(self, ways, runs):
        """Takes the courses of an updater, a script and a script beside a window, by these functions, in turns."""
        for way, kept in in_turns(list(zip(ways, self.all)), runs):
            kept.append(way())

    def row(self):
        """A line of the table of sizes."""
        mine, others = ([course.seconds for course in courses] for courses in (self.updater, self.script))
        longer = [own.commands[0] - other.commands[0] for own, other in zip(self.updater, self.script)]
        rest, *other_rests = [[sum(course.commands[1:]) for course in courses] for courses in self.all]
        return [self.name, median_of(others), median_of(mine), median_ratio(mine, others),
                median_of(course.around for course in self.updater), median_of(longer),
                *(median_ratio(rest, other) for other in other_rests)]

    def command_rows(self, lines):
        """The lines of the table of commands; those of the short ones are one."""
        seconds = [[[course.commands[at] for course in courses] for courses in self.all] for at in range(len(lines))]
        shown = SHOWN_SHARE * statistics.median(course.seconds for course in self.script)
        long = [at for at in range(len(lines)) if statistics.median(seconds[at][1]) >= shown]
        rows = [["start and end", *(median_of(course.around for course in courses) for courses in self.all)]]
        rows += [[f"`{lines[at]}`", *map(median_of, seconds[at])] for at in long]
        others = [[sum(second for at, second in enumerate(course.commands) if at not in long) for course in courses]
                  for courses in self.all]
        return [*rows, [f"the {len(lines) - len(long)} others together", *map(median_of, others)]]


def beside_window(build, courses, file):
    """The course of the script while a window moves all the time, as the updater's does."""
    with reference(build) as viewer:
        viewer.show(message="background", isProgressBarIndeterminate=True)
        return courses.by_script(file)


def measure(build, options):
    measured = []
    for size in options.sizes:
        file = archive.sample(build, size)
        found = Measured(f"{megabytes(file):.0f} MB")
        with tempfile.TemporaryDirectory() as folder, \
                Courses(build, Path(folder), partition_bytes_for(size)) as courses:
            for _ in range(2):
                courses.by_script(file)  # so that there is as much to be cleared each time
            ways = courses.by_updater, courses.by_script, functools.partial(beside_window, build, courses)
            found.compare([functools.partial(way, file) for way in ways], options.runs)
            lines = courses.lines
        measured.append(found)
    return tables(measured, lines)


def tables(measured, lines):
    """The table of sizes, and that of the command lines of the last one."""
    names = [line.replace(ARCHIVE, "<archive>").replace("|", r"\|") for line in lines]
    return "\n\n".join([table(HEAD, [found.row() for found in measured]),
                        f"Command by command, with the archive of {measured[-1].name}:",
                        table(COMMAND_HEAD, measured[-1].command_rows(names))])


def main():
    arguments = table_parser("bench/update", __doc__)
    arguments.add_argument("--sizes", type=int, nargs="+", default=[4, 16, 64], metavar="FILES",
                           help="the archives' sizes in files of 8 MiB, about 4.2 MB packed (4 16 64)")
    options = arguments.parse_args()
    return run_tables(options, "bench/update", measure, require_devices)


if __name__ == "__main__":
    sys.exit(main())
