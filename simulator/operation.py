"""One run of the updater: its screen, the operator before it, and how it ended."""

import contextlib
import os
import threading
import time
from dataclasses import dataclass, field, replace
from pathlib import Path

import standins
from operator_robot import Robot
from recogniser import SCREENS
from screen import VirtualScreen

POLL_SECONDS = 0.02
AUTHORITY = "/opt/simulator/Xauthority"


@dataclass
class Outcome:
    """How a run ended, and the screens that were seen on the way."""

    status: int
    seconds: float
    screens: list = field(default_factory=list)
    remarks: list = field(default_factory=list)


def operate(instrument, arguments, options, folder):
    """Runs the updater in the instrument until it ends by itself; returns the Outcome."""
    signaller = Signaller(options.signal, folder / "log" / standins.COMMAND_LOG)
    if os.environ.get("DISPLAY") and not options.virtual:
        if signaller.screen_hooks():
            raise OSError("screens are recognised on the virtual screen only: add --virtual")
        return _run(instrument, arguments, signaller, folder, _this_display(instrument))
    with VirtualScreen(*options.size) as screen:
        pictures = folder / "pictures"
        pictures.mkdir()
        robot = Robot(screen, pictures, options.answer, hooks=signaller.screen_hooks())
        outcome = _run(instrument, arguments + screen.arguments(), signaller, folder, screen.env(), robot)
    screens = [vars(passed) for passed in robot.passed]
    return replace(outcome, screens=screens, remarks=robot.remarks)


def _this_display(instrument):
    """The environment for a window on the display that this program was started on."""
    instrument.root.share_displays()
    environment = {"DISPLAY": os.environ["DISPLAY"], "QT_QPA_PLATFORM": "xcb", "LIBGL_ALWAYS_SOFTWARE": "1"}
    authority = Path(os.environ.get("XAUTHORITY", Path.home() / ".Xauthority"))
    if authority.is_file():
        instrument.root.bind(authority, AUTHORITY, "ro")
        environment["XAUTHORITY"] = AUTHORITY
    return environment


def _run(instrument, arguments, signaller, folder, environment, robot=None):
    with open(folder / "log" / "updater.log", "wb") as log, robot or contextlib.nullcontext():
        started = time.monotonic()
        process = instrument.start_updater(arguments, environment, log)
        with signaller.attached_to(process), _killed_when_interrupted(process):
            status = process.wait()
    return Outcome(exit_status(status), time.monotonic() - started)


@contextlib.contextmanager
def _killed_when_interrupted(process):
    try:
        yield
    except BaseException:
        process.kill()
        raise


def exit_status(returned):
    """What a shell would see: 128 + the signal for a process that died from one."""
    return 128 - returned if returned < 0 else returned


class Signaller:
    """Sends the updater one signal at a wished moment: when a screen comes, or a command starts."""

    def __init__(self, wish, log):
        self._number, self._moment = wish or (None, None)
        self._log = log
        self._process = None

    def screen_hooks(self):
        """What the robot is to call at which screen."""
        return {self._moment: self._send} if self._moment in SCREENS else {}

    @contextlib.contextmanager
    def attached_to(self, process):
        """Keeps watch over a process, and over the log of its commands where that is asked for."""
        self._process = process
        if self._moment is None or self._moment in SCREENS:
            yield
            return
        ended = threading.Event()
        watcher = threading.Thread(target=self._watch_commands, args=(ended,))
        watcher.start()
        try:
            yield
        finally:
            ended.set()
            watcher.join()

    def _watch_commands(self, ended):
        while not ended.wait(POLL_SECONDS):
            lines = self._log.read_text().splitlines() if self._log.exists() else []
            if any(line.startswith(self._moment) for line in lines):
                self._send()
                return

    def _send(self):
        self._process.send_signal(self._number)
