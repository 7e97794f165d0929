"""The operator of the simulated instrument: watches the screen, answers, presses Reboot."""

import os
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass

from recogniser import ENDINGS, Recogniser, read
from screen import ScreenError
from touch import TouchError

POLL_SECONDS = 0.05
SETTLE_SECONDS = 0.01
REACTION_SECONDS = 0.3
EARLY_FILL = 0.1


@dataclass
class Passed:
    """A screen that came, the seconds from the start until then, and its picture's path."""

    name: str
    seconds: float
    picture: str | None = None


class Robot:
    """Operates one run of the updater on a VirtualScreen, in a thread of its own.

    Start it right before the updater; as a context manager it starts and stops by itself.
    `pictures` is a folder for a picture of each screen, `answer` is "yes", "no" or "wait", `reboot`
    tells whether to press the button at the end. `hooks` maps a screen's name to a function that
    the robot's thread calls, without arguments, when that screen has come and before it is acted
    on. `patience` is how many seconds nothing may change before that becomes a remark. `passed` and
    `remarks` (plain words on what went wrong) grow while it runs.
    """

    def __init__(self, screen, pictures=None, answer="yes", reboot=True, hooks=None, patience=60.0):
        self.passed, self.remarks = [], []
        self._screen, self._pictures = screen, pictures
        self._answer, self._reboot = answer, reboot
        self._hooks, self._patience = hooks or {}, patience
        self._recogniser = Recogniser()
        self._name, self._fill, self._frame = None, 0.0, None
        self._focused = False
        self._saved = []
        self._writer = ThreadPoolExecutor(1)
        self._news = threading.Condition()
        self._stopping = threading.Event()
        self._thread = threading.Thread(target=self._watch, daemon=True)

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *_):
        self.stop()

    def start(self):
        """Begins to watch; the times count from here."""
        self._started = self._changed = time.monotonic()
        self._thread.start()

    def stop(self):
        """Ends the watching; when it returns all pictures are written."""
        self._stopping.set()
        self._thread.join()
        if self._name == "installing":
            self._save("installing-end", self._frame)
        self._writer.shutdown()
        for writing in self._saved:
            if writing.exception():
                self.remarks.append(f"a picture could not be written: {writing.exception()}")

    def expect(self, name, timeout):
        """Waits until a screen has come and returns it; raises TimeoutError in plain words."""
        def found():
            return next((screen for screen in self.passed if screen.name == name), None)

        with self._news:
            if not self._news.wait_for(found, timeout):
                raise TimeoutError(f"'{name}' did not come within {timeout:g} s; {self._state()}")
            return found()

    def _watch(self):
        try:
            while not self._stopping.wait(POLL_SECONDS):
                self._focused = self._focused or self._screen.give_focus()
                self._look()
        except Exception as error:  # Whatever it was, the run goes on and its report tells.
            self.remarks.append(f"the robot stopped: {error}; {self._state()}")

    def _look(self):
        frame = self._screen.frame()
        view = read(frame)
        name = self._recogniser.name(view)
        if name not in ("blank", self._name) and self._settled(name):
            self._arrive(name, view, frame)
        elif name == self._name or self._name is None:
            self._stay(view, frame)

    def _settled(self, name):
        time.sleep(SETTLE_SECONDS)
        return self._recogniser.name(read(self._screen.frame())) == name

    def _arrive(self, name, view, frame):
        if self._name == "installing":
            self._save("installing-end", self._frame)
        screen = Passed(name, time.monotonic() - self._started)
        if name != "installing":
            screen.picture = self._save(name, frame)
        self._recogniser.note(name, view)
        self._name, self._fill, self._frame = name, view.fill, frame
        self._changed = time.monotonic()
        with self._news:
            self.passed.append(screen)
            self._news.notify_all()
        self._hooks.get(name, lambda: None)()
        self._act(name)

    def _stay(self, view, frame):
        if self._name == "installing" and view.fill >= EARLY_FILL and not self.passed[-1].picture:
            self.passed[-1].picture = self._save("installing", frame)
        if view.fill != self._fill:
            self._changed = time.monotonic()
        self._fill, self._frame = view.fill, frame
        if time.monotonic() - self._changed > self._patience and not self._may_rest():
            self._save("stuck", frame)
            self.remarks.append(f"nothing changed for {self._patience:g} s; {self._state()}")
            self._changed = float("inf")

    def _act(self, name):
        part = {"yes": 0.25, "no": 0.75}.get(self._answer) if name == "confirm" else None
        if name in ENDINGS and self._reboot:
            part = 0.5
        if part is None or self._stopping.wait(REACTION_SECONDS) or not self._settled(name):
            return
        try:
            self._screen.touch(round(part * self._screen.width), round(0.95 * self._screen.height))
        except (ScreenError, TouchError) as error:
            self.remarks.append(f"the button on '{name}' could not be pressed: {error}")

    def _may_rest(self):
        return (self._name == "confirm" and self._answer == "wait"
                or self._name in ENDINGS and not self._reboot)

    def _state(self):
        names = ", ".join(screen.name for screen in self.passed)
        return f"screens so far: {names}" if names else "no screen of the updater came"

    def _save(self, name, frame):
        if self._pictures is None:
            return None
        path = os.path.join(self._pictures, f"{len(self._saved) + 1:02}-{name}.png")
        self._saved.append(self._writer.submit(frame.save_png, path))
        return path
