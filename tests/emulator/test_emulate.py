"""The emulated instrument: the power fails in its first update, it boots, is updated again, and reboots."""

import json
import subprocess
import tempfile
from pathlib import Path
from types import SimpleNamespace

import pytest
from simulator import SOURCES, writelog
from simulator.build import NOT_POSSIBLE
from simulator.card import SECTOR
from simulator.emulator.powercut import CutOff
from simulator.screen_names import BRIEF

SCREENS = "welcome confirm installing final".split()
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
    assert report["cut"]["files"] > 20
    assert (next_start["version"], next_start["partition"]) == OLD


def test_update_and_reboot(report):
    assert [screen["name"] for screen in report["screens"] if screen["name"] not in BRIEF] == SCREENS
    assert (report["answer"], report["exit_status"], report["remarks"]) == ("yes", 0, [])
    for state, system, board in (("before", OLD, "2.06"), ("after", NEW, "2.07")):
        assert [report[state][name] for name in ("version", "partition", "board")] == [*system, board]
    rebooted = report["boots"][-1]
    assert (rebooted["version"], rebooted["partition"]) == NEW


def test_power_cut_keeps_a_part_of_the_writes(tmp_path):
    image = tmp_path / "card.img"
    image.write_bytes(bytes(100 * SECTOR))
    cut_off = CutOff("sync", 3, SimpleNamespace(image=image), tmp_path)
    log = writelog.Writer(cut_off.log)

    def write(first, end):
        for number in range(first, end):
            log.add(number * SECTOR, bytes([number]) * SECTOR)

    def commands():
        write(1, 10)
        yield []
        yield [("sync", None)]
        write(10, 90)
        yield [("sync", 0)]

    states, power = commands(), []
    machine = SimpleNamespace(commands=lambda: next(states), cut_power=lambda: power.append("off"), has_ended=bool)
    cut = cut_off.cut(machine, timeout=5)
    assert power == ["off"] and (cut.command, cut.writes) == ("sync", 80) and 0 < cut.kept < 80
    kept = [image.read_bytes()[number * SECTOR] for number in range(100)]
    assert kept == [*range(10 + cut.kept), *[0] * (90 - cut.kept)]
