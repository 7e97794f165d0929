"""A moving picture of a run, small enough for a page."""

import time
from itertools import pairwise

from PIL import Image

from ..gallery import palette

SIZE = (600, 360)
FRAME_SECONDS = 0.2  # and no more frames than that are kept
SPEED = 2
LONGEST_SECONDS, LAST_SECONDS = 1.6, 4  # for which a picture, and the last one, stands still at most


class Film:
    """Collects pictures that differ; save() writes them as a GIF."""

    def __init__(self):
        self._frames = []

    def add(self, picture):
        """Takes the picture that is to be seen from now on."""
        now = time.monotonic()
        if now - self._frames[-1][0] < FRAME_SECONDS if self._frames else not picture.getbbox():
            return  # too soon, or black before the beginning
        small = picture.resize(SIZE, Image.Resampling.LANCZOS)
        if not self._frames or small.tobytes() != self._frames[-1][1].tobytes():
            self._frames.append((now, small))

    def save(self, path):
        """Writes the film, in which dull stretches are short."""
        times = [at for at, _ in self._frames]
        seconds = [min((end - at) / SPEED, LONGEST_SECONDS) for at, end in pairwise(times)] + [LAST_SECONDS]
        common = _palette([picture for _, picture in self._frames])
        pictures = [picture.quantize(palette=common, dither=Image.Dither.NONE) for _, picture in self._frames]
        pictures[0].save(path, save_all=True, append_images=pictures[1:], loop=0, optimize=False,
                         duration=[round(1000 * each) for each in seconds])


def _palette(pictures):
    """A palette for all the pictures, so that only what has changed must be kept of each."""
    sheet = Image.new("RGB", (SIZE[0], SIZE[1] * len(pictures)))
    for number, picture in enumerate(pictures):
        sheet.paste(picture, (0, number * SIZE[1]))
    return palette(sheet)
