"""The command line of ./simulate."""

import argparse
import re
import signal
import subprocess
import sys
from pathlib import Path

from . import SOURCES
from .build import ARM_PROGRAM, NATIVE_PROGRAM, NOT_POSSIBLE, NotPossible, make, require_devices, require_served_card
from .faults import KINDS
from .languages import LOCALES
from .namespaces import OWN_FAILURE
from .screen_names import SIGNAL_SCREENS

SIGNALS = ("TERM", "INT", "KILL")

DESCRIPTION = """\
Builds the updater and runs it in a simulated instrument: a private root file system with two real
system partitions, a measurement board and a USB drive with an update archive, which is really
installed. With a display ($DISPLAY) the window opens there; without one the updater runs on a
virtual screen, where an automatic operator answers yes, presses Reboot and takes a picture of each
screen that it sees. At the end it says what became of the update, and why. Needs root. Nothing outside
is changed."""

EPILOG = """\
The updater's arguments behind "--" take the place of "-u <archive>".

Exit status: the updater's own; with --power-cuts 0 when every cut leaves a whole instrument and 1 when
one does not; 125 when the simulation itself fails, 77 where it is not possible,
128 + the signal when interrupted. DIR/latest/report.json holds the closing report for programs."""


class Parser(argparse.ArgumentParser):
    """Keeps the status 125 for the simulation itself."""

    def error(self, message):
        self.exit(OWN_FAILURE, f"{self.prog.removeprefix('./')}: {message} (see {self.prog} --help)\n")


def command(text):
    """How a command line of the updater begins, with the number behind it that faults.py describes."""
    if not text.strip() or text[0] in "#@":
        raise argparse.ArgumentTypeError(f"{text!r} is not how a command begins")
    return text


def seconds_at_command(text):
    """SECONDS@COMMAND as a pair of the command and the seconds."""
    seconds, _, beginning = text.partition("@")
    if not re.fullmatch(r"\d+(\.\d+)?", seconds) or not beginning:
        raise argparse.ArgumentTypeError(f'{text!r} is not seconds, @, and how a command begins, as "3@tar xvzf"')
    return command(beginning), float(seconds)


def failing_command(text):
    """The fault that --fail means."""
    return "exit", command(text)


def fault_at_command(text):
    """KIND@COMMAND as a pair of the kind of fault and the command."""
    kind, _, beginning = text.partition("@")
    if kind not in KINDS or not beginning:
        raise argparse.ArgumentTypeError(f"{text!r} is not one of {', '.join(KINDS)}, @, and how a command begins")
    return kind, command(beginning)


def screen_size(text):
    """WxH as a pair of numbers; the updater's window cannot be smaller than the smallest."""
    width, _, height = text.partition("x")
    if not (width.isdigit() and height.isdigit() and int(width) >= 800 and int(height) >= 480):
        raise argparse.ArgumentTypeError(f"{text!r} is not WIDTHxHEIGHT, from 800x480 on")
    return int(width), int(height)


def signal_at_moment(text):
    """NAME@MOMENT as a pair of the signal's name and the moment."""
    name, _, moment = text.partition("@")
    if name not in SIGNALS or not moment:
        raise argparse.ArgumentTypeError(f"{text!r} is not one of {', '.join(SIGNALS)}, @, and a screen or how a "
                                         'command begins, as "TERM@confirm"')
    return name, command(moment)


def mebibytes(text):
    """A size that ext4 can have."""
    if not text.isdigit() or int(text) < 16:
        raise argparse.ArgumentTypeError(f"{text!r} is no number of MiB from 16 on")
    return int(text)


