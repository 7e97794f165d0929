#!/usr/bin/env python3
"""Measures how smoothly the updater's screen moves, what that costs, and how soon it appears.

The updater, the commands that it runs, and the X server share one processor core; software OpenGL
draws. It is measured against a Qt Quick window with the same movement and nothing else, on a screen
of its own, which runs beside it on the same core: first black, then on the updater's background.
Needs root, two cores and a build with tests.
"""

import argparse
import contextlib
import os
import statistics
import sys
import time
from pathlib import Path

SOURCES = Path(__file__).resolve().parent.parent
PARSER = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
PARSER.add_argument("--build", type=Path, default=SOURCES / "build" / "dev")
PARSER.add_argument("--starts", type=int, default=7, help="how many starts are measured (7)")
PARSER.add_argument("--ballast", type=int, default=40, help="size of the archive in files of 8 MiB (40)")
OPTIONS = PARSER.parse_args()
BUILD = OPTIONS.build.absolute()
os.environ["VRK_BUILD"] = str(BUILD)
sys.path.insert(0, str(SOURCES / "tests" / "screen"))

import stage  # noqa: E402
from isolation import run_isolated  # noqa: E402
from stage import SILENT, Play, on_stage  # noqa: E402
from viewer import DOCUMENTS, Viewer  # noqa: E402

SWAP_LOG = "/run/swaps"
MEASURED_CORE, OWN_CORE = {0}, {1}
VSYNC = BUILD / "lib" / "libscreen-vsync.so"
TICKS = os.sysconf("SC_CLK_TCK")
PHASE_SECONDS = 3.5
IDLE_DELAYS = {"gzip": 5, "tar": 5}

# What the updater writes when a phase begins and when it is over, and what moves meanwhile.
PHASES = {
    "check": ("VRK_Status", "Unpacking prepare", {"isProgressBarIndeterminate": True}),
    "unpacking": ("Extracting files", '"sync"', {"isProgressBarIndeterminate": False,
                                                 "expectedDuration": 4000, "progress": 0.2}),
}


@contextlib.contextmanager
def on_measured_core():
    """Processes started in here run on the measured core."""
    os.sched_setaffinity(0, MEASURED_CORE)
    yield
    os.sched_setaffinity(0, OWN_CORE)


def reference(log):
    """The empty window, not yet on its screen; its pictures go to the log."""
    return Viewer(DOCUMENTS / "reference.qml",
                  environment={"LD_PRELOAD": str(VSYNC), "SCREEN_SWAP_LOG": str(log)})


def play(delays):
    return Play(SILENT, initialize_ms=0, ballast=OPTIONS.ballast, delays=delays,
                environment={"SCREEN_SWAP_LOG": SWAP_LOG})


def seconds_of(log, since=0.0, until=float("inf")):
    """The moments of the pictures in a log."""
    moments = [int(line) / 1e9 for line in Path(log).read_text().split()] if Path(log).exists() else []
    return [moment for moment in moments if since <= moment <= until]


def processor_seconds(process):
    fields = Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def wait_for_output(running, text):
    until = time.monotonic() + 120
    while text not in running.output():
        if time.monotonic() > until or running.process.poll() is not None:
            raise RuntimeError(f"the updater did not write {text!r}:\n{running.output()}")
        time.sleep(0.01)


def measure_phase(running, viewer, name, background):
    """Intervals of the pictures in milliseconds, and the processor seconds of both programs."""
    begin, end, movement = PHASES[name]
    wait_for_output(running, begin)
    viewer.show(message=background, **movement)
    before = [processor_seconds(process) for process in (running.process, viewer.process)]
    started = time.monotonic()
    while end not in running.output() and time.monotonic() < started + PHASE_SECONDS:
        time.sleep(0.02)
    ended = time.monotonic()
    used = [processor_seconds(process) - old for process, old in zip((running.process, viewer.process), before)]
    moments = seconds_of(running.root.inside(SWAP_LOG), started, ended)
    intervals = [1000 * (new - old) for old, new in zip(moments, moments[1:])]
    return intervals, ended - started, used


def measure_run(title, delays, background):
    """One update; prints a line for each of its phases."""
    with on_measured_core():
        context = contextlib.ExitStack()
        viewer = context.enter_context(reference(os.devnull))
        running = context.enter_context(on_stage(play(delays)))
    with context:
        for name in PHASES:
            intervals, seconds, used = measure_phase(running, viewer, name, background)
            print_phase(f"{name}, {title}", intervals, seconds, used)
        running.process.wait(120)


def print_phase(title, intervals, seconds, used):
    if len(intervals) < 10 or not used[1]:
        print(f"{title:28} too short to be measured ({seconds:.1f} s); give a larger --ballast")
        return
    ordered = sorted(intervals)
    late = ordered[int(0.95 * len(ordered))]
    print(f"{title:28} {seconds:6.1f} {statistics.median(ordered):8.1f} {late:8.1f} {ordered[-1]:8.1f}"
          f" {100 * used[0] / seconds:9.0f} % {100 * used[1] / seconds:6.0f} % {used[0] / used[1]:7.2f}",
          flush=True)


def first_picture(context, log):
    """Seconds from a program's start to its first picture; context() starts it on its screen."""
    with on_measured_core():
        program = context()
        entered = program.__enter__()
    try:
        while not seconds_of(log(entered)):
            time.sleep(0.005)
        return seconds_of(log(entered))[0] - start_of(entered.process)
    finally:
        program.__exit__(None, None, None)


def start_of(process):
    """When a process was started, on the monotonic clock (to a hundredth of a second)."""
    fields = Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
    boot = time.clock_gettime(time.CLOCK_BOOTTIME) - time.monotonic()
    return int(fields[19]) / TICKS - boot


def measure_starts():
    """Prints the times to the first picture of both, started in turn."""
    log = Path(stage.memory(), "swaps")
    updater, empty = [], []
    for _ in range(OPTIONS.starts):
        updater.append(first_picture(lambda: on_stage(play(IDLE_DELAYS)), lambda run: run.root.inside(SWAP_LOG)))
        log.unlink(missing_ok=True)
        empty.append(first_picture(lambda: reference(log), lambda _: log))
    mine, other = statistics.median(updater), statistics.median(empty)
    print(f"\nto the first picture: updater {mine:.2f} s ({min(updater):.2f} to {max(updater):.2f}), empty window "
          f"{other:.2f} s ({min(empty):.2f} to {max(empty):.2f}), ratio {mine / other:.2f}")


def measure():
    stage.archive(OPTIONS.ballast)
    print(f"{'':28} {'':6} {'frame intervals, ms':^26} {'processor':>18}")
    print(f"{'phase':28} {'s':>6} {'median':>8} {'95 %':>8} {'longest':>8} {'updater':>11} {'other':>8} {'ratio':>7}")
    for background, other in (("", "an empty window"), ("background", "one with the background")):
        print(f"beside {other}:")
        measure_run("nothing else runs", IDLE_DELAYS, background)
        measure_run("on the same core", {}, background)
    measure_starts()
    return 0


def main():
    lacking = stage.missing() or (None if os.cpu_count() > 1 else "the measuring itself needs a second core")
    if lacking:
        print(f"bench-screen: skipped, {lacking}")
        return stage.SKIPPED
    return run_isolated(measure)


if __name__ == "__main__":
    sys.exit(main())
