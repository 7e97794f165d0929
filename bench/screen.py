"""Measures how smoothly the updater's screen moves and what that costs.

The updater, the commands that it runs, and the X server share one processor core; software OpenGL draws.
It is measured against a Qt Quick window with the same movement and nothing else, on a screen of its own,
which runs beside it on the same core: first black, then on the updater's background. Needs root, two
cores and a build.
"""

import contextlib
import os
import statistics
import sys
import time
from pathlib import Path

from bench.measuring import moments_of, processor_clock, run
from simulator import archive
from simulator.build import NotPossible
from simulator.commandline import tool_parser
from simulator.instrument import Settings
from simulator.run import SILENT, run_updater
from simulator.viewer import Viewer

SWAP_LOG = "/run/swaps"
MEASURED_CORE, OWN_CORE = {0}, {1}
PHASE_SECONDS = 3.5
PATIENCE_SECONDS = 120
IDLE_DELAYS = {"gzip": 5, "tar": 5}

# What the updater writes when a phase begins and when it is over, and what moves meanwhile.
PHASES = {
    "check": ("VRK_Status", "Unpacking prepare", {"isProgressBarIndeterminate": True}),
    "unpacking": ("Extracting files", '"sync"', {"isProgressBarIndeterminate": False,
                                                 "expectedDuration": 4000, "progress": 0.2}),
}


def updater(build, ballast_files, delays):
    """The updater in a silent run; the moments of its pictures go to SWAP_LOG in the instrument."""
    return run_updater(SILENT, Settings(initialize_ms=0, page_ms=2, delays=delays), build=build,
                       ballast_files=ballast_files, environment={"SCREEN_SWAP_LOG": SWAP_LOG}, watched=False)


def reference(build):
    """The other window."""
    return Viewer(build, Path(__file__).parent / "reference.qml", environment={"LD_PRELOAD": str(build.vsync)})


def measure_run(build, ballast_files, title, delays, background):
    """One update beside the other window; prints a line for each of its phases."""
    with contextlib.ExitStack() as stack:
        with on_measured_core():
            viewer = stack.enter_context(reference(build))
            running = stack.enter_context(updater(build, ballast_files, delays))
        for name, (begin, end, movement) in PHASES.items():
            running.wait_for_output(begin, PATIENCE_SECONDS)
            viewer.show(message=background, **movement)
            print_phase(f"{name}, {title}", *measure_phase(running, viewer, end))
        running.wait(PATIENCE_SECONDS)


@contextlib.contextmanager
def on_measured_core():
    """Processes started in here run on the measured core."""
    os.sched_setaffinity(0, MEASURED_CORE)
    yield
    os.sched_setaffinity(0, OWN_CORE)


def measure_phase(run, viewer, end):
    """Intervals of the pictures in milliseconds, the seconds, and the processor seconds of both programs."""
    processes = run.process, viewer.process
    before = [processor_clock(process) for process in processes]
    started = time.monotonic()
    while end not in run.output() and time.monotonic() < started + PHASE_SECONDS:
        time.sleep(0.02)
    ended = time.monotonic()
    used = [processor_clock(process) - old for process, old in zip(processes, before)]
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
    print(f"{'':28} {'':6} {'frame intervals, ms':^26} {'processor':>18}")
    print(f"{'phase':28} {'s':>6} {'median':>8} {'95 %':>8} {'longest':>8} {'updater':>11} {'other':>8} {'ratio':>7}")
    for background, other in (("", "an empty window"), ("background", "one with the background")):
        print(f"beside {other}:")
        measure_run(build, options.ballast, "nothing else runs", IDLE_DELAYS, background)
        measure_run(build, options.ballast, "on the same core", {}, background)


def require_two_cores():
    """Raises NotPossible without a core for the measuring itself."""
    if os.cpu_count() < 2:
        raise NotPossible("the measuring itself needs a second core")


def main():
    arguments = tool_parser("bench/screen", __doc__)
    arguments.add_argument("--ballast", type=int, default=40, help="size of the archive in files of 8 MiB (40)")
    return run(arguments.parse_args(), "bench/screen", measure, require_two_cores)


if __name__ == "__main__":
    sys.exit(main())
