"""Tells from a picture what stands on the updater's screen."""

import hashlib
from dataclasses import dataclass
from itertools import pairwise

from PIL import ImageChops

TRACK = (0xD9, 0xD9, 0xD9)
FILL = (0x00, 0x94, 0x44)
FOCUS = (0xFF, 0xFF, 0x00)
TOLERANCE = 8
NOTICEABLE = 24

BAR = (0.2, 0.475, 0.8, 0.525)  # its left, top, right and bottom edge
HALF_BAR = 0.05
BUTTONS = 0.9
UPPER_TEXT_TOP = 140
TEXT_HEIGHT = 28
BRIGHT = 190
INK = 160
STRIPE, PERIOD = 20, 40  # pixels
GAP_SECONDS = 0.1  # in a longer one the stripes move too far to tell the direction


@dataclass(frozen=True)
class View:
    """What stands on one picture; a text is a digest of its pixels, None where none can be read.

    bar is "busy", "value" (with fill from 0 to 1) or None, focus is "yes", "no", "button" or None.
    """

    bar: str | None = None
    fill: float = 0.0
    pair: bool = False
    button: bool = False
    focus: str | None = None
    upper: str | None = None
    message: str | None = None

    def __str__(self):
        """In a few words, such as "upper, message, busy, pair"."""
        parts = [("upper", self.upper), ("message", self.message), (self.bar, self.bar),
                 ("pair", self.pair), ("button", self.button), (f"focus {self.focus}", self.focus)]
        return ", ".join(name for name, there in parts if there) or "empty"


def read(picture):
    """The View of a picture.

    Where the icons are not drawn (the software backend) the focus frame stands for them.
    """
    bar, fill = bar_of(bar_row(picture))
    focus = _focus(picture)
    middle = round(picture.height / 2 - (HALF_BAR * picture.height if bar else 0))
    return View(bar, fill,
                pair=_has_yes_and_no(picture) or focus in ("yes", "no"),
                button=_has_arrow(picture) or focus == "button",
                focus=focus,
                upper=_text(picture, UPPER_TEXT_TOP),
                message=_text(picture, middle - TEXT_HEIGHT))


def bar_place(picture):
    """The left, top, right and bottom edge of the bar, in pixels."""
    return tuple(round(part * length) for part, length in zip(BAR, picture.size * 2))


def bar_row(picture):
    """The row of pixels through the middle of the bar's place, one letter each (see letter)."""
    left, _, right, _ = bar_place(picture)
    middle = picture.height // 2
    pixels = list(picture.crop((left, middle, right, middle + 1)).getdata())
    letters = {colour: letter(colour) for colour in set(pixels)}
    return "".join(letters[colour] for colour in pixels)


def letter(colour):
    """"f" for the colour of the bar's fill and of every other stripe, "t" for its track's, "?" for any other."""
    return "f" if _alike(colour, FILL) else "t" if _alike(colour, TRACK) else "?"


def bar_of(row):
    """Which bar a row shows ("busy", "value" or None), and how full it is."""
    if row.count("?") > 0.1 * len(row):
        return None, 0.0
    return ("busy", 0.0) if "tf" in row else ("value", row.count("f") / len(row))


def differing(one, other, tolerance=NOTICEABLE):
    """How many pixels of two pictures differ by more than the tolerance in a channel."""
    channels = ImageChops.difference(one, other).split()
    largest = ImageChops.lighter(ImageChops.lighter(*channels[:2]), channels[2])
    return sum(largest.histogram()[tolerance + 1:])


def speed_of_stripes(rows):
    """How many pixels a second the busy bar's stripes move to the left; rows are (seconds, bar_row()).

    Only rows that follow each other closely tell; without a second of them a ValueError.
    """
    close = [(old, new) for old, new in pairwise(rows) if new[0] - old[0] < GAP_SECONDS]
    seconds = sum(new[0] - old[0] for old, new in close)
    if seconds < 1:
        raise ValueError(f"the bar was seen too seldom, at {[at for at, _ in rows]}")
    moved = (_phase(old[1]) - _phase(new[1]) for old, new in close)
    return sum((step + PERIOD / 2) % PERIOD - PERIOD / 2 for step in moved) / seconds


def margins_of(picture, top, bottom):
    """How many pixels beside the bright text between two rows are free, on its narrower side."""
    red, green, blue = picture.crop((0, top, picture.width, bottom)).split()
    darkest = ImageChops.darker(ImageChops.darker(red, green), blue)
    left, _, right, _ = darkest.point(lambda value: 255 * (value > INK)).getbbox()
    return min(left, picture.width - right)


def _phase(row):
    """Where in its period the pattern stands, in pixels from the left."""
    first = len(row) - len(row.lstrip(row[0]))
    return (first + (STRIPE if row[0] == "f" else 0)) % PERIOD


def _focus(picture):
    columns = [round(picture.width * part) for part in (0.25, 0.5, 0.75)]
    marks = tuple(_alike(picture.getpixel((x, picture.height - 2)), FOCUS) for x in columns)
    names = {(True, False, False): "yes", (False, False, True): "no", (True, True, True): "button"}
    return names.get(marks)


def _has_yes_and_no(picture):
    yes = _bottom_square(picture, picture.width // 4)
    no = _bottom_square(picture, picture.width * 3 // 4)
    return (_share(yes, lambda r, g, b: g > r + 60 and g > b + 60) > 0.05
            and _share(no, lambda r, g, b: r > g + 60 and r > b + 60) > 0.05)


def _has_arrow(picture):
    square = _bottom_square(picture, round((1 - BUTTONS) * picture.height / 2))
    return 0.05 < _share(square, lambda *colour: min(colour) > 200) < 0.7


def _bottom_square(picture, centre):
    top = round(BUTTONS * picture.height)
    left, height = centre - (picture.height - top) // 2, picture.height - top
    return picture.crop((left, top, left + height, picture.height))


def _share(picture, fits):
    pixels = list(picture.getdata())
    return sum(fits(*colour) for colour in pixels) / len(pixels)


def _text(picture, top):
    strip = picture.crop((0, top, picture.width, top + TEXT_HEIGHT)).getchannel("G")
    mask = strip.point(lambda value: 255 * (value >= BRIGHT))
    bright = mask.histogram()[255]
    if not 0 < bright < strip.width * strip.height // 2:
        return None
    return hashlib.blake2b(mask.tobytes(), digest_size=8).hexdigest()


def _alike(colour, wanted):
    return all(abs(one - other) <= TOLERANCE for one, other in zip(colour, wanted))
