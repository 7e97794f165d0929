"""The screen without the program behind it, for the values that a test gives it."""

import contextlib
import json
import os
import subprocess
import tempfile
from pathlib import Path

from screen import VirtualScreen
from stage import BUILD, qml_faults

VIEWER = Path(BUILD, "bin", "screenviewer")
DOCUMENTS = Path(__file__).resolve().parent / "documents"
MAIN = "qrc:/main.qml"
LOCALES = ("en", "de", "es", "fr", "ko", "zh_CN", "zh_TW", "vi", "pt", "id", "uk", "ru")
PATIENCE = 10


class Viewer:
    """A context: a document on a VirtualScreen; `faults` at its end holds the engine's complaints.

    `environment` is what the viewer's has besides the usual.
    """

    def __init__(self, document=MAIN, locale=None, environment=()):
        self._document = document if document == MAIN else f"file://{document}"
        translations = BUILD / "bin" / "translations"
        self._translation = [translations / f"vrk-updater_{locale}.qm"] if locale else []
        self._environment = dict(environment)
        self.faults = []

    def __enter__(self):
        with contextlib.ExitStack() as stack:
            self.screen = stack.enter_context(VirtualScreen())
            self._log = stack.enter_context(tempfile.TemporaryFile("w+"))
            environment = {**os.environ, **self.screen.env(), "LANG": "C.UTF-8", **self._environment}
            self.process = subprocess.Popen(
                [VIEWER, self._document, *self._translation],
                stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self._log, env=environment,
                text=True)
            self._stack = stack.pop_all()
        return self

    def __exit__(self, *_):
        with self._stack:
            self.process.stdin.close()
            self.process.wait(PATIENCE)
            self.process.stdout.close()
            self._log.seek(0)
            self.faults = qml_faults(self._log.read())

    def show(self, **values):
        """Sets properties of the controller; the picture as soon as they are on the screen.

        A text as a list is translated, and its markers replaced by the rest of the list.
        """
        self.process.stdin.write(json.dumps(values) + "\n")
        self.process.stdin.flush()
        if self.process.stdout.readline() != "drawn\n":
            raise RuntimeError("the viewer ended early")
        return self.screen.frame()
