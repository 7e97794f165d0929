"""Pictures of a screen: reading single pixels and areas, and writing small PNG files."""

import struct
import zlib
from dataclasses import dataclass

BLUE, GREEN, RED = range(3)

PNG_SIGNATURE = b"\x89PNG\r\n\x1a\n"
TRUE_COLOUR = 2
NO_FILTER, SUB_FILTER, UP_FILTER = range(3)


@dataclass(frozen=True)
class Frame:
    """An immutable picture; four bytes a pixel: blue, green, red and one without meaning."""

    width: int
    height: int
    bgrx: bytes

    def pixel(self, x, y):
        """The colour at (x, y) as (red, green, blue)."""
        at = 4 * (y * self.width + x)
        return self.bgrx[at + RED], self.bgrx[at + GREEN], self.bgrx[at + BLUE]

    def crop(self, left, top, right, bottom):
        """The part from (left, top) up to, not including, (right, bottom)."""
        stride = 4 * self.width
        rows = [self.bgrx[y * stride + 4 * left:y * stride + 4 * right] for y in range(top, bottom)]
        return Frame(right - left, bottom - top, b"".join(rows))

    def pixels(self):
        """All colours as (red, green, blue), row by row."""
        return list(zip(self.plane(RED), self.plane(GREEN), self.plane(BLUE)))

    def plane(self, channel):
        """One colour channel (RED, GREEN or BLUE), a byte a pixel."""
        return self.bgrx[channel::4]

    def rgb(self):
        """Three bytes a pixel: red, green, blue."""
        colours = bytearray(3 * self.width * self.height)
        for place, channel in enumerate((RED, GREEN, BLUE)):
            colours[place::3] = self.plane(channel)
        return bytes(colours)

    def save_png(self, path):
        """Writes the picture to a file."""
        with open(path, "wb") as file:
            file.write(encode_png(self))


def encode_png(frame):
    """The picture as the bytes of a PNG file."""
    header = struct.pack(">IIBBBBB", frame.width, frame.height, 8, TRUE_COLOUR, 0, 0, 0)
    return (PNG_SIGNATURE + _chunk(b"IHDR", header)
            + _chunk(b"IDAT", _packed(frame.rgb(), 3 * frame.width)) + _chunk(b"IEND", b""))


def _chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def _packed(data, stride):
    rows = [data[at:at + stride] for at in range(0, len(data), stride)]
    left = b"".join(bytes(3) + row[:-3] for row in rows)
    above = bytes(stride) + data[:-stride]
    candidates = [_scanlines(data, stride, NO_FILTER),
                  _scanlines(_differences(data, left), stride, SUB_FILTER),
                  _scanlines(_differences(data, above), stride, UP_FILTER)]
    best = (min(choices, key=_packed_size) for choices in zip(*candidates))
    return zlib.compress(b"".join(best), 9)


def _packed_size(scanline):
    return len(zlib.compress(scanline, 1))


def _scanlines(data, stride, kind):
    return [bytes([kind]) + data[at:at + stride] for at in range(0, len(data), stride)]


def _differences(minuend, subtrahend):
    # All bytes at once as one long number; the top bits are kept apart so that nothing borrows.
    top = int.from_bytes(b"\x80" * len(minuend), "big")
    a, b = int.from_bytes(minuend, "big"), int.from_bytes(subtrahend, "big")
    difference = ((a | top) - (b & ~top)) ^ ((a ^ ~b) & top)
    return difference.to_bytes(len(minuend), "big")
