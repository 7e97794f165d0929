"""Screens are told apart by their pictures, in every look and size that the updater has."""

import unittest

from screen_painter import LIGHT, Painter

from recogniser import Recogniser, View, read

SIZES = ((800, 480), (1280, 800))

INTERACTIVE = [
    ("blank", lambda p: p),
    ("loaded", lambda p: p.pair()),
    ("welcome", lambda p: p.pair().message("hello", True).busy()),
    ("confirm", lambda p: p.pair("yes").upper("keep").message("sure?")),
    ("checking", lambda p: p.upper("keep").message("look", True).busy(7)),
    ("installing", lambda p: p.upper("keep").message("up", True).value(0.3)),
]
ENDINGS = [
    ("final", lambda p: p.upper("take it").message("done").button()),
    ("error", lambda p: p.upper("keep").message("failed").button()),
]
REBOOTING = ("leaving", lambda p: p.upper("keep").message("boot", True).busy())
RUNS = {
    **{name: INTERACTIVE + [(name, paint), REBOOTING] for name, paint in ENDINGS},
    "no": INTERACTIVE[:4] + [
        ("leaving", lambda p: p.pair("yes").upper("keep").message("bye", True).busy())],
    "no archive named": INTERACTIVE[:3] + [
        ("error", lambda p: p.message("no drive").button()),
        ("leaving", lambda p: p.message("boot", True).busy())],
    "silent": [
        ("welcome", lambda p: p.message("hello", True).busy()),
        ("checking", lambda p: p.message("look", True).busy()),
        ("installing", lambda p: p.message("up", True).value(0.0)),
        ("final", lambda p: p.upper("take it").message("done").button())],
}
UNREADABLE = [
    ("blank", lambda p: p.pair()),
    ("welcome", lambda p: p.message("hello", True).busy()),
    ("confirm", lambda p: p.pair("yes").upper("keep").message("sure?")),
    ("checking", lambda p: p.busy()),
    ("installing", lambda p: p.value(0.5)),
    ("end", lambda p: p.message("done").button()),
    ("leaving", lambda p: p.busy()),
]


class Recognition(unittest.TestCase):

    def check_run(self, run, **look):
        recogniser = Recogniser()
        for name, paint in run:
            view = read(paint(Painter(**look)).frame())
            self.assertEqual(recogniser.name(view), name, view)
            recogniser.note(name, view)
            self.assertEqual(recogniser.name(view), name, "seen again")

    def test_runs(self):
        for (width, height) in SIZES:
            for name, run in RUNS.items():
                with self.subTest(name, width=width):
                    self.check_run(run, width=width, height=height)

    def test_run_without_icons_and_texts(self):
        self.check_run(UNREADABLE, drawn=False)

    def test_stripes_are_never_taken_for_a_value(self):
        for shift in range(40):
            with self.subTest(shift=shift):
                self.assertEqual(read(Painter().busy(shift).frame()).bar, "busy")

    def test_fill(self):
        for fill in (0.0, 0.001, 0.25, 0.5, 0.999, 1.0):
            for width, height in SIZES:
                with self.subTest(fill=fill, width=width):
                    view = read(Painter(width, height).value(fill).frame())
                    self.assertEqual(view.bar, "value")
                    self.assertAlmostEqual(view.fill, fill, delta=1.5 / (0.6 * width))

    def test_focus(self):
        for focus in (None, "yes", "no"):
            with self.subTest(focus):
                self.assertEqual(read(Painter().pair(focus).frame()), View(pair=True, focus=focus))
        self.assertEqual(read(Painter().button().frame()), View(button=True, focus="button"))

    def test_half_drawn_bar_is_none(self):
        frame = Painter().box(160, 228, 500, 252, LIGHT).frame()
        self.assertIsNone(read(frame).bar)


if __name__ == "__main__":
    unittest.main()
