"""A touch panel: real touch events for a Qt program, sent as TUIO messages over loopback UDP.

Qt's generic plugin "tuiotouch" receives them in the program and delivers them to its focused window,
scaled to the size of that window.
"""

import socket
import time

import liblo

ADDRESS = "/tuio/2Dcur"
SOCKET_TABLES = ("/proc/net/udp", "/proc/net/udp6")


class TouchError(Exception):
    """The program does not listen for touches."""


class TouchPanel:
    """A panel of the given size in pixels; the program is started with `plugin` loaded."""

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

    def touch(self, x, y, hold=0.1, timeout=5.0):
        """Puts a finger on the pixel (x, y) and lifts it after `hold` seconds.

        Raises TouchError when no program listens within `timeout` seconds.
        """
        self._wait_for_program(timeout)
        self.press((x, y))
        time.sleep(hold)
        self.press()

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

    def _wait_for_program(self, timeout):
        deadline = time.monotonic() + timeout
        while not self._program_listens():
            if time.monotonic() > deadline:
                raise TouchError(f"no program listens for touches on UDP port {self._port}")
            time.sleep(0.02)

    def _program_listens(self):
        end = f":{self._port:04X}"
        for table in SOCKET_TABLES:
            with open(table, encoding="ascii") as lines:
                if any(line.split()[1].endswith(end) for line in lines):
                    return True
        return False
