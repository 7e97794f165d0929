"""Every power cut of an update: a run whose writes to the card are logged, and the card that each cut leaves."""

import json
import random
import shlex
import shutil
import tempfile
import time
from dataclasses import asdict, dataclass, replace
from pathlib import Path

from . import archive, report
from .card import MIB, PARTITIONS
from .cuts import IN_ORDER, NOTHING, Cut, History, cuts_between_flushes, every_cut
from .instrument import BOARD_STATE, CARD_BEFORE, DRIVE, FSTAB, WRITE_LOG, Instrument
from .judge import MEMORY, NEW, Judge, difference, look_at_all, verdict
from .simulation import as_soon_as, settings_of, whole_run

BROKEN_STATUS = 1
SHORT = "short"
REPORT = "power-cuts.json"
HEADINGS = {"running": "While this ran", "points": "Points", "old": "Whole old", "new": "Whole new",
            "broken": "Broken"}
FLASH_MARK, END_MARK = "the board's flash", "the end, switching off"
LEAST_PARTITION = 64 * MIB
PARTS, SHORT_PARTS = 5, 200  # random parts: at each entry of the log, or in all
LABEL_LENGTH, BROKEN_TOLD = 60, 10


@dataclass
class Row:
    """What ran, and which systems the cuts meanwhile have left whole."""

    running: str
    points: int = 0
    old: int = 0
    new: int = 0
    broken: int = 0


def sweep(options, build, folder, file):
    """Makes the update and its power cuts; returns 0 when each leaves a whole instrument, else BROKEN_STATUS.

    Raises OSError when the update fails or does not install the archive, and when there is no room for the work.
    """
    seed = random.randrange(1_000_000) if options.seed is None else options.seed
    instrument = Instrument(folder, build, _settings(options, file))
    before = report.state(instrument)
    findings = _update(instrument, file, options)
    findings |= {"before": before, "after": report.state(instrument)}
    report.write(findings, instrument.run_folder)
    if findings["exit_status"] != 0:
        raise OSError("the update has failed, so there are no power cuts of it to look at")
    if {before["partition"], findings["after"]["partition"]} != set(PARTITIONS):
        raise OSError(f"{FSTAB} does not name one system partition before the update and the other one after it, "
                      "so there are no power cuts to look at")

    history = _history(instrument.run_folder, seed, options)
    cuts = (cuts_between_flushes(history, SHORT_PARTS, seed) if options.power_cuts == SHORT
            else every_cut(history, PARTS))
    print(f"\n{len(cuts)} power cuts at {len(history.entries)} writes, flushes and marks, seed {seed}", flush=True)
    results = _judged(instrument, history, cuts, findings, archive.system_of_archive(file))
    results |= {"seed": seed, "options": f"--seed {seed} --card-unit {options.card_unit}"
                + " --card-without-flush" * options.card_without_flush}
    restart = _start_after_flash_cut(instrument, history, file, options, build)
    if not restart and before["board"] != findings["after"]["board"]:
        raise OSError("the board's flash was not seen, so there is no cut in it to look at")
    if restart:
        restart["succeeded"] = _has_succeeded(restart, findings)
    results["start_after_flash_cut"] = restart
    (instrument.run_folder / REPORT).write_text(json.dumps(results, indent=2) + "\n")
    return _tell(results, instrument.run_folder)


def make_card(options):
    """Makes the card that a cut has left in a run, as --make-card asks for it.

    Raises OSError when there is no such run or cut, and OSError or CalledProcessError when there is no room for it.
    """
    run, cut, image = Path(options.make_card[0]), Cut.parse(options.make_card[1]), options.make_card[2]
    history = _history(run, options.seed, options)
    if cut.position > len(history.entries):
        raise OSError(f"the log of {run} has only {len(history.entries)} entries")
    history.make_card(run / CARD_BEFORE, cut, image)
    print(f"{image}: the card after the cut {cut}, while this ran: {history.mark(cut.position)[1]}")
    return 0


def _history(run, seed, options):
    return History(run / WRITE_LOG, seed, options.card_unit, not options.card_without_flush)


