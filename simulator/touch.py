"""A touch panel: real touch events for a Qt program, sent as TUIO messages over loopback UDP.

Qt's generic plugin "tuiotouch" receives them in the program and delivers them to its focused
window, scaled to the size of that window.
"""

import socket
import struct
import time

ADDRESS = "/tuio/2Dcur"
IMMEDIATELY = struct.pack(">Q", 1)
SOCKET_TABLES = ("/proc/net/udp", "/proc/net/udp6")


class TouchError(Exception):
    """The program does not listen for touches."""


class TouchPanel:
    """A panel of the given size in pixels; the program is started with `plugin` loaded."""

    def __init__(self, width, height):
        self._width, self._height = width, height
        self._frame_number = 0
        self._sender = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._port = _free_port()

    @property
    def plugin(self):
        """The value for QT_QPA_GENERIC_PLUGINS in the program's environment."""
        return f"tuiotouch:udp={self._port}"

    def close(self):
        """Gives up the panel; a finger that is still down stays down."""
        self._sender.close()

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
        fingers = range(1, len(points) + 1)
        messages = [_message("alive", *fingers)]
        for finger, (x, y) in zip(fingers, points):
            centre = (x + 0.5) / self._width, (y + 0.5) / self._height
            messages.append(_message("set", finger, *centre, 0.0, 0.0, 0.0))
        self._frame_number += 1
        messages.append(_message("fseq", self._frame_number))
        bundle = _text("#bundle") + IMMEDIATELY + b"".join(messages)
        self._sender.sendto(bundle, ("127.0.0.1", self._port))

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


def _free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("", 0))
        return probe.getsockname()[1]


def _message(*values):
    kinds = {str: ("s", _text), int: ("i", struct.Struct(">i").pack),
             float: ("f", struct.Struct(">f").pack)}
    tags = "," + "".join(kinds[type(value)][0] for value in values)
    body = b"".join(kinds[type(value)][1](value) for value in values)
    message = _text(ADDRESS) + _text(tags) + body
    return struct.pack(">i", len(message)) + message


def _text(value):
    data = value.encode("ascii") + b"\0"
    return data + bytes(-len(data) % 4)
