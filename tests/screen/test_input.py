"""What the operator does from outside, by touch, mouse and keys, and what comes of it: a row for each."""

import time

import pytest
from simulator.instrument import Settings
from simulator.run import ARCHIVE, run_updater

YES, NO, NOWHERE, CORNER = (200, 456), (600, 456), (400, 60), (20, 470)
LONG = 1.2  # seconds; a click ends at 0.8
QUIET_SECONDS = 0.7
NO_ARCHIVE = ()

# Where a row starts: what the updater is given, and the view to wait for.
STARTS = {
    "start": (("-u", ARCHIVE), Settings(delays={"tar": 2}), None),
    "welcome": (("-u", ARCHIVE), Settings(initialize_ms=1500), {"bar": "busy"}),
    "welcome to an error": (NO_ARCHIVE, Settings(initialize_ms=1500), {"bar": "busy"}),
    "question": (("-u", ARCHIVE), Settings(delays={"gzip": 1, "tar": 2}), {"focus": "yes"}),
    "error": (NO_ARCHIVE, Settings(), {"focus": "button"}),
    "installing": (("-u", ARCHIVE, "--silent"), Settings(delays={"tar": 4}), {"bar": "value"}),
}


def nothing(run):
    """The picture stays, and so does the program."""
    before = len(run.watcher.shots)
    time.sleep(QUIET_SECONDS)
    assert len(run.watcher.shots) == before, run.watcher.descriptions()
    assert run.process.poll() is None


def leaves(run):
    """The program ends with 0, under its last words over the busy bar."""
    assert run.wait() == 0
    run.watcher.stop()
    assert run.watcher.shots[-1].view.bar == "busy", run.watcher.descriptions()


def stays_open(run):
    """The question or the error comes, and nobody has answered it."""
    run.watcher.wait_for(lambda view: view.focus)
    nothing(run)
    assert run.watcher.shots[-1].view.focus


def updates_once(run):
    """The installer starts, once, after the library has told all that it is asked."""
    run.watcher.wait_for(bar="value")
    nothing(run)
    output, commands = run.output(), [line.split()[0] for line, _ in run.instrument.commands()]
    assert commands.count("gzip") == commands.count("tar") == 1
    assert "already running" not in output, output
    assert output.index("VRK_Status") < output.index("Unpacking prepare setup script"), output


def click_early(seconds):
    """A click on yes so long after the controller has said that it is there."""
    def click(run):
        run.wait_for_output("init with mode")
        run.screen.wait_for_window()
        time.sleep(seconds)
        run.screen.click(*YES, hold=0.15)
    return click


def answer_again(run):
    """Return on yes, and once more when the pair has gone."""
    run.screen.key("Return")
    run.watcher.wait_for(bar="busy", pair=False)
    run.screen.key("Return")


def keys(*names):
    return lambda run: run.screen.key(*names)


@pytest.mark.parametrize("start, action, reaction", [pytest.param(*row, id=f"{row[0]}, {name}") for name, row in {
    "touch on no": ("question", lambda run: run.screen.touch(*NO), leaves),
    "click on no": ("question", lambda run: run.screen.click(*NO), leaves),
    "Right, Return": ("question", keys("Right", "Return"), leaves),
    "click on yes": ("question", lambda run: run.screen.click(*YES), updates_once),
    "Right, Left, Return": ("question", keys("Right", "Left", "Return"), updates_once),
    "Return, and again": ("question", answer_again, updates_once),
    "yes and no": ("question", lambda run: (run.screen.touch(*YES), run.screen.touch(*NO)), updates_once),
    "idle keys": ("question", keys("h", "l", "H", "L", "Left", "Up", "Down", "KP_Enter", "space", "a"), nothing),
    "long touch": ("question", lambda run: run.screen.touch(*YES, hold=LONG), nothing),
    "touch elsewhere": ("question", lambda run: run.screen.touch(*NOWHERE), nothing),
    "finger that leaves": ("question", lambda run: run.screen.slide(YES, NOWHERE), nothing),
    "touch in the corner": ("error", lambda run: run.screen.touch(*CORNER), leaves),
    "click": ("error", lambda run: run.screen.click(*CORNER), leaves),
    "Return": ("error", keys("Return"), leaves),
    "keys": ("error", keys("h", "l", "Up", "Down", "Left", "Right", "KP_Enter"), nothing),
    "long touch there": ("error", lambda run: run.screen.touch(*CORNER, hold=LONG), nothing),
    "early Return": ("welcome", keys("Return"), stays_open),
    "held Return": ("welcome", lambda run: run.screen.key_down("Return"), stays_open),
    "Return held, then pressed": ("welcome", lambda run: (run.screen.key_down("Return"), time.sleep(0.8),
                                                          run.screen.key_up("Return"), run.screen.key("Return")),
                                  stays_open),
    "touch, Return held": ("welcome to an error", lambda run: (time.sleep(0.4), run.screen.touch(*CORNER),
                                                               run.screen.key_down("Return")), stays_open),
    **{f"click after {ms} ms": ("start", click_early(ms / 1000), updates_once) for ms in (0, 30, 60, 100)},
    "any key": ("installing", keys("Return", "h", "l", "Right", "Tab"), nothing),
    "any touch": ("installing", lambda run: run.screen.touch(*YES), nothing),
}.items()])
def test_input(parts, start, action, reaction):
    arguments, settings, wanted = STARTS[start]
    # Qt's own dispatcher hands newer input over before what is posted: the harder case.
    with run_updater(arguments, settings, build=parts, environment={"QT_NO_GLIB": "1"}) as run:
        if wanted:
            run.watcher.wait_for(**wanted)
        action(run)
        reaction(run)
