"""The power cuts of an update, in their short form: none breaks an instrument, and one that does is told and made again."""

import json
import re
import subprocess

import pytest
from simulator import SOURCES
from simulator.build import NotPossible, require_served_card
from simulator.card import PARTITIONS, ROOT, Card
from simulator.namespaces import leftovers

SEED = "--seed=1"
NEW_LACKS = r"the new system, on mmcblk1p4: missing: ([^,;]*)"


@pytest.fixture
def simulate(tmp_path, build):
    try:
        require_served_card()
    except NotPossible as reason:
        pytest.skip(str(reason))

    def run(*options):
        return subprocess.run([SOURCES / "simulate", "--build", build, "--virtual", "--keep", tmp_path / "instrument", SEED,
                               *options], text=True, stdin=subprocess.DEVNULL, capture_output=True, check=False)
    return run


def recovered(image, partition, name):
    """A file of a card that is mounted as the boot does it; empty when it is not there."""
    start, size = Card(image).region(partition)
    reading = f'mount -o loop,offset={start},sizelimit={size} "$0" /mnt && cat "/mnt/$1"'
    return subprocess.run(["unshare", "--mount", "sh", "-c", reading, image, name], capture_output=True, check=False).stdout


@pytest.mark.parametrize("options, status", [([], 0), (["--card-without-flush"], 1)], ids=["whole", "broken"])
def test_power_cuts(simulate, tmp_path, options, status):
    finished = simulate("--power-cuts", "short", *options)
    assert finished.returncode == status, finished.stdout + finished.stderr
    run = tmp_path / "instrument/latest"
    found = json.loads((run / "power-cuts.json").read_text())
    assert bool(found["broken"]) == bool(status), finished.stdout
    points = {kind: sum(row[kind] for row in found["rows"]) for kind in ("points", "old", "new")}
    assert points["points"] > 200 and points["old"] > 50 and (points["new"] > 50 or status), finished.stdout
    again = found["start_after_flash_cut"]
    assert found["well"] and again["board"] == "" and again["after"]["board"] == "2.07", finished.stdout
    assert leftovers(tmp_path) == []
    for cut in [cut for cut in found["broken"] if re.match(NEW_LACKS, cut["faults"][0])][:2]:
        simulate("--make-card", run, cut["cut"], tmp_path / "card", *options)
        missing = re.match(NEW_LACKS, cut["faults"][0])[1]
        assert b"/dev/mmcblk1p4" in recovered(tmp_path / "card", ROOT, "etc/fstab")
        assert not recovered(tmp_path / "card", PARTITIONS[1], missing)
