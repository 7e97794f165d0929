"""The emulated instrument's screen: pictures of it, and touches, through QEMU's monitor."""

import contextlib
import tempfile
from pathlib import Path

from PIL import Image

from ..screen import SMALLEST, TouchedScreen

POLL_SECONDS = 0.1
TABLET_RANGE = 0x7FFF
NOTICE_HEIGHT = 16


class EmulatedScreen(TouchedScreen):
    """A context: the screen of a Machine that is switched on. What frames() yields goes to a `film`, too."""

    def __init__(self, machine, size=SMALLEST, film=None):
        self.size = self.width, self.height = size
        self.panel = TouchPanel(machine.monitor, size)
        self._monitor, self._film = machine.monitor, film
        self._header = b"P6\n%d %d\n255\n" % size
        self._last = bytes(3 * self.width * self.height)

    def __enter__(self):
        self._folder = tempfile.TemporaryDirectory(dir="/dev/shm")
        self._file = Path(self._folder.name, "screen.ppm")
        return self

    def __exit__(self, *_):
        self._folder.cleanup()

    def pixels(self):
        """The picture as it stands, as bytes for picture_of(); the last one when the machine has gone."""
        with contextlib.suppress(ConnectionError):
            self._monitor.execute("screendump", filename=str(self._file))
            content = self._file.read_bytes()
            pixels = content[len(self._header):]
            if content.startswith(self._header) and not self._is_notice(pixels):
                self._last = pixels
        return self._last

    def _is_notice(self, pixels):
        """Whether a picture is QEMU's own: one line of small text in the middle, while nothing is drawn."""
        line = 3 * self.width * NOTICE_HEIGHT
        start = (self.height // NOTICE_HEIGHT - 1) // 2 * line
        return any(pixels) and not any(pixels[:start]) and not any(pixels[start + line:])

    def frames(self, stopping):
        """Yields pixels() several times a second, until the event `stopping` is set; then once more."""
        while not stopping.wait(POLL_SECONDS):
            yield self._filmed()
        yield self._filmed()

    def _filmed(self):
        pixels = self.pixels()
        if self._film:
            self._film.add(self.picture_of(pixels))
        return pixels

    def picture_of(self, pixels):
        """The RGB picture of such bytes."""
        return Image.frombytes("RGB", self.size, pixels)

    def picture(self):
        """The RGB picture as it stands."""
        return self.picture_of(self.pixels())


class TouchPanel:
    """One finger, as a button held down on the tablet that the instrument makes a touch screen of."""

    def __init__(self, monitor, size):
        self._monitor, self._size = monitor, size

    def press(self, *points):
        """The pixel that a finger is on from now on; none lifts it."""
        events = [{"type": "btn", "data": {"button": "left", "down": bool(points)}}]
        for axis, at, length in zip("xy", *points, self._size) if points else ():
            events.append({"type": "abs", "data": {"axis": axis, "value": round((at + 0.5) / length * TABLET_RANGE)}})
        self._monitor.execute("input-send-event", events=events)
