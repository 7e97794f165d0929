"""Paints the updater's screens for the tests of what looks at them."""

import random
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "simulator"))

from frame import Frame  # noqa: E402

BLACK, WHITE, CENTRE = (0, 0, 0), (255, 255, 255), (0x8A, 0x8A, 0x8A)
GREEN, RED, YELLOW = (0x00, 0x94, 0x44), (0xED, 0x20, 0x24), (255, 255, 0)
LIGHT = (0xD9, 0xD9, 0xD9)


class Painter:
    """A picture in the making; every method returns it."""

    def __init__(self, width=800, height=480, drawn=True):
        self.width, self.height, self._drawn = width, height, drawn
        self._pixels = bytearray(4 * width * height)
        self.box(0, 0, width, height, BLACK if drawn else WHITE)
        if drawn:
            self.box(0.4 * width, 0, 0.6 * width, 0.9 * height, CENTRE)

    def frame(self):
        return Frame(self.width, self.height, bytes(self._pixels))

    def box(self, left, top, right, bottom, colour):
        left, top, right, bottom = map(round, (left, top, right, bottom))
        row = bytes((*reversed(colour), 0)) * (right - left)
        for y in range(top, bottom):
            at = 4 * (y * self.width + left)
            self._pixels[at:at + len(row)] = row
        return self

    def upper(self, words):
        return self._text(words, 144)

    def message(self, words, bar=False):
        return self._text(words, self.height * (0.45 if bar else 0.5) - 20)

    def value(self, fill):
        left, length = 0.2 * self.width, 0.6 * self.width
        self._bar(left, left + length, LIGHT)
        return self._bar(left, left + fill * length, GREEN)

    def busy(self, shift=0):
        left, right = round(0.2 * self.width), round(0.8 * self.width)
        for stripe in range((right - left) // 20 + 2):
            start = left + 20 * stripe - shift
            self._bar(max(left, start), min(right, start + 20), GREEN if stripe % 2 else LIGHT)
        return self

    def pair(self, focus=None):
        self._icon(0.25 * self.width, GREEN)._icon(0.75 * self.width, RED)
        middle = self.width / 2
        if focus:
            self._focus_frame(*((0, middle - 3) if focus == "yes" else (middle + 3, self.width)))
        return self

    def button(self):
        self._icon(0.05 * self.height, WHITE)
        return self._focus_frame(0, self.width)

    def _bar(self, left, right, colour):
        return self.box(left, 0.475 * self.height, max(left, right), 0.525 * self.height, colour)

    def _icon(self, centre, colour):
        if self._drawn:
            self.box(centre - 14, 0.95 * self.height - 6, centre + 14, 0.95 * self.height + 6, colour)
        return self

    def _focus_frame(self, left, right):
        top, bottom = 0.9 * self.height, self.height
        for edge in ((left, top, right, top + 4), (left, bottom - 4, right, bottom),
                     (left, top, left + 4, bottom), (right - 4, top, right, bottom)):
            self.box(*edge, YELLOW)
        return self

    def _text(self, words, top):
        scatter = random.Random(words)
        for x in range(self.width // 4, 3 * self.width // 4, 4):
            self.box(x, top, x + 2, top + scatter.randint(2, 14), WHITE)
        return self
