"""Runs the updater once in a simulated instrument and reports what became of it."""

import argparse
import fcntl
import os
import shutil
import signal
import subprocess
import sys
from pathlib import Path

import report
import sample
from build import ARM_PROGRAM, NATIVE_PROGRAM, NOT_POSSIBLE, Build, NotPossible
from instrument import Instrument, Settings
from isolation import OWN_FAILURE, run_isolated
from operation import operate

SOURCES = Path(__file__).resolve().parent.parent
OFFERED_VERSION = "3.5.0"
OFFERED_FIRMWARE = "2.07"
SIGNALS = {"TERM": signal.SIGTERM, "INT": signal.SIGINT, "KILL": signal.SIGKILL}


class Parser(argparse.ArgumentParser):
    """Shows the one text about the options, and keeps the status 125 for the simulation itself."""

    def error(self, message):
        self.exit(OWN_FAILURE, f"simulate: {message} (see ./simulate --help)\n")


def command_and_number(text):
    """NAME or NAME:N as a pair of name and number, which is 1 unless given."""
    name, _, number = text.partition(":")
    if not name or "/" in name or not (number or "1").isdigit() or number == "0":
        raise argparse.ArgumentTypeError(f"{text!r} is not NAME or NAME:N")
    return name, int(number or 1)


def screen_size(text):
    """WxH as a pair of numbers."""
    width, _, height = text.partition("x")
    if not (width.isdigit() and height.isdigit() and int(width) and int(height)):
        raise argparse.ArgumentTypeError(f"{text!r} is not WIDTHxHEIGHT")
    return int(width), int(height)


def signal_at_moment(text):
    """NAME@MOMENT as a pair of signal number and moment."""
    name, _, moment = text.partition("@")
    if name not in SIGNALS or not moment:
        raise argparse.ArgumentTypeError(f"{text!r} is not one of {', '.join(SIGNALS)}, @, and a moment")
    return SIGNALS[name], moment


def parse(arguments):
    """The options; those behind "--" as updater_arguments, None when there is no "--"."""
    parser = Parser(add_help=False, allow_abbrev=False)
    parser.add_argument("--silent", action="store_true")
    parser.add_argument("--debug", action="store_true")
    parser.add_argument("--archive", type=Path)
    parser.add_argument("--running-version", default=Settings.running_version)
    parser.add_argument("--board-version", default=Settings.board_version)
    parser.add_argument("--board", choices=("absent", "connected"), default="connected")
    parser.add_argument("--board-result", type=int, default=0)
    parser.add_argument("--language", type=int, default=Settings.language)
    parser.add_argument("--fail", type=command_and_number, action="append", default=[])
    parser.add_argument("--delay", type=command_and_number, action="append", default=[])
    parser.add_argument("--keep", type=Path)
    parser.add_argument("--answer", choices=("yes", "no"), default="yes")
    parser.add_argument("--signal", type=signal_at_moment)
    parser.add_argument("--size", type=screen_size, default=(800, 480))
    parser.add_argument("--virtual", action="store_true")
    parser.add_argument("--arm", action="store_true")
    parser.add_argument("--effects", action="store_true")
    parser.add_argument("--build", type=Path)
    parser.add_argument("--program")
    own, updater = arguments, None
    if "--" in arguments:
        at = arguments.index("--")
        own, updater = arguments[:at], arguments[at + 1:]
    options = parser.parse_args(own)
    options.updater_arguments = updater
    options.program = options.program or (ARM_PROGRAM if options.arm else NATIVE_PROGRAM)
    if options.effects and not options.arm:
        parser.error("--effects goes with --arm only; other builds draw them always")
    if options.archive and not options.archive.is_file():
        parser.error(f"there is no archive {options.archive}")
    return options


def preset_of(options):
    """The preset to build first; none for a build folder that is named."""
    return "" if options.build else "arm" if options.arm else "dev"


def build_of(options):
    """The parts to use; raises OSError or NotPossible when they are not there."""
    folder = (options.build or SOURCES / "build" / preset_of(options)).absolute()
    if options.arm:
        build = Build.arm(folder, options.program, options.effects)
    else:
        build = Build.native(folder, options.program)
    build.check()
    return build


def require_devices():
    """Raises NotPossible where the instrument's partitions cannot be had."""
    if os.geteuid() != 0 or not os.path.exists("/dev/loop-control"):
        raise NotPossible("needs root and loop devices for the instrument's partitions")


def settings_of(options):
    return Settings(options.running_version, options.board_version, options.board == "connected",
                    options.board_result, options.language, tuple(options.fail), tuple(options.delay))


def open_folder(options):
    """The folder of the instrument, locked for this run; a new instrument unless it is kept."""
    folder = (options.keep or SOURCES / "build" / "simulator" / "last").absolute()
    folder.mkdir(parents=True, exist_ok=True)
    if any(folder.iterdir()) and not (folder / "lock").exists():
        raise OSError(f"{folder} holds something else than a simulated instrument")
    lock = open(folder / "lock", "w")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        raise OSError(f"another simulation is using {folder}; give this one a folder with --keep") from None
    stale = ("log", "pictures") if options.keep else [path.name for path in folder.iterdir() if path.name != "lock"]
    for name in stale:
        shutil.rmtree(folder / name, ignore_errors=True)
        (folder / name).unlink(missing_ok=True)
    return folder, lock


def updater_arguments(options, archive_on_drive):
    chosen = options.updater_arguments
    if chosen is None:
        chosen = ["-u", archive_on_drive]
    return chosen + ["--debug"] * options.debug + ["--silent"] * options.silent


def run(options, build, folder, archive):
    """One run, inside the namespaces; returns the updater's exit status."""
    instrument = Instrument(folder, build, settings_of(options))
    before = report.take(instrument)
    with instrument:
        arguments = updater_arguments(options, instrument.plug_in_drive(archive))
        outcome = operate(instrument, arguments, options, folder)
        mounted = instrument.mounted_partition()
    findings = report.compile(before, report.take(instrument), mounted, outcome)
    report.write(findings, folder)
    return outcome.status


def simulate(options):
    """Prepares a run and makes it; returns the exit status."""
    build = build_of(options)
    folder, _lock = open_folder(options)
    archive = (options.archive or sample.sample_archive(
        SOURCES / "build" / "simulator" / "archives", OFFERED_VERSION, OFFERED_FIRMWARE,
        build.translations)).absolute()
    return run_isolated(lambda: run(options, build, folder, archive))


def main():
    arguments = sys.argv[1:]
    only_checking = arguments[:1] == ["--check"]
    options = parse(arguments[only_checking:])
    try:
        require_devices()
        if only_checking:
            if not options.build:
                print(preset_of(options), options.program)
            return 0
        return simulate(options)
    except NotPossible as error:
        print(f"simulate: {error}", file=sys.stderr)
        return NOT_POSSIBLE
    except (OSError, subprocess.SubprocessError) as error:
        print(f"simulate: {error}", file=sys.stderr)
        return OWN_FAILURE


if __name__ == "__main__":
    sys.exit(main())
