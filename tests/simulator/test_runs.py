"""Whole updates in the simulated instrument: a row for each run, and what it leaves on real partitions."""

import os
import re
import shlex
import signal
import subprocess
import time
from functools import partial
from types import SimpleNamespace

import pytest
from simulator import SOURCES, archive, fault_tables, outcome
from simulator.build import require_devices
from simulator.card import MIB, PARTITIONS, other_partition
from simulator.faults import KINDS, numbers_chosen
from simulator.outside import Simulation
from simulator.screen_names import BRIEF

ARM = "VRK_ARM" in os.environ
PATIENCE_SECONDS = 500 if ARM else 60
PARTITION_MIB = 48
NAME = "zepra_update_v3.5.0.tar.gz"
PREPARE, SETUP = "usr/local/bin/zepra-prepare-update.sh", "usr/local/bin/zepra-setup.sh"
COMMANDS = "tests/installer/commands.txt"
INSTALLER = [line.split("\t") for line in (SOURCES / COMMANDS).read_text(encoding="utf-8").splitlines()
             if line and not line.startswith("#")]
GUIDE_SAYS = {"skips next": "skips the next", "goes on": "is ignored", "always": "is ignored",
              "ends": "ends the update", "ends after next": "tells which partition is in use"}
assert all(" ".join(columns[1:2]) in GUIDE_SAYS for columns in INSTALLER), \
    f"a line in {COMMANDS}; tst_vrkupdate tells which"
GUIDE = (SOURCES / "docs/how-an-update-runs.md").read_text(encoding="utf-8")


def installer_commands(archive, active, other):
    words = {"ARCHIVE": archive, "ACTIVE": active, "OTHER": other}
    return [re.sub("|".join(words), lambda found: words[found[0]], columns[0]) for columns in INSTALLER]


def packed(root, name=NAME, cut=0):
    """An archive of the system in root, of that name, without its last bytes."""
    made = archive.pack(root, "3.5.0", root.parent).rename(root.parent / name)
    os.truncate(made, made.stat().st_size - cut)
    return made


def changed(command):
    """An archive of what a shell command makes of the system."""
    def pack(root):
        subprocess.run(f"{command}; tar -czf ../{NAME} usr/local", shell=True, cwd=root, check=True)
        return root.parent / NAME
    return pack


# How a simulation is started, and what it must come to, unless a row says otherwise. The "old" partition is the
# one in use at the start, the "new" one the other. Run are the commands that do not begin as `without` does, up
# to the one that begins as `until` does. The first lines of the report say all that `says` lists.
DEFAULTS = {"before": None, "pack": packed, "status": 0, "mounted": "new", "boots": "new",
            "board": "2.07", "until": "end", "without": "nothing", "screens": None, "log": "", "remark": "none",
            "says": "succeeded"}
UNTOUCHED = {"mounted": "old", "boots": "old", "board": "2.06"}
HALF_WAY = {"mounted": "new", "boots": "old", "board": "2.06"}
NO_MOUNT = {"mounted": None, "boots": "old", "board": "2.06"}
ASKED, ERROR = "welcome confirm", "welcome installing error"
AWKWARD = "it's a \"new\" $(reboot) " + NAME
GONE = "/media/usb/zepra_update_v9.tar.gz"
BIG = f"truncate -s {PARTITION_MIB + 8}M usr/local/lib/big"
REFUSED = "Update is not supported on non-ARM platforms"
SHOWN = 'on the screen: "Error upgrading firmware"'
IGNORED = "does not end an update"
SIMULATED = f"(exit status 1); {SHOWN} & simulated by --fail"


def row(name, options="--silent", arm=False, **others):
    assert others.keys() <= DEFAULTS.keys()
    run = SimpleNamespace(options=options, **DEFAULTS | others)
    return pytest.param(run, id=name, marks=[pytest.mark.arm] * arm)  # arm: worth the emulator's time, too


