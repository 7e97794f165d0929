"""What moves: the stripes while the main thread is busy, and the bar, at the pace they are told."""

import re
import time
from itertools import pairwise

import pytest
from simulator.instrument import Settings
from simulator.run import SILENT, run_updater
from simulator.view import STRIPE, speed_of_stripes

STRIPES_SPEED = 40 / 0.25  # pixels a second
BAR_WIDTH = 480


def test_motion(parts):
    settings = Settings(initialize_ms=2500, delays={"gzip": 2.5, "tar": 4})
    with run_updater(SILENT, settings, build=parts) as run:
        welcome = run.watcher.wait_for(bar="busy")
        checking = run.watcher.wait_for(lambda view: view.message not in (None, welcome.view.message))
        installing = run.watcher.wait_for(bar="value")
        time.sleep(6.5)
        rows = list(run.watcher.bar)
    filled = [(at, row.count("f")) for at, row in rows if at > installing.seconds]
    assert not {letter for _, row in rows for letter in row} - {"t", "f"}
    for begin, end in ((welcome, checking), (checking, installing)):
        busy = [(at, row) for at, row in rows if begin.seconds < at < end.seconds]
        stripes = [[len(stripe) for stripe in re.findall("t+|f+", row)] for _, row in busy]
        assert all(max(row) == STRIPE == min(row[1:-1]) for row in stripes), stripes
        assert speed_of_stripes(busy) == pytest.approx(STRIPES_SPEED, rel=0.35)
    values = [value for _, value in filled]
    assert values == sorted(values)
    assert max(new - old for old, new in pairwise(values)) < 0.05 * BAR_WIDTH, "the bar jumps"
    # To 0.1 in 3 s, a pause, and on to 0.2 in 4 s.
    first = filled[0][0] - 3.0 / (0.1 * BAR_WIDTH)
    second = next(at for at, value in filled if value > 0.1 * BAR_WIDTH + 1)
    for moment, wanted in ((first + 1, 16), (first + 2, 32), (first + 3.2, 48), (second + 2, 72)):
        assert [value for at, value in filled if at <= moment][-1] == pytest.approx(wanted, abs=5), moment - first
