"""Touch, mouse and keys from outside, and what they must not do."""

import time
import unittest

import stage
from film import Film
from stage import SILENT, Play, on_stage

YES, NO, BUTTON, NOWHERE = (200, 456), (600, 456), (400, 456), (400, 60)
HOLD_SECONDS = 1.2  # a click ends at 0.8
REACTION_SECONDS = 0.3
QUIET_SECONDS = 0.7
SLOW_CHECK = {"gzip": 2}
NO_ARCHIVE = ()


class InputTest(unittest.TestCase):

    def play(self, play):
        """Starts the updater and films it; the screen has the focus and shows the first text."""
        self.running = self.enterContext(on_stage(play))
        self.screen = self.running.screen
        self.film = self.enterContext(Film(self.screen))
        self.film.wait_for(lambda view: view.message)
        self.screen.give_focus()

    def wait_for(self, **wanted):
        shot = self.film.wait_for(lambda view: all(getattr(view, name) == value
                                                   for name, value in wanted.items()))
        time.sleep(REACTION_SECONDS)
        return shot

    def assert_nothing_happens(self, action, *arguments, **options):
        """The picture is the same before and a while after."""
        before = len(self.film.shots)
        action(*arguments, **options)
        time.sleep(QUIET_SECONDS)
        self.assertEqual(self.film.states()[-3:] if len(self.film.shots) > before else [], [])
        self.assertIsNone(self.running.process.poll())

    def assert_leaves(self):
        self.assertEqual(self.running.exit_status(), 0)
        time.sleep(REACTION_SECONDS)
        self.assertEqual(self.film.shots[-1].view.bar, "busy")

    def started(self):
        """How often the installation was started."""
        return self.running.output().count("Unpacking prepare setup script")

    def test_ways_to_say_no(self):
        ways = {"touch": lambda: self.screen.touch(*NO), "mouse": lambda: self.screen.click(*NO),
                "keys": lambda: (self.screen.key("Right"), self.wait_for(focus="no"),
                                 self.screen.key("Return"))}
        for name, answer in ways.items():
            with self.subTest(name):
                self.play(Play())
                self.wait_for(focus="yes")
                answer()
                self.assert_leaves()
                self.doCleanups()

    def test_ways_to_say_yes(self):
        ways = {"mouse": lambda: self.screen.click(*YES),
                "keys": lambda: (self.screen.key("Right", "Left"), self.wait_for(focus="yes"),
                                 self.screen.key("Return"))}
        for name, answer in ways.items():
            with self.subTest(name):
                self.play(Play(delays=SLOW_CHECK))
                self.wait_for(focus="yes")
                answer()
                self.wait_for(bar="busy", pair=False)
                self.doCleanups()

    def test_ways_to_press_reboot(self):
        ways = {"mouse": lambda: self.screen.click(*BUTTON), "keys": lambda: self.screen.key("Return")}
        for name, press in ways.items():
            with self.subTest(name):
                self.play(Play(NO_ARCHIVE))
                self.wait_for(focus="button")
                press()
                self.assert_leaves()
                self.doCleanups()

    def test_what_does_nothing_at_the_question(self):
        self.play(Play())
        self.wait_for(focus="yes")
        for key in ("h", "l", "H", "L", "Left", "Up", "Down", "KP_Enter", "space", "a"):
            with self.subTest(key):
                self.assert_nothing_happens(self.screen.key, key)
        with self.subTest("long touch"):
            self.assert_nothing_happens(self.screen.touch, *YES, hold=HOLD_SECONDS)
        with self.subTest("touch elsewhere"):
            self.assert_nothing_happens(self.screen.touch, *NOWHERE)
        with self.subTest("finger that leaves the button"):
            self.assert_nothing_happens(self.slide, YES, NOWHERE)
        self.screen.touch(*NO)
        self.assert_leaves()

    def slide(self, start, end):
        for point in (start, end):
            self.screen.panel.press(point)
            time.sleep(0.1)
        self.screen.panel.press()

    def test_what_does_nothing_at_the_button(self):
        self.play(Play(NO_ARCHIVE))
        self.wait_for(focus="button")
        for key in ("h", "l", "Up", "Down", "Left", "Right", "KP_Enter"):
            with self.subTest(key):
                self.assert_nothing_happens(self.screen.key, key)
        with self.subTest("long touch"):
            self.assert_nothing_happens(self.screen.touch, *BUTTON, hold=HOLD_SECONDS)
        self.screen.touch(20, 470)  # the button is as wide as the window
        self.assert_leaves()

    def test_keys_before_the_question_do_not_answer_it(self):
        # A touch may: the pair is on the screen, and the touch waits until the library has started.
        self.play(Play(initialize_ms=2500))
        self.screen.key("Return")
        self.wait_for(focus="yes")
        self.assert_nothing_happens(lambda: None)
        self.assertEqual(self.film.states()[-1], "upper, message, pair, focus yes")

    def test_nothing_has_the_focus_without_question_and_button(self):
        self.play(Play(SILENT, delays={"gzip": 1, "tar": 8}))
        self.wait_for(bar="value")
        for key in ("Return", "h", "l", "Right", "Tab"):
            with self.subTest(key):
                self.assert_nothing_happens(self.screen.key, key)
        with self.subTest("touch"):
            self.assert_nothing_happens(self.screen.touch, *YES)

    def test_a_second_answer_is_none(self):
        for name, answer in (("keys", lambda: self.screen.key("Return", "Return")),
                             ("touch", lambda: (self.screen.touch(*YES), self.screen.touch(*NO)))):
            with self.subTest(name):
                self.play(Play(delays={"gzip": 1, "tar": 3}))
                self.wait_for(focus="yes")
                answer()
                self.wait_for(bar="value")
                self.assert_nothing_happens(self.screen.key, "Return")
                self.assertEqual(self.started(), 1)
                self.assertNotIn("already running", self.running.output())
                self.doCleanups()


if __name__ == "__main__":
    stage.main()