def make_parser():
    parser = Parser(prog="./simulate", usage="%(prog)s [OPTION]... [-- UPDATER-ARGUMENT...]", add_help=False,
                    allow_abbrev=False, description=DESCRIPTION, epilog=EPILOG,
                    formatter_class=lambda prog: argparse.RawDescriptionHelpFormatter(
                        prog, max_help_position=27, width=102))

    update = parser.add_argument_group("The update")
    update.add_argument("--silent", action="store_true", help="unattended run")
    update.add_argument("--debug", action="store_true", help="debug records in the log")
    update.add_argument("--archive", type=Path, metavar="FILE",
                        help="an archive of your own (default: a generated sample of some 40 MB)")
    update.add_argument("--arm", action="store_true",
                        help="the real ARM executable, emulated, in an ARM root file system (which the first run "
                        "makes, in some minutes); the screens lack background and icons")
    update.add_argument("--effects", action="store_true",
                        help="with --arm: complete screens, which take several times as long")

    made = parser.add_argument_group("The instrument, when it is made")
    made.add_argument("--running-version", metavar="V", help="of the system in use (3.4.0)")
    made.add_argument("--board-version", metavar="V", help="of the board's firmware (2.06)")
    made.add_argument("--partition-size", type=mebibytes, metavar="MIB",
                      help="of both system partitions (512, or what the archive needs and some room)")

    instrument = parser.add_argument_group("The instrument")
    instrument.add_argument("--keep", type=Path, metavar="DIR",
                            help="keeps the instrument in DIR, and each run's logs, pictures and report; a later run "
                            "with this DIR goes on with it (default: a new one in build/simulator/last)")
    instrument.add_argument("--board", choices=("absent", "connected"), default="connected",
                            metavar="STATE", help="the measurement board: absent or connected (%(default)s)")
    instrument.add_argument("--board-result", type=int, metavar="CODE", default=0,
                            help="what flashing ends with, for example 58 (0: success)")
    instrument.add_argument("--language", type=int, choices=range(1, len(LOCALES) + 1), metavar="N", default=1,
                            help=f"language number of the settings, 1 to {len(LOCALES)} (1: English)")
    instrument.add_argument("--fail", type=failing_command, action="append", default=[], dest="fault",
                            metavar="COMMAND",
                            help='commands of the updater that begin like this fail: "mount /dev"; only the second '
                            'of them: "sync#2" (so in the next three, too)')
    instrument.add_argument("--fault", type=fault_at_command, action="append", default=[], metavar="KIND@COMMAND",
                            help='such commands meet another fault: "full@tar xvzf"; of '
                            + ", ".join(kind for kind in KINDS if kind != "exit"))
    instrument.add_argument("--delay", type=seconds_at_command, action="append", default=[], metavar="S@COMMAND",
                            help='such commands take S seconds longer: "3@tar xvzf"')

    operator = parser.add_argument_group("The operator (virtual screen)")
    operator.add_argument("--answer", choices=("yes", "no"), default="yes", metavar="yes|no",
                          help="to the question (%(default)s)")
    operator.add_argument("--signal", type=signal_at_moment, action="append", default=[], metavar="NAME@MOMENT",
                          help="sends the updater TERM, INT or KILL when a screen comes, as TERM@confirm (of "
                          f"{', '.join(SIGNAL_SCREENS)}), in the board's flash (flash), or before the first command "
                          'that begins like this: "TERM@tar xvzf"; given twice it comes twice')
    operator.add_argument("--size", type=screen_size, metavar="WxH", default=(800, 480),
                          help="of the screen (800x480)")
    operator.add_argument("--virtual", action="store_true",
                          help="a virtual screen even where $DISPLAY names one")

    cuts = parser.add_argument_group("Power cuts (docs/power-cuts.md)")
    cuts.add_argument("--power-cuts", nargs="?", choices=("all", "short"), const="all", metavar="short",
                      help="a silent update, and then its card as a power cut leaves it: at each write and with "
                      "any part of what was not flushed; short: before each flush, and 200 random parts")
    cuts.add_argument("--setup-without-sync", action="store_true",
                      help="the sample archive's setup script does not end with sync")
    cuts.add_argument("--card-unit", type=int, choices=(512, 4096), metavar="BYTES", default=4096,
                      help="what a card keeps or loses as one, 512 or %(default)s bytes")
    cuts.add_argument("--card-without-flush", action="store_true",
                      help="the card only claims to flush, so that it may lose all that a run has written")
    cuts.add_argument("--seed", type=int, metavar="N", help="for the random parts (default: another each time)")
    cuts.add_argument("--make-card", nargs=3, metavar=("RUN", "CUT", "FILE"),
                      help="makes the card that a cut of the run in this folder left, with the --seed and --card-... "
                      "options of that run")

    other = parser.add_argument_group("Other")
    other.add_argument("--build", type=Path, metavar="DIR",
                       help="a build folder to use as it is, without setting up and building")
    other.add_argument("--program", metavar="NAME",
                       help=f"the executable in it ({NATIVE_PROGRAM}, with --arm {ARM_PROGRAM})")
    other.add_argument("-h", "--help", action="help", help="this text")
    return parser


def parse(arguments):
    """The options; those behind "--" as updater_arguments, None when there is no "--"."""
    parser = make_parser()
    own, updater = arguments, None
    if "--" in arguments:
        at = arguments.index("--")
        own, updater = arguments[:at], arguments[at + 1:]
    options = parser.parse_args(own)
    options.updater_arguments = updater
    options.program = options.program or (ARM_PROGRAM if options.arm else NATIVE_PROGRAM)
    if options.effects and not options.arm:
        parser.error("--effects goes with --arm only; other builds draw them always")
    if options.setup_without_sync and (options.archive or not options.power_cuts):
        parser.error("--setup-without-sync goes with --power-cuts and the sample archive")
    if options.power_cuts and any(kind == "io" for kind, _ in options.fault):
        parser.error("--fault io@... does not go with --power-cuts, for which the card's writes are kept")
    if options.make_card and options.seed is None:
        parser.error("--make-card needs the --seed of the run")
    if options.silent and options.answer == "no":
        parser.error("--answer no does not go with --silent, where nothing is asked")
    if options.archive and not options.archive.exists():
        parser.error(f"there is no archive {options.archive}")
    return options


def main():
    """Sets up, builds, simulates; returns the exit status."""
    options = parse(sys.argv[1:])

    def run():
        if options.make_card:
            from .sweep import make_card
            return make_card(options)
        served = options.power_cuts or any(kind == "io" for kind, _ in options.fault)
        (require_served_card if served else require_devices)()
        folder = options.build.absolute() if options.build else make(*["--arm"] * options.arm)
        from .simulation import simulate  # What it imports may have been installed only now.
        if options.power_cuts:
            from .sweep import sweep
            return simulate(options, folder, sweep)
        return simulate(options, folder)

    return status_of(run, "simulate")


def tool_parser(name, description, preset="dev"):
    """The parser of a developers' command, such as "tools/try-faults", with the option that all of them have."""
    parser = argparse.ArgumentParser(prog=name, description=description,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=SOURCES / "build" / preset,
                        help=f"the build folder (build/{preset})")
    return parser


def status_of(run, name):
    """What run() returns, or the exit status for what keeps it from that, which is said."""
    try:
        return run()
    except KeyboardInterrupt:
        return 128 + signal.SIGINT
    except NotPossible as error:
        print(f"{name}: {error}", file=sys.stderr)
        return NOT_POSSIBLE
    except (OSError, subprocess.SubprocessError) as error:
        print(f"{name}: {error}", file=sys.stderr)
        return OWN_FAILURE
