"""The robot passes through a run as an operator would, and says what did not go as it should."""

import os
import tempfile
import threading
import unittest

from screen_painter import Painter
from test_screen_recogniser import ENDINGS, INTERACTIVE, REBOOTING

from operator_robot import Robot
from screen import ScreenError

RUN = [paint(Painter()).frame() for _, paint in INTERACTIVE + ENDINGS[:1] + [REBOOTING]]
CONFIRM, INSTALLING, FINAL = 3, 5, 6
LOOKS_EACH = 4
YES, NO, REBOOT = (200, 456), (600, 456), (400, 456)


class PlayedScreen:
    """Plays a run: a screen with buttons waits for a touch, any other for a few looks."""

    width, height = 800, 480

    def __init__(self, stuck_at=None):
        self.touches, self.gone = [], False
        self._stuck_at, self._at, self._looks = stuck_at, 0, 0
        self._lock = threading.Lock()

    def frame(self):
        with self._lock:
            self._looks += 1
            if self._looks > LOOKS_EACH and self._at not in (CONFIRM, FINAL, self._stuck_at):
                self._advance()
            return Painter().frame() if self.gone else RUN[self._at]

    def give_focus(self):
        return not self.gone

    def touch(self, x, y):
        if self.gone:
            raise ScreenError("there is no window on the screen")
        self.touches.append((x, y))
        with self._lock:
            self._advance()

    def _advance(self):
        self._at, self._looks = min(self._at + 1, len(RUN) - 1), 0


class RobotTest(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.pictures = folder.name

    def test_whole_run(self):
        screen, touches_at_hook = PlayedScreen(), []
        hooks = {"confirm": lambda: touches_at_hook.append(list(screen.touches))}
        with Robot(screen, self.pictures, hooks=hooks) as robot:
            robot.expect("leaving", 10)
        self.assertEqual(screen.touches, [YES, REBOOT])
        self.assertEqual(touches_at_hook, [[]])
        names = ["loaded", "welcome", "confirm", "checking", "installing", "final", "leaving"]
        self.assertEqual([passed.name for passed in robot.passed], names)
        times = [passed.seconds for passed in robot.passed]
        self.assertEqual(times, sorted(times))
        names.insert(5, "installing-end")
        files = [f"{number:02}-{name}.png" for number, name in enumerate(names, 1)]
        self.assertEqual(sorted(os.listdir(self.pictures)), files)
        self.assertEqual(robot.passed[4].picture, os.path.join(self.pictures, "05-installing.png"))
        self.assertEqual(robot.remarks, [])

    def test_no(self):
        screen = PlayedScreen()
        with Robot(screen, answer="no") as robot:
            robot.expect("checking", 10)
        self.assertEqual(screen.touches, [NO])

    def test_waiting_is_no_standstill(self):
        screen = PlayedScreen()
        with Robot(screen, answer="wait", patience=0.3) as robot:
            robot.expect("confirm", 10)
            threading.Event().wait(0.8)
        self.assertEqual((screen.touches, robot.remarks), ([], []))

    def test_standstill_is_told(self):
        with Robot(PlayedScreen(stuck_at=INSTALLING), self.pictures, patience=0.3) as robot:
            robot.expect("installing", 10)
            with self.assertRaisesRegex(TimeoutError, "'final' did not come within 2 s; .*installing"):
                robot.expect("final", 2)
        self.assertEqual(len(robot.remarks), 1)
        self.assertRegex(robot.remarks[0], "nothing changed for 0.3 s; .* checking, installing$")
        self.assertIn("06-stuck.png", os.listdir(self.pictures))

    def test_updater_gone_before_the_press(self):
        screen = PlayedScreen()
        hooks = {"confirm": lambda: setattr(screen, "gone", True)}
        with Robot(screen, hooks=hooks) as robot:
            robot.expect("confirm", 10)
            threading.Event().wait(0.6)
        self.assertEqual((screen.touches, robot.remarks), ([], []))

    def test_faults_end_in_remarks(self):
        def fail():
            raise RuntimeError("hook failed")

        missing = os.path.join(self.pictures, "missing")
        with Robot(PlayedScreen(), missing, hooks={"confirm": fail}) as robot:
            robot.expect("confirm", 10)
        self.assertRegex(robot.remarks[0], "^the robot stopped: hook failed; .*confirm$")
        self.assertRegex(robot.remarks[1], "^a picture could not be written: .*missing")


if __name__ == "__main__":
    unittest.main()
