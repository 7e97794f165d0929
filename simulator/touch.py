"""A touch panel: real touch events for a Qt program, sent as TUIO messages over loopback UDP.

Qt's generic plugin "tuiotouch" receives them in the program and delivers them to its focused window,
scaled to the size of that window.
"""

import socket

import liblo

ADDRESS = "/tuio/2Dcur"


class TouchPanel:
    """A panel of the given size in pixels; a program started with `plugin` listens once it has a window."""

    def __init__(self, width, height):
        self._size = width, height
        self._frame_number = 0
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
            probe.bind(("", 0))
            self._port = probe.getsockname()[1]

    @property
    def plugin(self):
        """The value for QT_QPA_GENERIC_PLUGINS in the program's environment."""
        return f"tuiotouch:udp={self._port}"

    def press(self, *points):
        """The pixels that fingers are on from now on; none lifts them all."""
        fingers = list(enumerate(points, 1))
        messages = [liblo.Message(ADDRESS, "alive", *(finger for finger, _ in fingers))]
        for finger, point in fingers:
            centre = [(at + 0.5) / length for at, length in zip(point, self._size)]
            messages.append(liblo.Message(ADDRESS, "set", finger, *centre, 0.0, 0.0, 0.0))
        self._frame_number += 1
        messages.append(liblo.Message(ADDRESS, "fseq", self._frame_number))
        liblo.send(("127.0.0.1", self._port), liblo.Bundle(*messages))
