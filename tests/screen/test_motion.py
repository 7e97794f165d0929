"""What moves: the stripes and the bar, at the pace they are told."""

import unittest

import stage
from film import FILL, TRACK, Film, film_bar, runs
from stage import SILENT, Play, on_stage

PERIOD = 40
STRIPES_SPEED = PERIOD / 0.25
BAR_WIDTH = 480
GAP_SECONDS = 0.1  # in a longer one the stripes move too far to tell the direction
WATCH_SECONDS = 3


def phase(pixels):
    """Where in its period the pattern stands, in pixels from the left."""
    first = runs(pixels)[0]
    return (first[1] + (20 if first[0] == FILL else 0)) % PERIOD


def stripes_speed(shots):
    """Pixels a second to the left; looks only at shots that follow each other closely."""
    travelled = seconds = 0
    for (before, old), (after, new) in zip(shots, shots[1:]):
        if after - before < GAP_SECONDS:
            travelled += (phase(old) - phase(new) + PERIOD / 2) % PERIOD - PERIOD / 2
            seconds += after - before
    return travelled / seconds if seconds > WATCH_SECONDS / 3 else 0.0


def fill(pixels):
    return pixels.count(FILL)


class MotionTest(unittest.TestCase):

    def test_stripes(self):
        """They move while the main thread is in the library, and while it naps during the check."""
        plays = {"welcome": Play(initialize_ms=5000), "checking": Play(SILENT, delays={"gzip": 5})}
        for name, play in plays.items():
            with self.subTest(name), on_stage(play) as running, Film(running.screen) as film:
                film.wait_for(lambda view: view.bar == "busy")
                first = film.shots[-1].view.message
                if name == "checking":
                    film.wait_for(lambda view: view.message not in (None, first))
                shots = film_bar(running.screen, WATCH_SECONDS)
                self.assertEqual({colour for _, row in shots for colour in row}, {TRACK, FILL})
                self.assertAlmostEqual(stripes_speed(shots), STRIPES_SPEED, delta=0.35 * STRIPES_SPEED,
                                       msg=[(round(at - shots[0][0], 3), phase(row)) for at, row in shots])

    def test_bar(self):
        """It takes the told time to each value, evenly, and starts anew from where it stands."""
        with on_stage(Play(SILENT, delays={"tar": 4, "sync": 4})) as running:
            with Film(running.screen) as film:
                film.wait_for(lambda view: view.bar == "value")
            shots = [(at, fill(row)) for at, row in film_bar(running.screen, 12.5)]
        self.assertEqual(sorted(value for _, value in shots), [value for _, value in shots])
        steps = [after - before for (_, before), (_, after) in zip(shots, shots[1:])]
        self.assertLess(max(steps), 0.05 * BAR_WIDTH, "the bar jumps")
        # To 0.1 in 3 s, a pause, on to 0.2 in 4 s, and then towards 0.9 in 43 s.
        first = shots[1][0] - 3.0 / (0.1 * BAR_WIDTH)
        second = next(at for at, value in shots if value > 0.1 * BAR_WIDTH + 1)
        for moment, wanted in ((first + 1, 16), (first + 2, 32), (first + 3.2, 48), (second + 2, 72)):
            with self.subTest(wanted=wanted):
                self.assertAlmostEqual(value_at(shots, moment), wanted, delta=5)
        slow = value_at(shots, second + 7) - value_at(shots, second + 5)
        self.assertAlmostEqual(slow, 2 * 0.7 * BAR_WIDTH / 43, delta=4)


def value_at(shots, moment):
    return [value for at, value in shots if at <= moment][-1]


if __name__ == "__main__":
    stage.main()
