"""The instrument's screen, simulated: an X server without a monitor, pictures of it, and real input to it."""

import contextlib
import mmap
import os
import select
import struct
import subprocess
import tempfile
import threading
import time

from PIL import Image
from Xlib import XK, X, display
from Xlib.error import ConnectionClosedError
from Xlib.ext import damage, xtest

from .namespaces import WITH_PARENT
from .touch import TouchPanel

SMALLEST = (800, 480)
CONTROLS = {"yes": 0.25, "no": 0.75, "button": 0.5}  # their centres across; all in the bottom tenth
BOTTOM_ROW = 0.95
POLL_SECONDS = 0.05


class ScreenError(Exception):
    """The screen cannot be started, or there is nothing on it to act on."""


class TouchedScreen:
    """What one does with a screen by touching its `panel`; `size` is its width and height in pixels."""

    def touch(self, x, y, hold=0.1):
        """Touches the pixel (x, y) for `hold` seconds."""
        self._require_window()
        self.panel.press((x, y))
        time.sleep(hold)
        self.panel.press()

    def press(self, control, hold=0.1):
        """Touches a control: "yes", "no" or "button"."""
        self.touch(*self.place(control), hold)

    def place(self, control):
        """The pixel in the middle of a control."""
        width, height = self.size
        return round(CONTROLS[control] * width), round(BOTTOM_ROW * height)

    def slide(self, start, end):
        """Puts a finger on one pixel, moves it to another and lifts it there."""
        self._require_window()
        for points in ([start], [end], []):
            self.panel.press(*points)
            time.sleep(0.1)

    def _require_window(self):
        """Raises ScreenError when nothing could take the input."""


