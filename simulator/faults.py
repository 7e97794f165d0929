"""The shell of the instrument, which notes the updater's command lines and lets some of them meet a fault, wait
or bring a signal; and stand-ins for commands that only claim to work.

Of the command lines one is chosen by how it begins. "sync#2" chooses the second that begins with "sync";
without such a number all of them are chosen, and the first for a signal.
"""

import re
import shlex
from pathlib import Path

from .card import MARKS, SECTOR

SHELL = Path(__file__).with_name("faults.sh")  # what the logging shell knows of them
LOG_FOLDER = "/opt/simulator/log"
COMMAND_LOG = "commands.log"
HANGING, RELEASED, IO_ERROR = "hanging", "released", "io-error"  # files there, which faults.sh knows
UPDATER_NAME = "vrk-updater"
MARK_COMMAND = "/opt/simulator/mark"
SIGNAL_PAUSE = 0.3  # seconds after each signal, in which the updater takes notice of it

NOT_RUN = ("exit", "signal", "claim", "no-shell")

# What a command line meets, by the names of --fault, and what the shell does for it.
KINDS = {
    "exit": "fail 1",
    "signal": "die",
    "no-shell": "fail 127",  # what system() tells then
    "claim": "fail 0",
    "hang": "hang",
    "full": "make_full",
    "read-only": "make_read_only",
    "io": "break_card",
    "unplug": "pull_drive",
}

# The kernel names the process that asks, so scripts and commands further down are not noted.
LOGGING_SHELL = """\
#!/bin/dash
IFS= read -r asking < /proc/$PPID/comm
[ "$asking" = {updater} ] && [ "$1" = -c ] || exec /bin/dash "$@"
[ "$2" = -- ] && line=$3 || line=$2
log={log} new={new}
printf '%s' "$line" >> $log/commands.log
[ ! -x {mark} ] || {mark} "$line"

# How many command lines begin like that, this one included.
count() {{
    number=0
    while IFS= read -r noted || [ -n "$noted" ]; do
        case $noted in "$1"*) number=$((number + 1)) ;; esac
    done < $log/commands.log
    echo $number
}}

{faults}
{rules}
/bin/dash "$@"
status=$?
$after
finish $status
"""

# Past the kernel's memory, so that the mark comes after all that has been written to the card, and before what follows.
MARK = """\
#!/bin/dash
printf '%-{bytes}.{bytes}s' "$1" | /bin/dd of=/dev/{device} bs={bytes} iflag=fullblock oflag=direct status=none
"""

# For an instrument without a card: what is asked for is said to be mounted.
CLAIMS = {
    "mount": '#!/bin/dash\n[ $# -gt 0 ] || echo "/dev/mmcblk1p3 on /usr/local type ext4 (rw)"\n',
    "umount": "#!/bin/dash\n",
}


def install_logging_shell(root, faults=(), delays=None, signals=(), new_partition=""):
    """Replaces /bin/sh by one that notes each command line of the updater, and its exit status behind a tab.

    faults are pairs of one of KINDS and the choice of the command lines that meet it, delays maps choices to
    seconds that pass before the command, and signals are pairs of a signal's name and the choice of the command
    line that brings it: the updater has it before the command starts.
    """
    rules = [_rule(choice, f"kill -{name} $PPID; sleep {SIGNAL_PAUSE}", each=False) for name, choice in signals]
    rules += [_rule(choice, f"sleep {seconds}") for choice, seconds in (delays or {}).items()]
    rules += [_rule(choice, KINDS[kind]) for kind, choice in faults]
    root.write("/usr/bin/sh", LOGGING_SHELL.format(
        updater=UPDATER_NAME, log=LOG_FOLDER, new=new_partition, mark=MARK_COMMAND, rules="\n".join(rules),
        faults=SHELL.read_text(encoding="utf-8")), executable=True)


def install_marks(root):
    """Lets each command line of the updater leave a mark in the log of the card's writes; so does MARK_COMMAND."""
    root.write(MARK_COMMAND, MARK.format(bytes=SECTOR, device=MARKS), executable=True)


def install_claims(root):
    """Replaces mount and umount by commands that do nothing and succeed."""
    for name, text in CLAIMS.items():
        root.write(f"/usr/bin/{name}", text, executable=True)


def read_command_log(text):
    """The command lines of a log, each with its exit status, None where it did not end."""
    return [(line, int(status) if status else None) for line, status in re.findall(r"(?s)(.+?)(?:\t(\d+)\n|\Z)", text)]


def numbers_chosen(choice, commands):
    """Which of the command lines are chosen, by their indices."""
    beginning, number = _read(choice)
    alike = [at for at, line in enumerate(commands) if line.startswith(beginning)]
    return alike[number - 1:number] if number else alike


def _rule(choice, action, each=True):
    beginning, number = _read(choice)
    if not (number or each):
        number = 1
    which = f"[ $(count {shlex.quote(beginning)}) -ne {number} ] || " if number else ""
    return f"case $line in {shlex.quote(beginning)}*) {which}{{ {action}; }} ;; esac"


def _read(choice):
    """The beginning and the number of a choice."""
    beginning, number = re.fullmatch(r"(?s)(.+?)(?:#([1-9]\d*))?", choice).groups()
    return beginning, number and int(number)