RUNS = [
    row("silent", arm=True),
    row("interactive", "--language 2 --delay 2@gzip" + " --effects" * ARM, arm=True,
        screens="welcome confirm checking installing final"),
    row("back again", "--silent --language 2", before="--silent --language 2", arm=True,
        log="Versions are the same, ignoring ATMEGA update"),
    row("no", "--answer no", **UNTOUCHED, until=None, screens=ASKED, says="refused", arm=True),
    row("board absent", "--silent --board absent", board="2.06", log="board not connected, ignoring", arm=True),
    row("flash fails", "--board-result 61 --language 5", board="2.06", screens=f"{ASKED} installing error",
        says='(result 61); on the screen: "Error upgrading measurement board firmware" & Another instance'),
    row("flash fails, silent", "--silent --board-result 58", board="2.06", status=1, says="(result 58)\n", arm=True),
    row("no archive named", "--", **UNTOUCHED, until=None, screens="welcome error", says="Please check USB drive"),
    row("archive gone", f"-- -u {GONE}", **UNTOUCHED, until=None, screens=f"{ASKED} error", log=f"not find file {GONE}",
        says="Required update files missing"),
    row("archive truncated", pack=partial(packed, cut=1000), **UNTOUCHED, until="gzip", screens="welcome error",
        says='at: gzip -t & (exit status 1) & corrupt archive" & : unexpected end of file', arm=True),
    row("awkward name", pack=partial(packed, name=AWKWARD), arm=True),
    row("no firmware", pack=changed("rm usr/local/share/zentar/atmega/*"), board="2.06", screens=ERROR,
        says=f"board's firmware; {SHOWN} & brings no file ZEPRA_AFW_"),
    row("no prepare script", pack=changed(f"rm {PREPARE}"), without="chmod +x /tmp",
        remark="(exit status 2): tar: usr/local/bin/zepra-prepare-update.sh: Not found"),
    row("no setup script", pack=changed(f"rm {SETUP}"), **HALF_WAY, until="/usr", screens=ERROR,
        says=f"at: /{SETUP} (exit status 127); {SHOWN} & has no /{SETUP}", remark=IGNORED),
    row("setup script fails", pack=changed(f"echo 'echo why >&2; exit 3' >>{SETUP}"), **HALF_WAY, until="/usr",
        says="(exit status 3) & why\n"),
    row("nothing for the system", pack=changed("mv usr/local usr/lib; mkdir usr/local"), **HALF_WAY, until="/usr",
        without="chmod +x /tmp", says="brings nothing below usr/local", remark=IGNORED),
    row("board file broken", pack=changed("echo : >$(echo usr/local/share/zentar/atmega/*)"), board="2.06", status=1,
        says="(result 60) & Upgrade file error: /usr/local/share/zentar/atmega/ZEPRA_AFW_2.07.hex:1: "),
    row("setup script without interpreter", pack=changed(f"sed -i s:/bin/sh:/none: {SETUP}"), **HALF_WAY, until="/usr",
        says="its first line names"),
    row("partition full", pack=changed(BIG), **HALF_WAY, until="tar xvzf", screens=ERROR,
        says=f"at: tar xvzf & {SHOWN} & tar: usr/local/lib/big: ", remark="ran full: each has 48 MiB", arm=True),
    row("mount fails", "--silent --fail 'mount /dev'", **NO_MOUNT, until="mount /dev",
        says=f"at: mount /dev & {SIMULATED}"),
    row("the switch is only claimed", "--silent --fault claim@sed", boots="old", remark="a success that is none"),
    row("INT in the extraction", "--silent --delay '3@tar xvzf' --signal INT@installing",
        remark="has not ended the updater"),
    row("TERM in the extraction", "--silent --delay '1@tar xvzf' --signal 'TERM@tar xvzf'", **HALF_WAY,
        until="tar xvzf", says="stopped by SIGTERM at: tar xvzf; last command: tar xvzf", arm=True),
    row("TERM at the switch", "--silent --delay 1@sed --signal 'TERM@sed -i'", board="2.06",
        says="stopped by SIGTERM", arm=True),
    row("the product itself", "--silent --program vrk-updater", **UNTOUCHED, until="gzip", says=f"{SHOWN} & {REFUSED}"),
]


@pytest.fixture
def simulation(tmp_path, build, where_possible):
    where_possible(require_devices)
    made = where_possible(lambda: Simulation(tmp_path, build, PARTITION_MIB * MIB, ARM))
    yield made
    made.process.terminate()


@pytest.fixture
def root(simulation, tmp_path):
    """A folder with what an update archive brings."""
    archive.write_update(tmp_path / "root", "3.5.0", "2.07", simulation.parts.translations, ballast_files=0)
    return tmp_path / "root"


