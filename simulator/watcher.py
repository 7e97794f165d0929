"""Watches a screen: every still picture of a run, and the moving bar with the time."""

import collections
import threading
import time
from dataclasses import dataclass, replace

from PIL import Image

from .view import View, bar_of, bar_place, bar_row, read

BAR_ROWS_KEPT = 10_000


@dataclass
class Shot:
    """A picture that differs from the one before, and when it came (time.monotonic())."""

    seconds: float
    picture: Image.Image
    view: View


class Watcher:
    """A context in which a thread watches a screen; `shots` grows meanwhile.

    Pictures that differ only inside the bar are one shot, unless the bar gets or loses its stripes; its
    picture follows a filling bar up to the middle. `bar` holds the bar's middle row (see bar_row) with
    the time at every change, `changed` when the screen has changed last.
    """

    def __init__(self, screen):
        self.screen = screen
        self.shots = []
        self.bar = collections.deque(maxlen=BAR_ROWS_KEPT)
        self.changed = time.monotonic()
        self._now = View()
        self._pixels = self._still = None
        self._news = threading.Condition()
        self._ready, self._stopping = threading.Event(), threading.Event()
        self._thread = threading.Thread(target=self._watch, daemon=True)

    def __enter__(self):
        self._thread.start()
        self._ready.wait()
        return self

    def __exit__(self, *_):
        self.stop()

    def stop(self):
        """Ends the watching, after a last look."""
        self._stopping.set()
        self._thread.join()

    def wait_for(self, wanted=None, timeout=15.0, **values):
        """Waits until the screen is as wanted, and returns the shot.

        Wanted is a function of the view, or values of its attributes. Raises TimeoutError.
        """
        def fits():
            return (all(getattr(self._now, name) == value for name, value in values.items())
                    and (wanted is None or wanted(self._now)))

        with self._news:
            if not self._news.wait_for(fits, timeout):
                raise TimeoutError(f"did not come within {timeout:g} s; seen: {'; '.join(self.descriptions())}")
            return self.shots[-1]

    def shots_after(self, count, timeout):
        """The shots after the first `count`, as soon as there are any; none after the time."""
        with self._news:
            self._news.wait_for(lambda: len(self.shots) > count, timeout)
            return self.shots[count:]

    def descriptions(self):
        """The shots in a row in words, repetitions left out."""
        names = [str(shot.view) for shot in self.shots]
        return [name for at, name in enumerate(names) if at == 0 or name != names[at - 1]]

    def _watch(self):
        for pixels in self.screen.frames(self._stopping):
            self._ready.set()
            self._look(pixels)

    def _look(self, pixels):
        if pixels == self._pixels:
            return
        self._pixels, self.changed = pixels, time.monotonic()
        picture = self.screen.picture_of(pixels)
        row = bar_row(picture)
        bar, fill = bar_of(row)
        if bar and (not self.bar or self.bar[-1][1] != row):
            self.bar.append((self.changed, row))
        still = bar, self._still_part(pixels, bar and bar_place(picture))
        with self._news:
            if still != self._still:
                self._still, self._now = still, read(picture)
                self.shots.append(Shot(self.changed, picture, self._now))
            else:
                self._now = replace(self._now, fill=fill)
                if fill <= 0.5:
                    self.shots[-1].picture, self.shots[-1].view = picture, self._now
            self._news.notify_all()

    def _still_part(self, pixels, bar):
        """The bytes of the picture, without the rows of a bar."""
        if not bar:
            return pixels
        top, bottom = (edge * len(pixels) // self.screen.height for edge in bar[1::2])
        return pixels[:top], pixels[bottom:]
