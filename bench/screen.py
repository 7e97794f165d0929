"""Measures how smoothly the updater's screen moves, what that costs, and how soon it appears.

The updater, the commands that it runs, and the X server share one processor core; software OpenGL draws.
It is measured against a Qt Quick window with the same movement and nothing else, on a screen of its own,
which runs beside it on the same core: first black, then on the updater's background. Needs root, two
cores and a build.
"""

import argparse
import contextlib
import os
import statistics
import sys
import tempfile
import time
from pathlib import Path

from simulator import SOURCES, archive
from simulator.build import NOT_POSSIBLE, Build, NotPossible, require_screen
from simulator.instrument import Settings
from simulator.namespaces import run_isolated
from simulator.run import SILENT, run_updater
from simulator.viewer import Viewer

SWAP_LOG = "/run/swaps"
MEASURED_CORE, OWN_CORE = {0}, {1}
TICKS = os.sysconf("SC_CLK_TCK")
PHASE_SECONDS = 3.5
PATIENCE_SECONDS = 120
IDLE_DELAYS = {"gzip": 5, "tar": 5}

# What the updater writes when a phase begins and when it is over, and what moves meanwhile.
PHASES = {
    "check": ("VRK_Status", "Unpacking prepare", {"isProgressBarIndeterminate": True}),
    "unpacking": ("Extracting files", '"sync"', {"isProgressBarIndeterminate": False,
                                                 "expectedDuration": 4000, "progress": 0.2}),
}


class Bench:
    """The measurements of one build."""

    def __init__(self, build, ballast_files):
        self._build, self._ballast_files = build, ballast_files

    def updater(self, delays):
        """The updater in a silent run; the moments of its pictures go to SWAP_LOG in the instrument."""
        return run_updater(SILENT, Settings(initialize_ms=0, page_ms=2, delays=delays), build=self._build,
                           ballast_files=self._ballast_files, environment={"SCREEN_SWAP_LOG": SWAP_LOG}, watched=False)

    def reference(self, log):
        """The other window; the moments of its pictures go to the log."""
        return Viewer(self._build, Path(__file__).parent / "reference.qml",
                      environment={"LD_PRELOAD": str(self._build.vsync), "SCREEN_SWAP_LOG": str(log)})

    def measure_run(self, title, delays, background):
        """One update beside the other window; prints a line for each of its phases."""
        with contextlib.ExitStack() as stack:
            with on_measured_core():
                viewer = stack.enter_context(self.reference(os.devnull))
                run = stack.enter_context(self.updater(delays))
            for name, (begin, end, movement) in PHASES.items():
                run.wait_for_output(begin, PATIENCE_SECONDS)
                viewer.show(message=background, **movement)
                print_phase(f"{name}, {title}", *measure_phase(run, viewer, end))
            run.wait(PATIENCE_SECONDS)

    def first_picture_of_updater(self):
        """Seconds from its start to its first picture."""
        with contextlib.ExitStack() as stack:
            with on_measured_core():
                run = stack.enter_context(self.updater(IDLE_DELAYS))
            return seconds_to_picture(run.process, run.instrument.root.inside(SWAP_LOG))

    def first_picture_of_reference(self):
        """The same of the other window."""
        with tempfile.TemporaryDirectory() as folder, contextlib.ExitStack() as stack:
            log = Path(folder, "swaps")
            with on_measured_core():
                viewer = stack.enter_context(self.reference(log))
            return seconds_to_picture(viewer.process, log)

    def measure_starts(self, count):
        """Prints the times to the first picture of both, started in turn."""
        times = [(self.first_picture_of_updater(), self.first_picture_of_reference()) for _ in range(count)]
        (mine, shown), (other, others) = [
            (statistics.median(column), f"{statistics.median(column):.2f} s ({min(column):.2f} to {max(column):.2f})")
            for column in zip(*times)]
        print(f"\nto the first picture: updater {shown}, empty window {others}, ratio {mine / other:.2f}")


@contextlib.contextmanager
def on_measured_core():
    """Processes started in here run on the measured core."""
    os.sched_setaffinity(0, MEASURED_CORE)
    yield
    os.sched_setaffinity(0, OWN_CORE)


def moments_of(log):
    """The moments of the pictures in a log."""
    return [int(line) / 1e9 for line in log.read_text().split()] if log.exists() else []


def process_times(process):
    """The processor seconds of a process, and when it was started on the monotonic clock."""
    fields = Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
    boot = time.clock_gettime(time.CLOCK_BOOTTIME) - time.monotonic()
    return (int(fields[11]) + int(fields[12])) / TICKS, int(fields[19]) / TICKS - boot


def seconds_to_picture(process, log):
    while not moments_of(log):
        time.sleep(0.005)
    return moments_of(log)[0] - process_times(process)[1]


def measure_phase(run, viewer, end):
    """Intervals of the pictures in milliseconds, the seconds, and the processor seconds of both programs."""
    processes = run.process, viewer.process
    before = [process_times(process)[0] for process in processes]
    started = time.monotonic()
    while end not in run.output() and time.monotonic() < started + PHASE_SECONDS:
        time.sleep(0.02)
    ended = time.monotonic()
    used = [process_times(process)[0] - old for process, old in zip(processes, before)]
    moments = [at for at in moments_of(run.instrument.root.inside(SWAP_LOG)) if started <= at <= ended]
    return [1000 * (new - old) for old, new in zip(moments, moments[1:])], ended - started, used


def print_phase(title, intervals, seconds, used):
    if len(intervals) < 10 or not used[1]:
        print(f"{title:28} too short to be measured ({seconds:.1f} s); give a larger --ballast")
        return
    ordered = sorted(intervals)
    late = ordered[int(0.95 * len(ordered))]
    print(f"{title:28} {seconds:6.1f} {statistics.median(ordered):8.1f} {late:8.1f} {ordered[-1]:8.1f}"
          f" {100 * used[0] / seconds:9.0f} % {100 * used[1] / seconds:6.0f} % {used[0] / used[1]:7.2f}",
          flush=True)


def measure(build, options):
    archive.sample(build, options.ballast)
    bench = Bench(build, options.ballast)
    print(f"{'':28} {'':6} {'frame intervals, ms':^26} {'processor':>18}")
    print(f"{'phase':28} {'s':>6} {'median':>8} {'95 %':>8} {'longest':>8} {'updater':>11} {'other':>8} {'ratio':>7}")
    for background, other in (("", "an empty window"), ("background", "one with the background")):
        print(f"beside {other}:")
        bench.measure_run("nothing else runs", IDLE_DELAYS, background)
        bench.measure_run("on the same core", {}, background)
    bench.measure_starts(options.starts)
    return 0


def main():
    parser = argparse.ArgumentParser(prog="bench/screen", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=SOURCES / "build" / "dev", help="the build folder (build/dev)")
    parser.add_argument("--starts", type=int, default=7, help="how many starts are measured (7)")
    parser.add_argument("--ballast", type=int, default=40, help="size of the archive in files of 8 MiB (40)")
    options = parser.parse_args()
    build = Build(options.build.absolute())
    try:
        require_screen()
        if os.cpu_count() < 2:
            raise NotPossible("the measuring itself needs a second core")
        build.check()
    except NotPossible as error:
        print(f"bench/screen: skipped, {error}")
        return NOT_POSSIBLE
    return run_isolated(lambda: measure(build, options))


if __name__ == "__main__":
    sys.exit(main())