@pytest.mark.parametrize("run", RUNS)
def test_run(simulation, root, run):
    update, old = run.pack(root), PARTITIONS[0]
    if run.before:
        old = simulation.run(shlex.split(run.before), update, PATIENCE_SECONDS)[0]["after"]["partition"]
    untouched, partitions = simulation.card.digest(old), {"old": old, "new": other_partition(old), None: None}

    findings, output = simulation.run(shlex.split(run.options), update, PATIENCE_SECONDS)

    path = shlex.quote(f"/media/usb/{update.name}").replace("'\"'\"'", "'\\''")
    expected = [f"gzip -t {path}", *installer_commands(path, old, partitions["new"])]
    expected = [line for line in expected if not line.startswith(run.without)]
    ends = [number for number, line in enumerate(expected, 1) if line.startswith(run.until or "gzip")]
    assert simulation.commands() == (expected[:ends[0] if ends else None] if run.until else []), f"see {COMMANDS}"
    after = {"partition": partitions[run.boots], "board": run.board,
             "version": "3.4.0" if run.boots == "old" else "3.5.0"}
    assert (findings["exit_status"], findings["mounted"]) == (run.status, partitions[run.mounted])
    assert {name: findings["after"][name] for name in after} == after
    said = output.partition("exit status of the updater")[0]
    assert [words for words in run.says.split(" & ") if words not in said] == [], output
    remarks = findings["remarks"] or ["none"]
    assert not [remark for remark in remarks if run.remark not in remark], output
    log = simulation.output()
    assert run.log in log and "Could not load translations" not in log and '"gzip -t' not in log
    if run.screens:
        wanted = (run.screens.replace("error", "end") if ARM else run.screens).split()
        brief = set(BRIEF) - set(wanted)
        assert [screen["name"] for screen in findings["screens"] if screen["name"] not in brief] == wanted
    assert simulation.card.digest(old) == untouched, "the old partition was written"
    prepared = any(line.startswith("chmod +x /tmp") for line in simulation.commands())
    assert (simulation.folder / "data/prepare.log").exists() == prepared
    assert simulation.leftovers() == []
    if run.boots == "new":
        installed = simulation.system(partitions["new"])
        assert installed.pop(archive.SETUP_TRACE)
        assert installed == archive.system_of_archive(update)


@pytest.mark.arm
@pytest.mark.parametrize("number, status", [(signal.SIGINT, 128 + signal.SIGINT), (signal.SIGKILL, -signal.SIGKILL)])
def test_simulation_ended_in_the_extraction(simulation, root, number, status):
    update = packed(root)
    process = simulation.start(["--silent", "--delay", "3@tar xvzf"], update)
    while not any(line.startswith("tar xvzf") for line in simulation.commands()) and process.poll() is None:
        time.sleep(0.02)
    process.send_signal(number)
    process.communicate(timeout=PATIENCE_SECONDS)
    assert (process.returncode, simulation.leftovers()) == (status, [])
    assert simulation.run(["--silent"], update, PATIENCE_SECONDS)[0]["after"]["partition"] == PARTITIONS[1]


def test_the_words_are_those_of_the_screen():
    english = (SOURCES / "translations/vrk-updater_en.ts").read_text(encoding="utf-8")
    assert [words for words in outcome.WORDS if f"<source>{words}</source>" not in english] == []


def test_the_guide_has_the_commands():
    table = GUIDE.split("## The installer's commands")[1].split("\n## ")[0].replace("\\|", "|")
    rows = re.findall(rf"^\| `(.*?)`.*\| (\d* ?%?) ?\| ({'|'.join(GUIDE_SAYS.values())})", table, re.MULTILINE)
    percent = [f"{100 * float(columns[4].split()[0]):.0f} %" if columns[4:] else "" for columns in INSTALLER]
    assert rows == list(zip(installer_commands("<archive>", *PARTITIONS), percent,
                            [GUIDE_SAYS[columns[1]] for columns in INSTALLER]))


def test_every_fault_strikes_every_command():
    text = fault_tables.DOCUMENT.read_text(encoding="utf-8")
    document = fault_tables.Document(text)
    head, _, *rows = [list(map(fault_tables.plain, row)) for row in document.tables[fault_tables.COMMANDS]]
    commands = ["gzip -t <archive>", *installer_commands("<archive>", *PARTITIONS)]
    assert [number for row in rows for number in numbers_chosen(row[0], commands)] == list(range(len(commands)))
    assert head[1:] == [*KINDS, "kill"]
    endings = {trial: document.expected(trial) for trial in document.trials()}
    assert [str(trial) for trial, ending in endings.items() if not ending] == []
    document.put(endings)
    assert document.text() == text, "tools/try-faults --write would write it otherwise"
