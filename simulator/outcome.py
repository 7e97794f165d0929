"""What became of an update, told from what a run shows and leaves behind; what that does not tell stays open."""

import os
import re
import signal
from dataclasses import dataclass, replace
from pathlib import Path

from .faults import NOT_RUN, numbers_chosen
from .screen_names import ENDINGS

SYSTEM_IN_ROOT = "usr/local"
FIRMWARE_FOLDER = f"{SYSTEM_IN_ROOT}/share/zentar/atmega"
FIRMWARE_NAME = re.compile(r"ZEPRA_AFW_.*\.hex", re.IGNORECASE)

ARCHIVE_TEST = "gzip -t"

# What the updater writes when it has come so far.
LIBRARY_READY = "VRK_Status: "
NO_ARCHIVE_NAMED = "init with mode:  1 "
ARCHIVE_MISSING = "Could not find file "
NO_INSTALLER = "Update is not supported on non-ARM platforms"
BOARD_COMPARED = "New ATMEGA version: "
BOARD_DONE = ("ATMEGA Firmware upgrade successfully", "Versions are the same, ignoring ATMEGA update",
              "Measurement board not connected, ignoring ATMEGA update")
SILENT_END = "Update finished successfully, please reboot the device"
COMMAND_TOLD = re.compile('^"(.*)"$', re.MULTILINE)
FLASH_FAILED = re.compile(r"Error upgrading firmware\. Error return:  (-?\d+)\n(.*)")
SCRIPT_FAILED = re.compile("CSetup script failed|prepare setup failed")
PROGRESS = "Progress update: "  # which another thread writes between a command's lines
LIBRARY_ERROR = re.compile(r" ERROR \[.*?\] (.+)")  # as the substitute of the instrument library writes it

# Its words on the screen, in English whatever the language.
NO_LIBRARY = "Failed to initialize VRK library"
NO_DRIVE = "Error upgrading firmware: Please check USB drive"
MISSING = "Required update files missing"
CORRUPT = "Error upgrading firmware: corrupt archive"
BROKEN = "Error upgrading firmware"
NOT_FLASHED = "Error upgrading measurement board firmware"
WORDS = (NO_LIBRARY, NO_DRIVE, MISSING, CORRUPT, BROKEN, NOT_FLASHED)

DEAF = ": while a command runs it is deaf to SIGINT"


@dataclass(frozen=True)
class Outcome:
    """How an update ended; None is what does not apply or cannot be told.

    `result` is "succeeded", "failed", "refused" (by the operator), "stopped by SIGTERM" (or another signal),
    "not begun" (where nobody watched why) or "unknown". `at` is where that was: a command line, a screen or
    plain words; `exit_status` that of the command line; `words` what the error screen says, and `reason` why
    it came; `last_command` the last that began before the update was stopped.
    """

    result: str
    at: str | None = None
    exit_status: int | None = None
    words: str | None = None
    reason: str | None = None
    last_command: str | None = None

    def __str__(self):
        """In one line, without the reason."""
        status = f" (exit status {self.exit_status})" if self.exit_status is not None else ""
        return (self.result + (f" at: {self.at}{status}" if self.at else "")
                + (f"; last command: {self.last_command}" if self.last_command else "")
                + (f'; on the screen: "{self.words}"' if self.words else ""))


def outcome(findings, log, root=None, faults=()):
    """The Outcome of a run.

    findings holds the updater's exit status, the screens passed (none where nobody watched), the commands
    with their exit statuses, the answer that was given to the question, and the signal and moment that
    came; log is the updater's output, root the folder that shows the instrument's files afterwards, and
    faults are the kinds of faults and the choices of the commands that were to meet them.
    """
    status, asked_to_end = findings["exit_status"], findings["signal"]
    screens = {screen["name"] for screen in findings["screens"]}
    over = bool(screens.intersection(ENDINGS)) if screens else not asked_to_end
    if status not in (0, 1):
        return _killed(status, findings)
    installed = any(line.startswith("sed -i") and ended == 0 for line, ended in findings["commands"])
    if installed and (SILENT_END in log or (over and any(text in log for text in BOARD_DONE))):
        return Outcome("succeeded")
    if not findings["commands"] and findings["answer"] == "no":
        return Outcome("refused")
    if asked_to_end and not over and status == 0:
        return _stopped(findings)
    if over or status == 1:
        failure = (_failure_at_the_board(log, root) if installed
                   else _failure(findings["commands"], log, root, faults))
        if failure:
            return replace(failure, words=None) if status == 1 else failure  # which shows no screen for long
    if not screens and not findings["commands"]:
        return Outcome("not begun", reason="the answer was no, or something else ended it: unwatched, both look alike")
    return Outcome("unknown", reason="neither the screens nor the output of the updater tell why it ended")


