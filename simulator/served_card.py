"""Files that stand for a card's image, and see to what becomes of reads and writes."""

import os
import subprocess
import time
from pathlib import Path

from . import SOURCES
from .namespaces import WITH_PARENT

PLUGIN = Path(__file__).with_name("nbdkit_plugin.py")
READY_SECONDS, POLL_SECONDS = 20, 0.02


class ServedCard:
    """A context in which `file` stands for the image; at its end no loop device may be left on it."""

    def __init__(self, image, plugin, messages=None):
        self.file = image.with_name(f"{image.name}.served")
        self._plugin, self._messages = plugin, messages
        self._process = None

    def __enter__(self):
        self.file.touch()
        # Not by QEMU's export as a file, which mixes up the data of writes that run side by side.
        self._process = subprocess.Popen(
            [*WITH_PARENT, "nbdfuse", self.file, "--command", "nbdkit", "--single", *self._plugin],
            env={**os.environ, "PYTHONPATH": str(SOURCES)}, stderr=self._messages)
        until = time.monotonic() + READY_SECONDS
        while self.file.stat().st_size == 0:
            if self._process.poll() is not None or time.monotonic() > until:
                self._process.kill()
                raise OSError("the card cannot be served: nbdfuse does not start")
            time.sleep(POLL_SECONDS)
        return self

    def __exit__(self, *_):
        subprocess.run(["umount", self.file], check=True)
        self._process.wait()
        self.file.unlink()


def logged_card(image, log):
    """A card that logs each write and flush that it passes on."""
    return ServedCard(image, ["python", PLUGIN, f"image={image}", f"log={log}"])


def breaking_card(image, trigger):
    """A card that reads and writes nothing any more as soon as the file `trigger` is there."""
    failing = ["--filter=error", "file", image, "error=EIO", "error-rate=100%", f"error-file={trigger}"]
    return ServedCard(image, failing, messages=subprocess.DEVNULL)  # which would tell each error
