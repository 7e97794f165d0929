"""The operator of the simulated instrument: tells the screens apart, answers, presses Reboot."""

import threading
import time
from dataclasses import dataclass

from .screen import ScreenError
from .screen_names import ENDINGS

POLL_SECONDS = 0.1


class Recogniser:
    """Names the screens of one run: some differ only by what has come before them."""

    def __init__(self):
        self._asked = self._ended = False
        self._upper = self._welcome = None

    def name(self, view):
        """One of screen_names.SCREENS, or "blank" where nothing of the updater is to be seen.

        "end" is a final or an error screen whose texts cannot be read.
        """
        if view.button:
            return self._ending(view)
        if view.bar:
            return "installing" if view.bar == "value" else self._busy(view)
        if view.pair:
            return "confirm" if view.focus or view.upper or view.message else "loaded"
        return "blank"

    def note(self, name, view):
        """Takes a picture of a screen as seen; the first of them may lack a text."""
        self._asked |= name == "confirm"
        self._ended |= name in ENDINGS
        if name == "welcome":
            self._welcome = view.message
        if name == "confirm" or (self._upper is None and name not in ENDINGS):
            self._upper = view.upper

    def _ending(self, view):
        if view.message is None:
            return "end"
        return "final" if view.upper not in (None, self._upper) else "error"

    def _busy(self, view):
        asked = self._asked or view.upper is not None
        if self._ended or (view.pair and asked):
            return "leaving"
        new_text = self._welcome not in (None, view.message)
        return "checking" if asked or (new_text and not view.pair) else "welcome"


@dataclass
class Passed:
    """A screen that came, the seconds from the start until then, and its picture's path."""

    name: str
    seconds: float
    picture: str | None = None


class Operator:
    """A context in which a thread operates one run of the updater before a Watcher's screen.

    `pictures` is a folder for a picture of each screen as it last stood, `answer` is "yes", "no" or,
    when somebody else operates, None. `hooks` maps a screen's name to a function that is called, without
    arguments, when that screen has come and before it is acted on; "stopped" is when the operator cannot
    go on. `reaction` is how many seconds each screen is looked at before it is acted on, and `patience`
    how many nothing may change before that becomes a remark. `passed` and
    `remarks` (plain words on what went wrong) grow meanwhile, and `answered` becomes the answer that was
    given. The watching ends with it.
    """

    def __init__(self, watcher, pictures=None, answer="yes", hooks=None, patience=60.0, reaction=0.3):
        self.passed, self.remarks, self.answered = [], [], None
        self._watcher, self._pictures = watcher, pictures
        self._answer, self._hooks, self._patience, self._reaction = answer, hooks or {}, patience, reaction
        self._recogniser = Recogniser()
        self._name = self._shot = None
        self._started = time.monotonic()
        self._stopping = threading.Event()
        self._thread = threading.Thread(target=self._operate, daemon=True)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._watcher.stop()
        self._stopping.set()
        self._thread.join()

    def _operate(self):
        try:
            seen = 0
            while not self._stopping.is_set() or seen < len(self._watcher.shots):
                for shot in self._watcher.shots_after(seen, POLL_SECONDS):
                    seen += 1
                    self._see(shot)
                self._look_for_standstill()
            self._save()
        except Exception as error:  # Whatever it was, the report tells.
            self.remarks.append(f"the operator stopped: {error}; {self._state()}")
            self._hooks.get("stopped", lambda: None)()

    def _see(self, shot):
        name = self._recogniser.name(shot.view)
        if name == "blank":
            return
        arrived = name != self._name
        if arrived:
            self._save()
            self.passed.append(Passed(name, shot.seconds - self._started))
        self._recogniser.note(name, shot.view)
        self._name, self._shot = name, shot
        if arrived:
            self._hooks.get(name, lambda: None)()
            self._act(name)

    def _act(self, name):
        control = self._answer if name == "confirm" else "button" if name in ENDINGS else None
        if None in (control, self._answer) or self._stopping.wait(self._reaction):
            return
        if self._recogniser.name(self._watcher.shots[-1].view) != name:
            return
        try:
            self._watcher.screen.press(control)
            self.answered = control if name == "confirm" else self.answered
        except ScreenError as error:
            self.remarks.append(f"the button on '{name}' could not be pressed: {error}")

    def _look_for_standstill(self):
        if time.monotonic() - self._watcher.changed > self._patience:
            self.remarks.append(f"nothing changed for {self._patience:g} s; {self._state()}")
            self._patience = float("inf")

    def _state(self):
        names = ", ".join(screen.name for screen in self.passed)
        return f"screens so far: {names}" if names else "no screen of the updater came"

    def _save(self):
        """Writes the picture of the present screen."""
        if self._pictures and self._shot:
            path = self._pictures / f"{len(self.passed):02}-{self._name}.png"
            self._shot.picture.save(path)
            self.passed[-1].picture = str(path)
