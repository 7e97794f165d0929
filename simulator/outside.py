"""A simulated instrument and ./simulate as somebody uses them who tries whole updates."""

import json
import os
import subprocess
import tempfile
import time
from pathlib import Path

from . import SOURCES, archive
from .build import Build
from .instrument import Instrument, Settings, read_commands
from .namespaces import leftovers
from .run import UPDATER_LOG


class Simulation:
    """An instrument in a folder, and updates of it; the folder's contents may be a copy of another's."""

    def __init__(self, folder, build, partition_bytes=Settings.partition_bytes, arm=False):
        self.folder, self.temporary = folder / "instrument", folder / "instrument.tmp"
        self.log = self.folder / "latest"
        self.temporary.mkdir(parents=True, exist_ok=True)
        self.process = None
        self._command = [SOURCES / "simulate", "--build", build, "--virtual", *["--arm"] * arm, "--keep", self.folder]
        self.parts = Build.arm(build) if arm else Build(build)
        self.card = Instrument(self.folder, self.parts, Settings(partition_bytes=partition_bytes)).card

    def start(self, options, update):
        """Starts an update; returns the process, whose standard output is the report."""
        self.process = subprocess.Popen([*self._command, "--archive", update, *options], text=True,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                        env={**os.environ, "TMPDIR": str(self.temporary)})
        return self.process

    def run(self, options, update, patience=60):
        """Makes a whole update; returns its report, for programs and as it was printed.

        Raises OSError when there is none, TimeoutExpired after so many seconds.
        """
        process = self.start(options, update)
        try:
            output = process.communicate(timeout=patience)[0]
        finally:
            process.kill()
        report = self.log / "report.json"
        findings = json.loads(report.read_text()) if report.exists() else {"exit_status": None}
        if process.returncode != findings["exit_status"]:
            raise OSError(f"the simulation ended with status {process.returncode}:\n{output}")
        return findings, output

    def commands(self):
        """The command lines that the updater gave to the shell."""
        return [line for line, _ in read_commands(self.log)]

    def output(self):
        """What the updater and its commands wrote."""
        return (self.log / UPDATER_LOG).read_text(errors="replace")

    def system(self, partition):
        """The system on a partition, as archive.tree() tells of it."""
        with tempfile.TemporaryDirectory() as folder:
            self.card.shell(partition, 'cp -a . "$1"', folder)
            return archive.tree(Path(folder))

    def leftovers(self):
        """What is still there of the simulation after some seconds, temporary files included."""
        until, left = time.monotonic() + 5, ["?"]
        while left and time.monotonic() < until:
            left = leftovers(self.folder) + list(self.temporary.iterdir())
            time.sleep(0.02)
        return left
