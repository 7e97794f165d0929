"""The instrument's screen, simulated: an X server without a monitor, and real input to it."""

import ctypes
import mmap
import os
import signal
import struct
import subprocess
import tempfile

from frame import Frame
from touch import TouchPanel

SMALLEST_WINDOW = (800, 480)
PR_SET_PDEATHSIG = 1
READS_AT_MOST = 5

_libc = ctypes.CDLL(None)


class ScreenError(Exception):
    """The screen cannot be started, or there is nothing on it to act on."""


class VirtualScreen:
    """An X server of its own with one program's window on it, which fills it.

    A context manager. The server ends with it, or with the thread that entered it, and never has a
    file that others could see, so that nothing stays behind however this process ends. `directory`
    is a place for the frame buffer until the server has opened it. No window manager runs.
    """

    def __init__(self, width=800, height=480, directory=None):
        self.width, self.height = width, height
        self._directory = directory or ("/dev/shm" if os.path.isdir("/dev/shm") else None)

    def __enter__(self):
        with tempfile.TemporaryDirectory(dir=self._directory) as folder:
            self._server, number = _start_server(self.width, self.height, folder)
            self._memory = _mapped(os.path.join(folder, "Xvfb_screen0"))
        self.display = f":{number}"
        self.panel = TouchPanel(self.width, self.height)
        return self

    def __exit__(self, *_):
        self._server.terminate()
        self._server.wait()
        self._memory.close()
        self.panel.close()

    def env(self):
        """What the environment of a program on this screen needs besides the usual."""
        return {"DISPLAY": self.display, "QT_QPA_PLATFORM": "xcb", "LIBGL_ALWAYS_SOFTWARE": "1",
                "QT_QPA_GENERIC_PLUGINS": self.panel.plugin}

    def arguments(self):
        """Arguments that make a Qt program's window fill the screen; its smallest does unasked."""
        if (self.width, self.height) == SMALLEST_WINDOW:
            return []
        return ["-qwindowgeometry", f"{self.width}x{self.height}"]

    def frame(self):
        """The picture as it stands.

        The server may be in the middle of drawing, so it is read until two reads agree; on a
        screen that keeps changing the last of a few reads counts.
        """
        picture = self._memory[:]
        for _ in range(READS_AT_MOST):
            before, picture = picture, self._memory[:]
            if picture == before:
                break
        return _decoded(picture)

    def give_focus(self):
        """Gives the program's window the keyboard focus, as on the instrument; false without one.

        Touches and keys reach only a window with the focus, and nobody else gives it one here.
        """
        return self._xdotool("search", "--onlyvisible", "--class", ".", "windowfocus", "--sync")

    def touch(self, x, y, hold=0.1):
        """Touches the pixel (x, y) for `hold` seconds."""
        self._require_window()
        self.panel.touch(x, y, hold)

    def key(self, *names):
        """Presses and releases keys by their X names, for example Return, Right or h."""
        self._require_window()
        self._require_done("key", *names)

    def move(self, x, y):
        """Moves the mouse to the pixel (x, y)."""
        self._require_done("mousemove", str(x), str(y))

    def click(self, x, y):
        """Clicks the mouse's left button on the pixel (x, y)."""
        self._require_done("mousemove", str(x), str(y), "click", "1")

    def _require_window(self):
        if not self.give_focus():
            raise ScreenError("there is no window on the screen")

    def _require_done(self, *command):
        if not self._xdotool(*command):
            raise ScreenError(f"the screen did not take the input: {' '.join(command)}")

    def _xdotool(self, *command):
        try:
            return subprocess.run(["xdotool", *command], env=dict(os.environ, DISPLAY=self.display),
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                  timeout=10).returncode == 0
        except FileNotFoundError:
            raise ScreenError("xdotool is missing (Debian package xdotool)") from None
        except subprocess.TimeoutExpired:
            return False


def _start_server(width, height, folder):
    reading, writing = os.pipe()
    with open(reading, "rb") as number, tempfile.TemporaryFile() as messages:
        try:
            server = subprocess.Popen(
                ["Xvfb", "-displayfd", str(writing), "-screen", "0", f"{width}x{height}x24",
                 "-fbdir", folder, "-nocursor", "-noreset", "-nolock", "-nolisten", "unix"],
                pass_fds=[writing], stdin=subprocess.DEVNULL, stdout=messages, stderr=messages,
                preexec_fn=_end_with_parent)
        except FileNotFoundError:
            raise ScreenError("Xvfb is missing (Debian package xvfb)") from None
        finally:
            os.close(writing)
        display = number.read().strip().decode()
        if display:
            return server, display
        server.wait()
        messages.seek(0)
        raise ScreenError("Xvfb did not start: " + messages.read().decode(errors="replace").strip())


def _end_with_parent():
    _libc.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


def _mapped(path):
    with open(path, "rb") as file:
        return mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)


def _decoded(xwd):
    fields = struct.unpack_from(">20I", xwd)
    width, height, row, colours = fields[4], fields[5], fields[12], fields[19]
    start = fields[0] + 12 * colours
    if row == 4 * width:
        return Frame(width, height, xwd[start:start + row * height])
    rows = (xwd[at:at + 4 * width] for at in range(start, start + row * height, row))
    return Frame(width, height, b"".join(rows))
