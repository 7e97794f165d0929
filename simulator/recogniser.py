"""Tells from a picture which of its screens the updater shows."""

import hashlib
from collections import Counter
from dataclasses import dataclass

from frame import GREEN

TRACK = (0xD9, 0xD9, 0xD9)
FILL = (0x00, 0x94, 0x44)
FOCUS = (0xFF, 0xFF, 0x00)
TOLERANCE = 8

BAR_MARGIN = 0.2
BAR_HEIGHT = 0.05
BUTTON_HEIGHT = 0.1
UPPER_TEXT_TOP = 140
TEXT_HEIGHT = 28
BRIGHT = bytes(value >= 190 for value in range(256))

SCREENS = ("loaded", "welcome", "confirm", "checking", "installing", "final", "error", "end",
           "leaving")
ENDINGS = ("final", "error", "end")


@dataclass(frozen=True)
class View:
    """What stands on one picture; a text is a digest of its pixels, None where none can be read."""

    bar: str | None = None
    fill: float = 0.0
    pair: bool = False
    button: bool = False
    focus: str | None = None
    upper: str | None = None
    message: str | None = None


def read(frame):
    """The View of a Frame.

    `bar` is "busy", "value" (with `fill` from 0 to 1) or None, `focus` is "yes", "no", "button" or
    None. Where the icons are not drawn (the software backend) the focus frame stands for them.
    """
    bar, fill = _bar(frame)
    focus = _focus(frame)
    middle = round(frame.height / 2 - (BAR_HEIGHT * frame.height if bar else 0))
    return View(bar, fill,
                pair=_has_yes_and_no(frame) or focus in ("yes", "no"),
                button=_has_arrow(frame) or focus == "button",
                focus=focus,
                upper=_text(frame, UPPER_TEXT_TOP),
                message=_text(frame, middle - TEXT_HEIGHT))


class Recogniser:
    """Names the screens of one run: some differ only by what has come before them."""

    def __init__(self):
        self._asked = self._ended = False
        self._upper = self._welcome = None

    def name(self, view):
        """One of SCREENS, or "blank" where nothing of the updater is to be seen.

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
        """Takes a screen as passed."""
        self._asked |= name == "confirm"
        self._ended |= name in ENDINGS
        if name == "welcome":
            self._welcome = view.message
        if name not in ENDINGS:
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


def _bar(frame):
    margin, middle = round(BAR_MARGIN * frame.width), frame.height // 2
    row = frame.crop(margin, middle, frame.width - margin, middle + 1).pixels()
    letters = {colour: _bar_part(colour) for colour in set(row)}
    parts = "".join(letters[colour] for colour in row)
    if len(parts) < 0.9 * len(row):
        return None, 0.0
    if "tf" in parts:
        return "busy", 0.0
    return "value", parts.count("f") / len(parts)


def _bar_part(colour):
    return "f" if _alike(colour, FILL) else "t" if _alike(colour, TRACK) else ""


def _focus(frame):
    columns = [round(frame.width * part) for part in (0.25, 0.5, 0.75)]
    marks = tuple(_alike(frame.pixel(x, frame.height - 2), FOCUS) for x in columns)
    names = {(True, False, False): "yes", (False, False, True): "no", (True, True, True): "button"}
    return names.get(marks)


def _has_yes_and_no(frame):
    yes = _bottom_square(frame, frame.width // 4)
    no = _bottom_square(frame, frame.width * 3 // 4)
    return (_share(yes, lambda r, g, b: g > r + 60 and g > b + 60) > 0.05
            and _share(no, lambda r, g, b: r > g + 60 and r > b + 60) > 0.05)


def _has_arrow(frame):
    square = _bottom_square(frame, round(BUTTON_HEIGHT * frame.height / 2))
    return 0.05 < _share(square, lambda *colour: min(colour) > 200) < 0.7


def _bottom_square(frame, centre):
    height = round(BUTTON_HEIGHT * frame.height)
    left, top = centre - height // 2, frame.height - height
    return frame.crop(left, top, left + height, frame.height)


def _share(frame, fits):
    colours = Counter(frame.pixels())
    return sum(count for colour, count in colours.items() if fits(*colour)) / colours.total()


def _text(frame, top):
    mask = frame.crop(0, top, frame.width, top + TEXT_HEIGHT).plane(GREEN).translate(BRIGHT)
    if not 0 < mask.count(1) < len(mask) // 2:
        return None
    return hashlib.blake2b(mask, digest_size=8).hexdigest()


def _alike(colour, wanted):
    return all(abs(one - other) <= TOLERANCE for one, other in zip(colour, wanted))
