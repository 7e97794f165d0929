"""A connection of one's own to an X server, for whole pictures and for pictures that stay."""

import ctypes
import ctypes.util

from frame import Frame

COPY_FROM_PARENT = 0
ALL_PLANES = ctypes.c_ulong(-1)
Z_PIXMAP = 2


class _Image(ctypes.Structure):
    """The beginning of Xlib's XImage."""

    _fields_ = [("width", ctypes.c_int), ("height", ctypes.c_int), ("offset", ctypes.c_int),
                ("format", ctypes.c_int), ("data", ctypes.c_void_p)]


class XDisplay:
    """A context: the connection to the server of a VirtualScreen; for one thread."""

    def __init__(self, screen):
        self._screen = screen
        self._x = ctypes.CDLL(ctypes.util.find_library("X11"))
        self._x.XOpenDisplay.restype = ctypes.c_void_p
        self._x.XDefaultRootWindow.restype = ctypes.c_ulong
        self._x.XCreateWindow.restype = ctypes.c_ulong
        self._x.XGetImage.restype = ctypes.POINTER(_Image)

    def __enter__(self):
        name = self._screen.display.encode()
        self._display = ctypes.c_void_p(self._x.XOpenDisplay(name))
        self._root = ctypes.c_ulong(self._x.XDefaultRootWindow(self._display))
        return self

    def __exit__(self, *_):
        self._x.XCloseDisplay(self._display)

    def keep_last_pictures(self):
        """Covers the root by a window that never paints anything.

        Where a window above it goes, the server leaves the pixels as they are.
        """
        window = self._x.XCreateWindow(
            self._display, self._root, 0, 0, self._screen.width, self._screen.height, 0,
            COPY_FROM_PARENT, COPY_FROM_PARENT, None, ctypes.c_ulong(0), None)
        self._x.XMapWindow(self._display, ctypes.c_ulong(window))
        self._x.XSync(self._display, 0)

    def frame(self, top=0, bottom=None):
        """The picture, or some rows of it, between two requests of its painter: never half a one."""
        height = (bottom or self._screen.height) - top
        image = self._x.XGetImage(self._display, self._root, 0, top, self._screen.width, height,
                                  ALL_PLANES, Z_PIXMAP)
        size = 4 * self._screen.width * height
        frame = Frame(self._screen.width, height, ctypes.string_at(image.contents.data, size))
        self._x.XDestroyImage(image)
        return frame