def remarks(findings, log):
    """In plain words what has not ended the update, though it might have: failures of commands, and a signal."""
    commands, update = findings["commands"], findings["update"]
    for number, (line, status) in enumerate(commands, 1):
        ignored = number < len(commands) or line == "sync"
        if status and ignored and not line.startswith("mount |"):
            words = _own_words(line, log)
            yield f"failed, which does not end an update: {line} (exit status {status}){f': {words}' if words else ''}"
    name, moment = findings["signal"] or (None, None)
    at_the_end = moment in (*ENDINGS, "leaving") and findings["screens"][-1]["name"] == moment
    if name and not update.result.startswith("stopped") and not at_the_end:
        yield f"--signal: SIG{name} at {moment} has not ended the updater" + DEAF * (name == "INT")


def _stopped(findings):
    name, moment = findings["signal"]
    last = findings["commands"][-1][0] if findings["commands"] else None
    return Outcome(f"stopped by SIG{name}", at=moment, last_command=last)


def _killed(status, findings):
    asked_to_end = findings["signal"]
    if status - 128 not in set(signal.Signals):
        return Outcome("failed", reason=f"the updater ended with status {status}")
    name = signal.Signals(status - 128).name
    if asked_to_end and name == f"SIG{asked_to_end[0]}":
        return _stopped(findings)
    return Outcome("failed", reason=f"the updater was ended by {name}")


def _failure(commands, log, root, faults):
    """The Outcome of a run that ended on an error screen; None when it cannot be told which."""
    if LIBRARY_READY not in log:
        return Outcome("failed", "the start of the instrument library", words=NO_LIBRARY)
    if NO_ARCHIVE_NAMED in log:
        return Outcome("failed", "the start", words=NO_DRIVE, reason="the updater was started without an archive")
    if not commands:
        missing = Outcome("failed", "the search for the archive", words=MISSING, reason="there is no such file")
        return missing if ARCHIVE_MISSING in log else None
    line, status = commands[-1]
    if len(commands) == 1 and NO_INSTALLER in log:
        return Outcome("failed", "the start of the installer", words=BROKEN, reason=NO_INSTALLER)
    if line.startswith("mount |"):
        return Outcome("failed", line, status, BROKEN, "both system partitions are mounted, or neither")
    if not status:
        return _failure_without_shell(commands, log)
    words = CORRUPT if line.startswith(ARCHIVE_TEST) else BROKEN
    return Outcome("failed", line, status, words, _reason(commands, log, root, faults))


def _failure_without_shell(commands, log):
    """The Outcome where the updater tells of a command that no shell has noted; None when it does not."""
    line = COMMAND_TOLD.findall(log)[-1:]
    if not line or line[0] in [noted for noted, _ in commands]:
        return None
    return Outcome("failed", line[0], words=BROKEN, reason="the shell /bin/sh could not be started")


def _failure_at_the_board(log, root):
    flash = FLASH_FAILED.search(log)
    if flash:
        told = LIBRARY_ERROR.findall(log[:flash.start()].rpartition(BOARD_COMPARED)[2])
        return Outcome("failed", f"the board's flash (result {flash[1]})", words=NOT_FLASHED,
                       reason=": ".join([flash[2], *told[-1:]]))
    names = [path.name for path in Path(root, FIRMWARE_FOLDER).glob("*") if path.is_file()] if root else ["?"]
    if BOARD_COMPARED in log or any(map(FIRMWARE_NAME.fullmatch, names)):
        return None
    return Outcome("failed", "the search for the board's firmware", words=BROKEN,
                   reason=f"the new system brings no file ZEPRA_AFW_<version>.hex in /{FIRMWARE_FOLDER}")


def _reason(commands, log, root, faults):
    """Why the last command failed, as far as that is known."""
    lines = [line for line, _ in commands]
    program = lines[-1].split()[0]
    simulated = _simulated(lines, faults)
    if simulated:
        return simulated
    if root and program.startswith("/") and not Path(f"{root}{program}").exists():
        empty = not set(os.listdir(Path(root, SYSTEM_IN_ROOT))) - {"lost+found"}
        return f"the archive brings nothing below {SYSTEM_IN_ROOT}" if empty else f"the new system has no {program}"
    own_words = _own_words(lines[-1], log)
    if own_words and own_words.endswith(f"{program}: not found") and root and program.startswith("/"):
        return f"{program} is there, but not the program that its first line names"
    return own_words


def _simulated(lines, faults):
    """Which fault that keeps a command from running the last one met on demand, None when it met none."""
    last = len(lines) - 1
    kind = next((kind for kind, choice in faults if kind in NOT_RUN and last in numbers_chosen(choice, lines)), None)
    return kind and f"simulated by --{'fail' if kind == 'exit' else f'fault {kind}'}"


def _own_words(line, log):
    """What a command said of its failure, a script last, any other first; None when that cannot be told."""
    # The updater gives notice of each command but the test of the archive, which nothing else precedes.
    notice = f'"{line}"\n'
    if notice not in log and not line.startswith(ARCHIVE_TEST):
        return None
    said = log.rpartition(notice)[2]
    if line.rpartition("&& ")[2].startswith("/"):
        own = [text for text in SCRIPT_FAILED.split(said)[0].splitlines() if text.strip() and PROGRESS not in text]
        return own[-1] if own else None
    beginnings = (f"{line.split()[0]}: ", "/bin/dash: ")
    return next((text for text in said.splitlines() if text.startswith(beginnings)), None)
