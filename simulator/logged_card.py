"""A file that stands for a card's image and logs each write and flush that it passes on."""

import os
import subprocess
import time
from pathlib import Path

from . import SOURCES
from .namespaces import WITH_PARENT

PLUGIN = Path(__file__).with_name("nbdkit_plugin.py")
READY_SECONDS, POLL_SECONDS = 20, 0.02


class LoggedCard:
    """A context in which `file` stands for the image and the log grows; at its end no loop device may be left on it."""

    def __init__(self, image, log):
        self.file = image.with_name(f"{image.name}.logged")
        self._image, self._log = image, log
        self._process = None

    def __enter__(self):
        self.file.touch()
        # Not by QEMU's export as a file, which mixes up the data of writes that run side by side.
        self._process = subprocess.Popen(
            [*WITH_PARENT, "nbdfuse", self.file, "--command", "nbdkit", "--single", "python", PLUGIN,
             f"image={self._image}", f"log={self._log}"], env={**os.environ, "PYTHONPATH": str(SOURCES)})
        until = time.monotonic() + READY_SECONDS
        while self.file.stat().st_size == 0:
            if self._process.poll() is not None or time.monotonic() > until:
                self._process.kill()
                raise OSError("the card's writes cannot be logged: nbdfuse does not start")
            time.sleep(POLL_SECONDS)
        return self

    def __exit__(self, *_):
        subprocess.run(["umount", self.file], check=True)
        self._process.wait()
        self.file.unlink()
