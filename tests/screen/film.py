"""Films a VirtualScreen: every still picture of a run, and the moving bar with the time."""

import itertools
import threading
import time
from dataclasses import dataclass

from frame import GREEN, Frame
from recogniser import FILL, TRACK, View, read
from xdisplay import XDisplay

POLL_SECONDS = 0.002
BAR_PLACE = (0.47, 0.53)
ROUNDING = 12


@dataclass(frozen=True)
class Shot:
    """A picture that differs from the one before, and when it was first seen."""

    seconds: float
    frame: Frame
    view: View


class Film:
    """A context in which a thread films the screen; `shots` grows meanwhile.

    Pictures that differ only inside the bar are one shot, unless it gets or loses its stripes. The
    times are those of time.monotonic().
    """

    def __init__(self, screen):
        self.shots = []
        self._screen = screen
        self._last = None
        self._news = threading.Condition()
        self._stopping = threading.Event()
        self._thread = threading.Thread(target=self._record, daemon=True)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._stopping.set()
        self._thread.join()

    def wait_for(self, wanted, timeout=15.0):
        """Waits until the present shot's view satisfies wanted(view) and returns the shot."""
        def found():
            return self.shots and wanted(self.shots[-1].view)

        with self._news:
            if not self._news.wait_for(found, timeout):
                raise TimeoutError(f"did not come within {timeout:g} s; seen: {self.states()}")
            return self.shots[-1]

    def states(self):
        """The shots in a row as names of what stood on the screen, repetitions left out."""
        names = [state(shot.view) for shot in self.shots]
        return [name for at, name in enumerate(names) if at == 0 or name != names[at - 1]]

    def _record(self):
        with XDisplay(self._screen) as display:
            while not self._stopping.wait(POLL_SECONDS):
                self._look(display.frame())

    def _look(self, frame):
        still = _without_bar(frame)
        if still == self._last:
            return
        self._last = still
        with self._news:
            self.shots.append(Shot(time.monotonic(), frame, read(frame)))
            self._news.notify_all()


def state(view):
    """A view in a few words, such as "upper, message, busy, pair"."""
    parts = [("upper", view.upper), ("message", view.message), (view.bar, view.bar),
             ("pair", view.pair), ("button", view.button), (f"focus {view.focus}", view.focus)]
    return ", ".join(name for name, there in parts if there) or "empty"


def same_texts(one, other):
    """Whether two pictures agree above the bottom row, the bar left aside, save for rounding."""
    parts = _rows_beside_bar(one)
    return parts == _rows_beside_bar(other) and all(
        abs(a - b) <= ROUNDING
        for top, end in parts
        for a, b in zip(*(frame.crop(0, top, frame.width, end).plane(GREEN) for frame in (one, other))))


def bar_row(frame):
    """The row of pixels through the middle of the bar's place."""
    left, middle = round(0.2 * frame.width), frame.height // 2
    return frame.crop(left, middle, frame.width - left, middle + 1).pixels()


def _rows_beside_bar(frame):
    top, bottom, end = (round(part * frame.height) for part in (*BAR_PLACE, 0.9))
    there = set(bar_row(frame)) <= {TRACK, FILL}
    return [(0, top), (bottom, end)] if there else [(0, end)]


def runs(colours):
    """Colours in a row as (colour, how often it follows itself)."""
    return [(colour, len(list(group))) for colour, group in itertools.groupby(colours)]


def _without_bar(frame):
    """The picture's bytes, with no more of the bar than whether it has stripes."""
    parts = [*_rows_beside_bar(frame), (round(0.9 * frame.height), frame.height)]
    stills = [frame.crop(0, top, frame.width, end).bgrx for top, end in parts]
    return stills, len(parts) == 3 and len(runs(bar_row(frame))) > 2


def film_bar(screen, seconds):
    """The bar's middle row for some seconds: (time, its pixels) at every change."""
    shots, until, middle = [], time.monotonic() + seconds, screen.height // 2
    left = round(0.2 * screen.width)
    with XDisplay(screen) as display:
        while time.monotonic() < until:
            line = display.frame(middle, middle + 1).crop(left, 0, screen.width - left, 1)
            if not shots or line.bgrx != shots[-1][1].bgrx:
                shots.append((time.monotonic(), line))
            time.sleep(POLL_SECONDS)
    return [(at, line.pixels()) for at, line in shots]
