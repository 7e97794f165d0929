"""One run of the updater on a virtual screen, in an instrument that is there for this run only."""

import contextlib
import os
import re
import tempfile
import time
from dataclasses import replace
from pathlib import Path

from . import archive
from .instrument import DRIVE, Instrument, Settings
from .screen import SMALLEST, Screen
from .watcher import Watcher

ARCHIVE = f"{DRIVE}/zepra_update_v{archive.OFFERED_VERSION}.tar.gz"
UNNAMED_ARCHIVE = f"{DRIVE}/update.tar.gz"
CORRUPT_ARCHIVE = f"{DRIVE}/corrupt/{os.path.basename(ARCHIVE)}"
MISSING_ARCHIVE = f"{DRIVE}/missing/{os.path.basename(ARCHIVE)}"
UPDATER_LOG = "updater.log"
SILENT = ("-u", ARCHIVE, "--silent")

QML_FAULT = re.compile(r"\.qml\b.*:\d+|QML |qrc:/|binding loop|TypeError|ReferenceError|\.qml: ", re.IGNORECASE)


def qml_faults(log):
    """Lines of a program's output in which the QML engine complains."""
    return [line for line in log.splitlines() if QML_FAULT.search(line)]


class Run:
    """The updater while it runs and afterwards; what it ran in, and its watcher."""

    def __init__(self, process, instrument, log, watcher=None):
        self.process, self.instrument, self.watcher = process, instrument, watcher
        self.screen = watcher.screen if watcher else None
        self._log = log

    def output(self):
        """What the updater and its commands have written so far."""
        return self._log.read_text(errors="replace")

    def wait_for_output(self, text, timeout=15):
        """Waits until the output contains a text; raises TimeoutError."""
        until = time.monotonic() + timeout
        while text not in self.output():
            if time.monotonic() > until:
                raise TimeoutError(f"the updater did not write {text!r}:\n{self.output()}")
            time.sleep(0.01)

    def wait(self, timeout=15):
        """Waits for the updater's end; its exit status as a shell sees it: 128 + a signal that ended it."""
        status = self.process.wait(timeout)
        return 128 - status if status < 0 else status


@contextlib.contextmanager
def updater(instrument, arguments, environment, watcher=None):
    """Starts the updater in an instrument that is switched on; yields a Run, and ends it if it still runs."""
    log = instrument.run_folder / UPDATER_LOG
    with open(log, "wb") as output:
        process = instrument.start_updater(arguments, environment, output)
    try:
        yield Run(process, instrument, log, watcher)
    finally:
        process.kill()
        process.wait()


def on_screen(instrument, screen, arguments, environment=None, watcher=None):
    """The same on a virtual screen."""
    return updater(instrument, [*arguments, *screen.arguments()],
                   {**screen.environment(), **instrument.refresh(), **(environment or {})}, watcher)


@contextlib.contextmanager
def _temporary_folder():
    """A folder that is removed in the end, if need be at the second try.

    Once in some hundred times a folder from which something has just been unmounted changes under the removal.
    """
    made = tempfile.TemporaryDirectory()
    try:
        yield Path(made.name)
    finally:
        try:
            made.cleanup()
        except OSError:
            time.sleep(1)
            made.cleanup()


@contextlib.contextmanager
def run_updater(arguments=("-u", ARCHIVE), settings=Settings(), *, build, size=SMALLEST, ballast_files=0,
                environment=None, watched=True):
    """Starts the updater in an instrument without a card, in a temporary folder; yields a Run.

    On the drive lie a sample archive under two names and a corrupt one. The caller's mounts must be
    private (namespaces.py). Raises RuntimeError at the end when the QML engine complained.
    """
    with contextlib.ExitStack() as stack:
        folder = stack.enter_context(_temporary_folder())
        screen = stack.enter_context(Screen(*size))
        watcher = stack.enter_context(Watcher(screen)) if watched else None
        instrument = stack.enter_context(Instrument(folder, build, replace(settings, card=False)))
        for path in (ARCHIVE, UNNAMED_ARCHIVE):
            instrument.plug_in(archive.sample(build, ballast_files), os.path.basename(path))
        instrument.root.write(CORRUPT_ARCHIVE, "no archive")
        run = stack.enter_context(on_screen(instrument, screen, arguments, environment, watcher))
        yield run
        faults = qml_faults(run.output())
    if faults:
        raise RuntimeError("the QML engine complained:\n" + "\n".join(faults))