def _settings(options, file):
    """Those of a run, with a card that is no larger than the archive needs, so that looking at it is quick."""
    unpacked = archive.unpacked_bytes(file)
    settings = settings_of(options, unpacked)
    if not options.partition_size:
        settings = replace(settings, partition_bytes=(LEAST_PARTITION + unpacked * 9 // 8) // MIB * MIB)
    return replace(settings, log_writes=True)


def _update(instrument, file, options):
    """One silent update; returns findings about the run."""
    with instrument:
        with _flash_seen(instrument):
            findings = whole_run(instrument, ["-u", instrument.plug_in(file), "--silent"], options)
        instrument.mark(END_MARK)
    return findings


def _flash_seen(instrument):
    """Meanwhile marks the beginning of the board's flash, and keeps what a cut in it would leave of the board."""
    def mark():
        shutil.copy(instrument.folder / "board" / BOARD_STATE, instrument.run_folder)
        instrument.mark(FLASH_MARK)

    return as_soon_as(lambda: not instrument.board_version(), mark)


def _judged(instrument, history, cuts, findings, brought):
    """The rows of the table, and what is wrong where something is.

    brought is the archive's system. Raises OSError when the update has not installed all of it.
    """
    started, card, card_before = time.monotonic(), instrument.card, instrument.run_folder / CARD_BEFORE
    old, new = (findings[when]["partition"] for when in ("before", "after"))
    first, last = Cut(0, NOTHING), Cut(len(history.entries), IN_ORDER)
    with tempfile.TemporaryDirectory(dir=MEMORY) as memory:
        judge = Judge(history, card, card_before, Path(memory))
        fstab, systems = judge.fstab(first), {old: judge.system(old, first), new: judge.system(new, last)}
    beside_archive = difference(brought, systems[new])
    if brought.keys() - systems[new].keys():
        raise OSError(f"the update has not installed the whole archive ({beside_archive}), so the new system is no "
                      "measure for power cuts")
    found, contents = look_at_all(history, cuts, card, card_before, systems)
    rows, broken = {}, []
    for cut, of_partitions in zip(cuts, found):
        system, faults = verdict(of_partitions, old, fstab)
        number, running = history.mark(cut.position)
        row = rows.setdefault(number, Row(running.replace(f"{DRIVE}/", "")))
        row.points += 1
        if faults:
            row.broken += 1
            broken.append({"cut": str(cut), "running": row.running, "faults": faults})
        elif system == NEW:
            row.new += 1
        else:
            row.old += 1
    return {"rows": [asdict(row) for row in rows.values()], "broken": broken, "contents": contents,
            "beside_archive": beside_archive, "seconds": round(time.monotonic() - started, 1)}


def _start_after_flash_cut(instrument, history, file, options, build):
    """Cuts the power at a random moment of the board's flash and starts again with the same drive.

    Returns what came of that; None when the board was not flashed.
    """
    positions = [position for position in range(len(history.entries) + 1) if history.mark(position)[1] == FLASH_MARK]
    if not positions:
        return None
    cut = Cut(random.Random(history.seed).choice(positions), IN_ORDER)
    folder = instrument.run_folder / "after-flash-cut"
    (folder / "board").mkdir(parents=True)
    shutil.copy(instrument.folder / "instrument.json", folder)
    shutil.copy(instrument.run_folder / BOARD_STATE, folder / "board")
    restarted = Instrument(folder, build, instrument.settings)
    history.make_card(instrument.run_folder / CARD_BEFORE, cut, restarted.card.image)
    board = restarted.board_version()
    findings = _update(restarted, file, options)
    return {"cut": str(cut), "board": board, "exit_status": findings["exit_status"], "after": report.state(restarted)}


def _has_succeeded(restart, findings):
    """Whether that start has flashed the board again, and the new system is now on the other partition."""
    wanted = {"partition": findings["before"]["partition"], "version": findings["after"]["version"],
              "board": findings["after"]["board"]}
    return restart["exit_status"] == 0 and not restart["board"] and wanted.items() <= restart["after"].items()


def _tell(results, run):
    """Prints the table and what is broken; returns the exit status."""
    rows, broken, restart = results["rows"], results["broken"], results["start_after_flash_cut"]
    numbers = [key for key in rows[0] if key != "running"]
    total = {"running": "in all"} | {key: sum(row[key] for row in rows) for key in numbers}
    print()
    for row in [HEADINGS, dict.fromkeys(numbers, "---:") | {"running": "---"}, *rows, total]:
        print(f"| {_label(row['running']):{LABEL_LENGTH}} | {' | '.join(f'{row[key]:>9}' for key in numbers)} |")
    print(f"\n{results['contents']} different contents of partitions were looked at in {results['seconds']} s")
    print(f"the new system compared with the archive: {results['beside_archive'] or 'the same'}")
    if restart:
        after, ending = restart["after"], "succeeded" if restart["succeeded"] else "FAILED"
        print(f"next start after the cut {restart['cut']} in the board's flash: {ending}; "
              f"board {restart['board'] or 'without firmware'} -> {after['board']}, "
              f"{after['version']} on {after['partition']}")
    for cut in broken[:BROKEN_TOLD]:
        print(f"\nbroken by the cut {cut['cut']}, while this ran: {cut['running']}")
        print("\n".join(f"    {fault}" for fault in cut["faults"]))
        print(f"    this card: ./simulate --make-card {shlex.quote(str(run))} {cut['cut']} FILE {results['options']}")
    if len(broken) > BROKEN_TOLD:
        print(f"\n{len(broken) - BROKEN_TOLD} more broken ones are in {run / REPORT}")
    return BROKEN_STATUS if broken or (restart and not restart["succeeded"]) else 0


def _label(text):
    """A command line as a table in Markdown can hold it."""
    text = text.replace("|", "\\|")
    return text if len(text) <= LABEL_LENGTH else f"{text[:LABEL_LENGTH - 1]}…"