class Screen(TouchedScreen):
    """A context: an X server of its own for one program's window, which fills it.

    The server ends with the context, or with the thread that entered it, and has no file that others
    could see. No window manager runs. The last picture of a program stays when its window has gone.
    """

    def __init__(self, width=SMALLEST[0], height=SMALLEST[1]):
        self.width, self.height = self.size = width, height
        self._in_use = threading.Lock()

    def __enter__(self):
        with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
            self._server, self.display = _start_server(self.width, self.height, folder)
            with open(os.path.join(folder, "Xvfb_screen0"), "rb") as file:
                self._memory = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
        header = struct.unpack_from(">20I", self._memory)
        self._start, self._row = header[0] + 12 * header[19], header[12]
        self._x = self.connect()
        self._keep_last_pictures()
        self.panel = TouchPanel(self.width, self.height)
        return self

    def __exit__(self, *_):
        self._server.terminate()
        self._server.wait()
        self._memory.close()

    def connect(self):
        """A connection to the X server, for one thread."""
        return display.Display(self.display)

    def frames(self, stopping):
        """Yields pixels() at once, and whenever they may have changed, until the event `stopping` is set.

        Then it does so once more. Meanwhile each new window gets the keyboard focus, which it has on the instrument.
        """
        with contextlib.suppress(ConnectionClosedError):  # The server may go first.
            x = self.connect()
            root = x.screen().root
            x.damage_query_version()
            root.damage_create(damage.DamageReportRawRectangles)
            root.change_attributes(event_mask=X.SubstructureNotifyMask)
            x.sync()
            yield self.pixels()
            while not stopping.is_set():
                if select.select([x], [], [], POLL_SECONDS)[0]:
                    for _ in range(x.pending_events()):
                        event = x.next_event()
                        if event.type == X.MapNotify:
                            event.window.set_input_focus(X.RevertToPointerRoot, X.CurrentTime)
                    x.flush()
                    yield self.pixels()
            yield self.pixels()
            x.close()

    def _keep_last_pictures(self):
        """Covers the root by a window that paints nothing: a window that goes from above leaves its pixels."""
        cover = self._x.screen().root.create_window(0, 0, self.width, self.height, 0, X.CopyFromParent,
                                                    background_pixmap=X.NONE)
        cover.map()
        self._x.sync()

    def environment(self):
        """What the environment of a program on this screen needs besides the usual."""
        return {"DISPLAY": self.display, "QT_QPA_PLATFORM": "xcb", "LIBGL_ALWAYS_SOFTWARE": "1",
                "QSG_DISTANCEFIELD_ANTIALIASING": "gray",  # as Qt chooses on OpenGL ES
                "QT_QPA_GENERIC_PLUGINS": self.panel.plugin}

    def arguments(self):
        """Arguments that make a Qt program's window fill the screen; its smallest does unasked."""
        return [] if self.size == SMALLEST else ["-qwindowgeometry", f"{self.width}x{self.height}"]

    def pixels(self):
        """The picture as it stands, between two requests of its painter, as bytes for picture_of().

        Read from the server's memory, which takes a tenth of the time that the X protocol takes for it.
        """
        with self._in_use:
            self._x.grab_server()
            self._x.sync()
            pixels = self._memory[self._start:self._start + self._row * self.height]
            self._x.ungrab_server()
            self._x.flush()
        return pixels

    def picture_of(self, pixels):
        """The RGB picture of such bytes."""
        return Image.frombytes("RGB", self.size, pixels, "raw", "BGRX", self._row)

    def picture(self):
        """The RGB picture as it stands."""
        return self.picture_of(self.pixels())

    def key(self, *names):
        """Presses and releases keys by their X names (Return, Right, h, H)."""
        for name in names:
            self.key_down(name)
            self.key_up(name)

    def key_down(self, name):
        """Presses a key; held, it repeats itself as any key does."""
        self._require_window()
        self._fake(X.KeyPress, *self._codes(name))

    def key_up(self, name):
        """Releases a key."""
        self._fake(X.KeyRelease, *reversed(self._codes(name)))

    def _codes(self, name):
        """The key's code, behind that of the shift key for a letter that needs it."""
        with self._in_use:
            code, level = next(iter(self._x.keysym_to_keycodes(XK.string_to_keysym(name))))
            return [self._x.keysym_to_keycode(XK.XK_Shift_L)] * (level % 2) + [code]

    def move(self, x, y):
        """Moves the mouse to the pixel (x, y)."""
        with self._in_use:
            xtest.fake_input(self._x, X.MotionNotify, x=x, y=y)
            self._x.sync()

    def click(self, x, y, hold=0.0):
        """Clicks the mouse's left button on the pixel (x, y), which it holds for some seconds."""
        self.move(x, y)
        self._fake(X.ButtonPress, 1)
        time.sleep(hold)
        self._fake(X.ButtonRelease, 1)

    def _fake(self, kind, *codes):
        with self._in_use:
            for code in codes:
                xtest.fake_input(self._x, kind, code)
            self._x.sync()

    def wait_for_window(self, timeout=5.0):
        """Waits until a window is there for the input; raises ScreenError when none comes."""
        until = time.monotonic() + timeout
        while not self._has_window() and time.monotonic() < until:
            time.sleep(0.001)
        self._require_window()

    def _has_window(self):
        """Input reaches only a window with the focus, which the watcher gives (watcher.py)."""
        with self._in_use:
            return not isinstance(self._x.get_input_focus().focus, int)

    def _require_window(self):
        if not self._has_window():
            raise ScreenError("there is no window on the screen")


def _start_server(width, height, folder):
    """Starts the server with its memory in a file in the folder; returns its process and display."""
    reading, writing = os.pipe()
    with open(reading, "rb") as number, tempfile.TemporaryFile() as messages:
        server = subprocess.Popen(
            [*WITH_PARENT, "Xvfb", "-displayfd", str(writing), "-screen", "0", f"{width}x{height}x24",
             "-fbdir", folder, "-nocursor", "-noreset", "-nolock", "-nolisten", "unix"],
            pass_fds=[writing], stdin=subprocess.DEVNULL, stdout=messages, stderr=messages)
        os.close(writing)
        display_number = number.read().strip().decode()
        if display_number:
            return server, f":{display_number}"
        server.wait()
        messages.seek(0)
        raise ScreenError("Xvfb did not start: " + messages.read().decode(errors="replace").strip())
