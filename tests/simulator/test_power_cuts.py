"""The power cuts of an update in their short form, and what each kind of damage is judged."""

import json
import re
import subprocess

import pytest
from simulator import SOURCES, archive, writelog
from simulator.build import require_served_card
from simulator.card import PARTITIONS, ROOT, SECTOR, Card
from simulator.instrument import WRITE_LOG
from simulator.judge import NEW, OLD, Finding, difference, verdict
from simulator.namespaces import leftovers

SEED = "--seed=1"
NEW_LACKS = re.compile(r"the new system, on mmcblk1p4: missing: ([\w./-]+)(?:[,;]| and|$)")
USED, OTHER = PARTITIONS
FSTAB = f"# /dev/mmcblk1p3\n/dev/{USED} /usr/local ext4 defaults 0 2\n"
SWITCHED = FSTAB.replace(USED, OTHER)
WHOLE = {"bin": ("0o40755", None), "bin/gui": ("0o100755", "digest"), "share": ("0o40755", None)}
CHANGED = WHOLE | {"bin/gui": ("0o100644", "digest")}
PARTIAL = {name: WHOLE[name] for name in ("bin", "share")}
NOT_FSTAB = "/etc/fstab is neither as before nor with "


@pytest.fixture
def simulate(tmp_path, build, where_possible):
    where_possible(require_served_card)

    def run(*options):
        return subprocess.run([SOURCES / "simulate", "--build", build, "--virtual", "--keep", tmp_path / "instrument",
                               SEED, *options], text=True, stdin=subprocess.DEVNULL, capture_output=True, check=False)
    return run


@pytest.mark.parametrize("options, status", [([], 0), (["--card-without-flush"], 1)], ids=["whole", "broken"])
def test_power_cuts(simulate, tmp_path, options, status):
    finished = simulate("--power-cuts", "short", *options)
    assert finished.returncode == status, finished.stdout + finished.stderr
    run = tmp_path / "instrument/latest"
    results = json.loads((run / "power-cuts.json").read_text())
    points = {kind: sum(row[kind] for row in results["rows"]) for kind in ("points", "old", "new")}
    assert points["points"] > 200 and points["old"] > (10 if status else 50), finished.stdout
    assert points["new"] > 50 or status, finished.stdout
    assert results["beside_archive"] == f"not of it: {archive.SETUP_TRACE}"
    restart = results["start_after_flash_cut"]
    assert restart["succeeded"] and restart["board"] == "" and restart["after"]["board"] == "2.07", finished.stdout
    assert leftovers(tmp_path) == []
    assert bool(results["broken"]) == bool(status), finished.stdout

    card = Card(tmp_path / "card")

    def make(cut):
        made = simulate("--make-card", run, cut, card.image, *options)
        assert made.returncode == 0, made.stderr
        return card.shell(ROOT, "cat etc/fstab").decode()

    # At the end all is on a card that flushes, and nothing surely on one that only claims to.
    entries = len(writelog.read(run / WRITE_LOG))
    assert f"/dev/{USED if status else OTHER}" in make(f"{entries}.none")
    assert f"/dev/{OTHER}" in make(f"{entries}.all")
    assert archive.SETUP_TRACE in card.shell(OTHER, "find -printf '%P\\n'").decode().splitlines()
    lacking = [(cut["cut"], NEW_LACKS.match(cut["faults"][0])) for cut in results["broken"]]
    for cut, missing in [(cut, match[1]) for cut, match in lacking if match][:2]:
        assert f"/dev/{OTHER}" in make(cut)
        assert missing not in card.shell(OTHER, "find -printf '%P\\n'").decode().splitlines()


@pytest.mark.parametrize("root, old, new, system, fault", [
    (FSTAB, WHOLE, WHOLE, OLD, None),
    (FSTAB, WHOLE, PARTIAL, OLD, None),
    (SWITCHED, WHOLE, WHOLE, NEW, None),
    (SWITCHED, WHOLE, PARTIAL, NEW, f"the new system, on {OTHER}: missing: bin/gui"),
    (SWITCHED, WHOLE, CHANGED, NEW, f"the new system, on {OTHER}: different: bin/gui"),
    (SWITCHED, PARTIAL, WHOLE, NEW, f"the system that was in use, on {USED}: missing: bin/gui"),
    (FSTAB, WHOLE | {"left": ("0o100644", "")}, WHOLE, OLD, f"the system that was in use, on {USED}: not of it: left"),
    (SWITCHED, WHOLE, WHOLE | {"\udcff": ("0o100644", "")}, NEW, f"the new system, on {OTHER}: not of it: \\xff"),
    (FSTAB, WHOLE, Finding("cannot be mounted"), OLD, "cannot be mounted"),
    (Finding("cannot be mounted"), WHOLE, WHOLE, None, "cannot be mounted"),
    (FSTAB + 100 * "\0", WHOLE, WHOLE, None, NOT_FSTAB),
    (FSTAB + "ext4 defaults\n", WHOLE, WHOLE, None, NOT_FSTAB),
    (FSTAB + SWITCHED, WHOLE, WHOLE, None, NOT_FSTAB),
    (FSTAB.replace("ext4", "xxx"), WHOLE, WHOLE, None, NOT_FSTAB),
    (FSTAB.replace(f"/dev/{USED} ", f"{USED} "), WHOLE, WHOLE, None, NOT_FSTAB),
    ("", WHOLE, WHOLE, None, NOT_FSTAB),
])
def test_damage_is_told(root, old, new, system, fault):
    findings = {USED: old, OTHER: new}
    findings = {name: found if isinstance(found, Finding) else Finding(None, deviation=difference(WHOLE, found))
                for name, found in findings.items()}
    findings[ROOT] = root if isinstance(root, Finding) else Finding(None, fstab=root)
    judged, faults = verdict(findings, USED, FSTAB)
    assert judged == system and len(faults) == bool(fault) and all(told.startswith(fault) for told in faults)


def test_part_of_a_log_is_refused(tmp_path):
    log = writelog.Writer(tmp_path / "log")
    log.add(0, bytes(2 * SECTOR))
    content = (tmp_path / "log").read_bytes()
    assert len(writelog.read(tmp_path / "log")) == 1
    for size in (len(content) - 1, len(content) - 3 * SECTOR):
        (tmp_path / "log").write_bytes(content[:size])
        with pytest.raises(OSError, match="ends before the last of its 1 entries"):
            writelog.read(tmp_path / "log")
