"""Pictures survive being written as PNG files, and parts of them are what they were."""

import random
import struct
import unittest
import zlib

from screen_painter import RED, Painter

from frame import Frame, encode_png

def decode_png(data):
    """The size and the bytes of a PNG file of three channels."""
    chunks, at = {}, 8
    while at < len(data):
        length, kind = struct.unpack_from(">I4s", data, at)
        body = data[at + 8:at + 8 + length]
        assert struct.unpack_from(">I", data, at + 8 + length)[0] == zlib.crc32(kind + body)
        chunks[kind] = body
        at += 12 + length
    width, height = struct.unpack_from(">II", chunks[b"IHDR"])
    return width, height, _unfiltered(zlib.decompress(chunks[b"IDAT"]), 3 * width)


def _unfiltered(data, stride):
    above, samples = bytes(stride), b""
    for start in range(0, len(data), stride + 1):
        kind, *row = data[start:start + stride + 1]
        for x in range(stride):
            left = row[x - 3] if x >= 3 else 0
            row[x] = (row[x] + (0, left, above[x])[kind]) % 256
        above = row
        samples += bytes(row)
    return samples


class Pictures(unittest.TestCase):

    def test_png_holds_the_picture(self):
        noise = random.Random(1).randbytes(4 * 40 * 30)
        pictures = {
            "areas": Painter(200, 120).pair("no").frame(),
            "noise": Frame(40, 30, noise),
            "rows alike": Frame(40, 30, noise[:160] * 30),
            "grey ramps": Frame(40, 30, b"".join(
                bytes([noise[y] // 2 + x]) * 4 for y in range(30) for x in range(40))),
        }
        for name, picture in pictures.items():
            with self.subTest(name):
                width, height, colours = decode_png(encode_png(picture))
                self.assertEqual((width, height), (picture.width, picture.height))
                self.assertEqual(colours, picture.rgb())

    def test_parts(self):
        picture = Painter(40, 20).box(10, 5, 12, 7, RED).frame()
        self.assertEqual(picture.pixel(11, 6), RED)
        self.assertNotEqual(picture.pixel(12, 6), RED)
        part = picture.crop(10, 5, 12, 7)
        self.assertEqual((part.width, part.height, part.pixels()), (2, 2, [RED] * 4))
        self.assertEqual(part.rgb(), bytes(RED) * 4)


if __name__ == "__main__":
    unittest.main()
