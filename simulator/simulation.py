"""One update as ./simulate makes it: the instrument, its screen, the operator before it, the report."""

import contextlib
import fcntl
import functools
import os
import re
import shutil
import signal
import sys
import threading
import time
from pathlib import Path

from . import SOURCES, archive, report
from .build import Build
from .card import MIB
from .faults import SIGNAL_PAUSE, numbers_chosen
from .instrument import SYSTEM, VERSION_FILE, Instrument, Settings
from .namespaces import run_isolated
from .operator import Operator
from .outcome import DEAF, outcome, remarks
from .run import UPDATER_LOG, on_screen, qml_faults, updater
from .screen import Screen
from .screen_names import FLASH, MOMENTS, SIGNAL_SCREENS
from .watcher import Watcher

AUTHORITY = "/opt/simulator/Xauthority"
ROOM = 128 * MIB
SMALL_BALLAST_FILES = 2
HINTS = {"checking": ', which may be too brief to be seen: --delay "2@gzip -t" makes it last',
         "loaded": ", which is too brief to be seen"}
POLL_SECONDS = 0.005
CHANGES_SEEN, STANDSTILL_SECONDS = 4, 10  # changes of the screen that show it alive, and how long they are waited for
PARTITION_FULL = re.compile(r"No space left on device|Wrote only \d+ of")  # tar says this of a file that fits in part


def simulate(options, build_folder, job=None):
    """Prepares a run and makes it, or another job with the same arguments; returns the exit status."""
    build = (Build.arm(build_folder, options.program, options.effects) if options.arm
             else Build(build_folder, options.program))
    build.check()
    folder, _lock = open_folder(options.keep)
    file = options.archive.absolute() if options.archive else archive.sample(
        build, SMALL_BALLAST_FILES if options.power_cuts else archive.BALLAST_FILES, not options.setup_without_sync)
    return run_isolated(lambda: (job or run)(options, build, folder, file))


def open_folder(kept, kind="simulator"):
    """The folder of the instrument, locked for this run; a new instrument unless it is kept."""
    folder = (kept or SOURCES / "build" / kind / "last").absolute()
    try:
        folder.mkdir(parents=True, exist_ok=True)
    except (FileExistsError, NotADirectoryError):
        raise OSError(f"{folder} cannot be a folder: a file is in its place") from None
    there = {path.name for path in folder.iterdir()}
    if there and there.isdisjoint({"lock", "instrument.json"}):
        raise OSError(f"{folder} holds something else than a simulated instrument")
    lock = open(folder / "lock", "w")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        raise OSError(f"another simulation is using {folder}; give this one a folder with --keep") from None
    if not kept:
        for path in folder.iterdir():
            if path.is_dir() and not path.is_symlink():
                shutil.rmtree(path)
            elif path.name != "lock":
                path.unlink()
    return folder, lock


def settings_of(options, unpacked):
    """The settings that the options ask for, with partitions that an archive of that size fits into."""
    return Settings(
        options.running_version or Settings.running_version, options.board_version or Settings.board_version,
        options.partition_size * MIB if options.partition_size else partition_bytes_for(unpacked),
        language=options.language, board_connected=options.board == "connected", board_result=options.board_result,
        faults=tuple(options.fault), delays=dict(options.delay),
        signals=tuple((name, moment) for name, moment in options.signal if moment not in MOMENTS))


