"""The command line of ./emulate."""

import argparse
import sys
from fnmatch import fnmatch
from pathlib import Path

from ..build import make
from ..commandline import Parser, command, status_of
from ..languages import LOCALES

ARCHIVE_NAMES = "zepra_update_v*.tar.gz"

DESCRIPTION = """\
Builds the updater for ARM and boots an emulated instrument: a 32-bit ARM computer with a card, a USB
drive and a touch screen, whose system brings the updater's Debian package. The launcher starts the
updater, an operator touches "yes" and, with the drive taken out, "Reboot", and the instrument comes up
again. Each screen is kept as a picture. At the end it says what became of the instrument. Needs root;
what is missing is installed or made, once. Nothing outside is changed."""

EPILOG = """\
Exit status: 0 when the instrument came up in the end as it should: on the other partition after a
success, as before after anything else; 1 when it did not, and with --cut also when the cut has left no
whole system or the update after it has not succeeded; 125 when the emulation itself fails, 77 where it
is not possible, 128 + the signal when interrupted. DIR/latest/report.json holds the closing report for
programs."""


def parse(arguments):
    """The options."""
    parser = Parser(prog="./emulate", usage="%(prog)s [OPTION]...", add_help=False, allow_abbrev=False,
                    description=DESCRIPTION, epilog=EPILOG, formatter_class=lambda prog:
                    argparse.RawDescriptionHelpFormatter(prog, max_help_position=27, width=102))
    parser.add_argument("--archive", type=Path, metavar="FILE",
                        help="an archive of your own, named zepra_update_v<version>.tar.gz, as the launcher looks for "
                        "(default: a sample with the built package)")
    parser.add_argument("--language", type=int, choices=range(1, len(LOCALES) + 1), metavar="N", default=1,
                        help=f"language number of the settings, 1 to {len(LOCALES)} (1: English)")
    parser.add_argument("--answer", choices=("yes", "no"), default="yes", metavar="yes|no",
                        help="the operator's, to the question (%(default)s)")
    parser.add_argument("--cut", type=command, metavar="COMMAND",
                        help='the power fails while the updater runs the command that begins like this, such as '
                        '"tar xvzf" or "sync#2"; then the instrument boots and is updated again')
    parser.add_argument("--seed", type=int, metavar="N",
                        help="cuts at the same part of the command's writes as a run that said this number")
    parser.add_argument("--window", action="store_true",
                        help="shows the instrument in a window, or by VNC where there is no display; "
                        "you are the operator")
    parser.add_argument("--film", type=Path, metavar="FILE", help="also keeps the run as a moving picture (GIF)")
    parser.add_argument("--keep", type=Path, metavar="DIR",
                        help="keeps the instrument in DIR, and each run's log, pictures and report; a later run "
                        "with this DIR goes on with it (default: a new one in build/emulator/last)")
    parser.add_argument("--build", type=Path, metavar="DIR",
                        help="a build folder for ARM to use as it is, without setting up and building")
    parser.add_argument("-h", "--help", action="help", help="this text")
    options = parser.parse_args(arguments)
    if options.archive and not options.archive.is_file():
        parser.error(f"there is no archive {options.archive}")
    if options.archive and not fnmatch(options.archive.name, ARCHIVE_NAMES):
        parser.error(f"the launcher looks for {ARCHIVE_NAMES} only")
    if options.film and not options.film.absolute().parent.is_dir():
        parser.error(f"there is no folder for {options.film}")
    if options.seed is not None and not options.cut:
        parser.error("--seed goes with --cut only")
    return options


def main():
    """Sets up, builds, emulates; returns the exit status."""
    options = parse(sys.argv[1:])

    def run():
        folder = options.build.absolute() if options.build else make("--emulator")
        from .emulation import emulate  # What it imports may have been installed only now.
        return emulate(options, folder)

    return status_of(run, "emulate")
