"""The virtual screen is real: it takes input, and nothing of it outlives its owner."""

import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

SIMULATOR = str(Path(__file__).resolve().parents[2] / "simulator")
sys.path.insert(0, SIMULATOR)

from screen import ScreenError, VirtualScreen  # noqa: E402
from touch import TouchError, TouchPanel  # noqa: E402

SKIPPED = 77
OWNER = """
import sys, time
sys.path.insert(0, sys.argv[1])
from screen import VirtualScreen
with VirtualScreen(directory=sys.argv[2]) as screen:
    print(screen.display, screen._server.pid, flush=True)
    time.sleep(60)
"""

class LiveScreen(unittest.TestCase):

    def test_screen(self):
        with VirtualScreen(640, 400) as screen:
            frame = screen.frame()
            self.assertEqual((frame.width, frame.height), (640, 400))
            self.assertEqual(set(frame.pixels()), {(0, 0, 0)})
            screen.move(123, 45)
            where = subprocess.run(["xdotool", "getmouselocation"], capture_output=True, text=True,
                                   env={**os.environ, **screen.env()}, check=True).stdout
            self.assertIn("x:123 y:45 ", where)
            self.assertFalse(screen.give_focus())
            with self.assertRaisesRegex(ScreenError, "no window"):
                screen.touch(10, 10)

    def test_nothing_is_left_of_a_killed_owner(self):
        with tempfile.TemporaryDirectory() as folder:
            owner = subprocess.Popen([sys.executable, "-c", OWNER, SIMULATOR, folder],
                                     stdout=subprocess.PIPE, text=True)
            display, server = owner.stdout.readline().split()
            owner.kill()
            owner.communicate()
            self.assertTrue(self.ends(server), "the X server outlives its owner")
            self.assertEqual(os.listdir(folder), [])
        number = display[1:]
        for left in (f"/tmp/.X{number}-lock", f"/tmp/.X11-unix/X{number}"):
            self.assertFalse(os.path.exists(left), left)

    @staticmethod
    def ends(process):
        command = Path("/proc", process, "cmdline")
        for _ in range(100):
            if not command.exists() or not command.read_bytes():
                return True
            time.sleep(0.05)
        return False


class Panel(unittest.TestCase):

    def test_nobody_listens(self):
        panel = TouchPanel(800, 480)
        self.addCleanup(panel.close)
        with self.assertRaisesRegex(TouchError, "no program listens"):
            panel.touch(1, 1, timeout=0.1)


if __name__ == "__main__":
    missing = [tool for tool in ("Xvfb", "xdotool") if not shutil.which(tool)]
    if missing:
        print("skipped: not installed here:", *missing)
        sys.exit(SKIPPED)
    unittest.main()