def partition_bytes_for(unpacked):
    """The size of system partitions into which an archive fits that takes so many bytes."""
    return max(Settings.partition_bytes, unpacked + unpacked // 8 + ROOM) // MIB * MIB


def run(options, build, folder, file):
    """One run, inside the namespaces; returns the updater's exit status."""
    unpacked = archive.unpacked_bytes(file) if options.archive else 0
    is_kept = (folder / "instrument.json").exists()
    instrument = Instrument(folder, build, settings_of(options, unpacked))
    warn_of_kept_instrument(options, is_kept)
    warn_of_small_card(instrument, options.partition_size, unpacked)
    before = report.state(instrument)
    with instrument:
        path = instrument.plug_in(file)
        arguments = ["-u", path] if options.updater_arguments is None else options.updater_arguments
        arguments += ["--debug"] * options.debug + ["--silent"] * options.silent
        findings = whole_run(instrument, arguments, options)
    findings |= {"before": before, "after": report.state(instrument)}
    if findings["after"]["partition"] and not findings["after"]["version"]:
        findings["remarks"].append(f"the system at the next start has no {SYSTEM}/{VERSION_FILE}, "
                                   "where the simulated instrument reads which one it runs")
    if findings["update"].result == "succeeded" and findings["mounted"] != findings["after"]["partition"]:
        findings["remarks"].append(f"a success that is none: the next start has another system on {SYSTEM} than is "
                                   "mounted now")
    report.write(findings, instrument.run_folder)
    return findings["exit_status"]


def whole_run(instrument, arguments, options):
    """Runs the updater in an instrument that is switched on; returns findings with the update's outcome."""
    findings = operate(instrument, arguments, options)
    findings["mounted"] = instrument.mounted_partition()
    findings["commands"] = instrument.commands()
    findings["lingered"] = lingered(instrument, findings)
    note_moments(options, findings)
    log = (instrument.run_folder / UPDATER_LOG).read_text(errors="replace")
    findings["update"] = outcome(findings, log, instrument.root.path, options.fault)
    findings["remarks"] += remarks(findings, log)
    return findings


def warn_of_kept_instrument(options, is_kept):
    """Says it when options are of no effect because the instrument is there already."""
    made_with = {"--running-version": options.running_version, "--board-version": options.board_version}
    ignored = [name for name, value in made_with.items() if value and is_kept]
    if ignored:
        print(f"the kept instrument goes on as it is: {' and '.join(ignored)} count only when it is made")


def warn_of_small_card(instrument, wanted_mib, unpacked):
    """Says it when the card of a kept instrument is smaller than what this run wants of it."""
    there = instrument.card.partition_bytes // MIB
    if wanted_mib and there != wanted_mib:
        print(f"the kept instrument's partitions stay at {there} MiB")
    if unpacked // MIB > there:
        print(f"the archive may not fit: it takes up to {unpacked // MIB} MiB, and the partitions have {there} MiB")
    sys.stdout.flush()


def lingered(instrument, findings):
    """The seconds for which the updater went on after its last command, the board's flash and the moments it passed."""
    over = findings.pop("over")
    return round(over - max([*instrument.last_work(), *findings["moments"].values()], default=over), 2)


def note_moments(options, findings):
    """Adds to the findings the signal that the updater got first, and remarks on moments that never came."""
    commands = [line for line, _ in findings["commands"]]
    came = {screen["name"] for screen in findings["screens"]} | set(findings.pop("moments"))
    asked = [("--fail" if kind == "exit" else "--fault", choice) for kind, choice in options.fault]
    asked += [("--delay", choice) for choice, _ in options.delay]
    asked += [("--signal", moment) for _, moment in options.signal if moment not in came]
    missed = [(option, choice) for option, choice in asked if not numbers_chosen(choice, commands)]
    findings["remarks"] += [f'{option}: no "{choice}" came{_hint(option, choice)}'
                            for option, choice in dict.fromkeys(missed)]
    deaf = [(name, moment) for name, moment in options.signal if name == "INT" and moment not in MOMENTS]
    if deaf:
        findings["remarks"].append(f"--signal{DEAF}")
    got = [asked for asked in options.signal if asked not in deaf and ("--signal", asked[1]) not in missed]
    findings["signal"] = got[0] if got else None


def _hint(option, choice):
    """What may help with a moment that has not come."""
    if option != "--signal":
        return ""
    return HINTS.get(choice, "" if choice in MOMENTS else f"; the screens are {', '.join(SIGNAL_SCREENS)}")


def operate(instrument, arguments, options):
    """Runs the updater until it ends by itself, on this display or before an operator; returns findings."""
    if os.environ.get("DISPLAY") and not options.virtual:
        if any(moment in MOMENTS for _, moment in options.signal) or any(kind == "hang" for kind, _ in options.fault):
            raise OSError("screens and the flash are recognised on the virtual screen only: add --virtual")
        with updater(instrument, arguments, this_display(instrument)) as running:
            return ended(running, time.monotonic())
    pictures = instrument.run_folder / "pictures"
    pictures.mkdir()
    moments, remarks = {}, []
    with Screen(*options.size) as screen, Watcher(screen) as watcher:
        started = time.monotonic()
        with on_screen(instrument, screen, arguments) as running:
            hooks = {moment: functools.partial(send, running, moment, options.signal, moments) for moment in MOMENTS}
            hooks["stopped"] = running.process.kill
            with (as_soon_as(lambda: not instrument.board_version(), hooks[FLASH]),
                  as_soon_as(instrument.hangs, lambda: release(instrument, watcher, remarks)),
                  Operator(watcher, pictures, options.answer, hooks) as operator):
                findings = ended(running, started)
    findings["screens"] = [vars(passed) for passed in operator.passed]
    findings["answer"], findings["moments"] = operator.answered, moments
    findings["remarks"] += operator.remarks + remarks
    return findings


def send(running, moment, signals, moments):
    """Sends the signals that a moment brings, and notes when it came."""
    moments[moment] = time.time()
    for name in [name for name, asked in signals if asked == moment]:
        running.process.send_signal(signal.Signals[f"SIG{name}"])
        time.sleep(SIGNAL_PAUSE)


def release(instrument, watcher, remarks):
    """Lets a command that hangs go on once the screen was seen alive; without that after some seconds."""
    until, seen = time.monotonic() + STANDSTILL_SECONDS, set()
    while len(seen) <= CHANGES_SEEN and time.monotonic() < until:
        seen.add(watcher.changed)
        time.sleep(POLL_SECONDS)
    if len(seen) <= CHANGES_SEEN:
        remarks.append(f"the screen stood still for {STANDSTILL_SECONDS} s while a command hung")
    instrument.release()


@contextlib.contextmanager
def as_soon_as(condition, action):
    """Meanwhile a thread waits for the condition, and then acts, once."""
    over = threading.Event()

    def wait():
        while not over.wait(POLL_SECONDS):
            if condition():
                return action()

    thread = threading.Thread(target=wait, daemon=True)
    thread.start()
    try:
        yield
    finally:
        over.set()
        thread.join()


def ended(running, started):
    """Findings about a run, as soon as the updater has ended."""
    status, over = running.wait(timeout=None), time.time()
    if status == 128 + signal.SIGKILL:
        running.instrument.wait_for_commands()
    remarks = [f"the QML engine complained: {line}" for line in qml_faults(running.output())]
    if PARTITION_FULL.search(running.output()):
        room = running.instrument.card.partition_bytes // MIB
        remarks.append(f"a partition ran full: each has {room} MiB (--partition-size gives a new instrument more)")
    return {"exit_status": status, "seconds": round(time.monotonic() - started, 1), "screens": [], "answer": None,
            "moments": {}, "over": over, "remarks": remarks}


def this_display(instrument):
    """The environment for a window on the display that this program was started on."""
    instrument.root.share_displays()
    environment = {"DISPLAY": os.environ["DISPLAY"], "QT_QPA_PLATFORM": "xcb", "LIBGL_ALWAYS_SOFTWARE": "1"}
    authority = Path(os.environ.get("XAUTHORITY", Path.home() / ".Xauthority"))
    if authority.is_file():
        instrument.root.bind(authority, AUTHORITY, "ro")
        environment["XAUTHORITY"] = AUTHORITY
    return environment
