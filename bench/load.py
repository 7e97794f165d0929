"""Measures processor time and memory of the updater itself during an update, without its commands.

It is measured against a Qt Quick window with the same background and movement, which runs beside it on a screen
of its own. Needs root, loop devices and a build.
"""

import contextlib
import re
import sys
import tempfile
import time
from pathlib import Path

from bench.course import CHECK, MILESTONE, Courses, partition_bytes_for
from bench.measuring import (in_turns, median_of, median_ratio, megabytes, peak_mib, processor_clock, run_tables, table,
                             table_parser)
from bench.screen import PATIENCE_SECONDS, reference
from simulator import archive
from simulator.build import require_devices

HEAD = ["Archive", "Update, s", "Updater, processor s", "Window, processor s", "Ratio", "Updater, peak MiB",
        "Window, peak MiB"]
DURATIONS = {"0.1": 3000, "0.15": 4000, "0.2": 4000, "0.9": 43000, "0.99": 3000, "1": 20}  # ms, as the installer's
BEGINNING = {"message": "background", "isProgressBarIndeterminate": True, "progress": 0.0}
SAMPLE_SECONDS = 0.02


class Beside:
    """The other window, which moves as an updater does, and what both of them use meanwhile."""

    def __init__(self, viewer):
        self._viewer = viewer
        self.updater = self.window = None

    def observe(self, run):
        """Follows an updater to its end; then updater and window are the processor seconds and the peak MiB of each."""
        run.wait_for_output(CHECK, PATIENCE_SECONDS)
        processes = run.process, self._viewer.process
        self._viewer.show(**BEGINNING)
        before = [processor_clock(process) for process in processes]
        reached = 0
        with contextlib.suppress(OSError, TypeError):  # the updater has ended
            while run.process.poll() is None:
                self.updater, self.window = (
                    (processor_clock(process) - used, peak_mib(process)) for process, used in zip(processes, before))
                milestones = re.findall(MILESTONE, run.output())
                for milestone in milestones[reached:]:
                    self._viewer.show(**movement(milestone))
                reached = len(milestones)
                time.sleep(SAMPLE_SECONDS)


def movement(milestone):
    """What the other window is to show as soon as an updater has reported a milestone."""
    return {"isProgressBarIndeterminate": False, "expectedDuration": DURATIONS[milestone], "progress": float(milestone)}


def measure_one(build, courses, file):
    """The seconds of one update, then the processor seconds and the peak MiB of the updater and of the window."""
    with reference(build) as viewer:
        beside = Beside(viewer)
        course = courses.by_updater(file, beside.observe)
    return [course.seconds, *beside.updater, *beside.window]


def measure(build, options):
    files = [archive.sample(build, size) for size in options.sizes]
    found = {file: [] for file in files}
    with tempfile.TemporaryDirectory() as folder, \
            Courses(build, Path(folder), partition_bytes_for(max(options.sizes))) as courses:
        for file in in_turns(files, options.runs):
            found[file].append(measure_one(build, courses, file))
    return table(HEAD, [row(file, zip(*runs)) for file, runs in found.items()])


def row(file, columns):
    """The line of the table for the columns of one archive."""
    seconds, used, peak, others, others_peak = columns
    return [f"{megabytes(file):.0f} MB", median_of(seconds, 1), median_of(used), median_of(others),
            median_ratio(used, others), median_of(peak, 1), median_of(others_peak, 1)]


def main():
    arguments = table_parser("bench/load", __doc__)
    arguments.add_argument("--sizes", type=int, nargs="+", default=[4, 64], metavar="FILES",
                           help="the archives' sizes in files of 8 MiB, about 4.2 MB packed (4 64)")
    return run_tables(arguments.parse_args(), "bench/load", measure, require_devices)


if __name__ == "__main__":
    sys.exit(main())
