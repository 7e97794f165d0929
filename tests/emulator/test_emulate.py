"""The emulated instrument: the power fails in its first update, it boots, is updated again, and reboots."""

import json
import subprocess
import tempfile
from pathlib import Path

import pytest
from simulator import SOURCES
from simulator.build import NOT_POSSIBLE

SCREENS = "loaded welcome confirm checking installing final leaving".split()
OLD, NEW = ("3.4.0", "mmcblk1p3"), ("3.5.0", "mmcblk1p4")


@pytest.fixture(scope="module")
def report(build):
    with tempfile.TemporaryDirectory() as folder:
        made = subprocess.run([SOURCES / "emulate", "--build", build, "--keep", folder, "--cut", "sync#1"], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        if made.returncode == NOT_POSSIBLE:
            pytest.skip(made.stdout.strip())
        assert made.returncode == 0, made.stdout
        yield json.loads(Path(folder, "latest", "report.json").read_text(encoding="utf-8"))


def test_power_cut_leaves_the_old_system(report):
    cut_off, next_start, _ = report["boots"]
    assert ["sync", 0] in cut_off["commands"] and cut_off["exit_status"] is None
    assert report["cut"]["command"] == "sync" and report["cut"]["writes"] > 1000 and report["cut"]["fault"] is None
    assert (next_start["version"], next_start["partition"]) == OLD


def test_update_and_reboot(report):
    assert [screen["name"] for screen in report["screens"]] == SCREENS
    assert (report["answer"], report["exit_status"], report["remarks"]) == ("yes", 0, [])
    for state, system, board in (("before", OLD, "2.06"), ("after", NEW, "2.07")):
        assert [report[state][name] for name in ("version", "partition", "board")] == [*system, board]
    rebooted = report["boots"][-1]
    assert (rebooted["version"], rebooted["partition"]) == NEW
