"""The emulated instrument while it is switched off: all that lasts lies on its card."""

import re
import subprocess

from ..card import ROOT
from ..instrument import BOARD_FOLDER, BOARD_STATE, Instrument

UP = re.compile(r"^instrument: up with system (\S+) on (\S*)$")


class EmulatedInstrument(Instrument):
    """An instrument in a folder, whose card is made from Images; Machine switches it on."""

    FOLDERS = ()

    def __init__(self, folder, build, settings, images):
        self._images = images
        super().__init__(folder, build, settings)

    def _make(self):
        self._save_settings()
        copy_image(self._images.card, self.card.image)
        for path, text in self._configuration().items():
            self.card.write_file(ROOT, path, text.encode())

    def _board_state(self):
        return self.card.read_file(ROOT, f"{BOARD_FOLDER}/{BOARD_STATE}").decode()


def copy_image(source, copy):
    """Copies a disk's image, without its empty parts."""
    subprocess.run(["cp", "--sparse=always", "--reflink=auto", source, copy], check=True)
