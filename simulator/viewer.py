"""The screen without the program behind it, for any values of the controller's properties."""

import contextlib
import json
import os
import subprocess
import tempfile

from .namespaces import WITH_PARENT
from .run import qml_faults
from .screen import Screen

MAIN = "qrc:/main.qml"
PATIENCE_SECONDS = 10


class Viewer:
    """A context: a QML document on a Screen of its own.

    `environment` is what the viewer's has besides the usual; `faults` holds at the end what the QML
    engine complained about.
    """

    def __init__(self, build, document=MAIN, locale=None, environment=None):
        variables = (f"{name}={value}" for name, value in (environment or {}).items())
        self._command = [*WITH_PARENT, "env", *variables, build.viewer,
                         document if document == MAIN else f"file://{document}"]
        if locale:
            self._command.append(build.translations / f"vrk-updater_{locale}.qm")
        self.faults = []

    def __enter__(self):
        with contextlib.ExitStack() as stack:
            self.screen = stack.enter_context(Screen())
            self._log = stack.enter_context(tempfile.TemporaryFile("w+"))
            self.process = subprocess.Popen(
                self._command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self._log, text=True,
                env={**os.environ, **self.screen.environment(), "LANG": "C.UTF-8"})
            self._stack = stack.pop_all()
        return self

    def __exit__(self, *_):
        with self._stack:
            self.process.stdin.close()
            self.process.wait(PATIENCE_SECONDS)
            self.process.stdout.close()
            self._log.seek(0)
            self.faults = qml_faults(self._log.read())

    def show(self, **values):
        """Sets properties of the controller; returns the picture as soon as they are on the screen.

        A text as a list is translated, and its markers replaced by the rest of the list.
        """
        self.process.stdin.write(json.dumps(values) + "\n")
        self.process.stdin.flush()
        if self.process.stdout.readline() != "drawn\n":
            raise RuntimeError("the viewer ended early")
        return self.screen.picture()
