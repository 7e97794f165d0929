"""What became of an update, told from what a run shows and leaves behind; what that does not tell stays open."""

import re
import signal
from dataclasses import dataclass, replace
from pathlib import Path

from .faults import numbers_chosen
from .operator import ENDINGS

FIRMWARE_FOLDER = "usr/local/share/zentar/atmega"
FIRMWARE_NAME = re.compile(r"ZEPRA_AFW_.*\.hex", re.IGNORECASE)

# What the updater writes when it has come so far.
LIBRARY_READY = "VRK_Status: "
NO_ARCHIVE_NAMED = "init with mode:  1 "
ARCHIVE_MISSING = "Could not find file "
NO_INSTALLER = "Update is not supported on non-ARM platforms"
BOARD_COMPARED = "New ATMEGA version: "
BOARD_DONE = ("ATMEGA Firmware upgrade successfully", "Versions are the same, ignoring ATMEGA update",
              "Measurement board not connected, ignoring ATMEGA update")
SILENT_END = "Update finished successfully, please reboot the device"
FLASH_FAILED = re.compile(r"Error upgrading firmware\. Error return:  (-?\d+)\n(.*)")

# Its words on the screen, in English whatever the language.
NO_LIBRARY = "Failed to initialize VRK library"
NO_DRIVE = "Error upgrading firmware: Please check USB drive"
MISSING = "Required update files missing"
CORRUPT = "Error upgrading firmware: corrupt archive"
BROKEN = "Error upgrading firmware"
NOT_FLASHED = "Error upgrading measurement board firmware"
WORDS = (NO_LIBRARY, NO_DRIVE, MISSING, CORRUPT, BROKEN, NOT_FLASHED)


@dataclass(frozen=True)
class Outcome:
    """How an update ended; None is what does not apply or cannot be told.

    `result` is "succeeded", "failed", "refused" (by the operator), "stopped by SIGTERM" (or another signal),
    "not begun" (where nobody watched why) or "unknown". `at` is where that was: a command line, a screen or
    plain words; `exit_status` that of the command line; `words` what the error screen says, and `reason` why
    it came.
    """

    result: str
    at: str | None = None
    exit_status: int | None = None
    words: str | None = None
    reason: str | None = None

    def __str__(self):
        """In one line, without the reason."""
        status = f" (exit status {self.exit_status})" if self.exit_status is not None else ""
        return (self.result + (f" at: {self.at}{status}" if self.at else "")
                + (f'; on the screen: "{self.words}"' if self.words else ""))


def outcome(findings, log, root=None, failures=()):
    """The Outcome of a run.

    findings holds the updater's exit status, the screens passed (none where nobody watched), the commands
    with their exit statuses, the answer that was given to the question, and the signal and moment that
    came; log is the updater's output, root the folder that shows the instrument's files afterwards, and
    failures are the choices of commands that were to fail.
    """
    status, asked_to_end = findings["exit_status"], findings["signal"]
    screens = {screen["name"] for screen in findings["screens"]}
    over = bool(screens.intersection(ENDINGS)) if screens else not asked_to_end
    if status not in (0, 1):
        return _killed(status, asked_to_end)
    installed = any(line.startswith("sed -i") and ended == 0 for line, ended in findings["commands"])
    if installed and (SILENT_END in log or (over and any(text in log for text in BOARD_DONE))):
        return Outcome("succeeded")
    if not findings["commands"] and findings["answer"] == "no":
        return Outcome("refused")
    if asked_to_end and not over:
        return _stopped(*asked_to_end)
    if over or status == 1:
        failure = (_failure_at_the_board(log, root) if installed
                   else _failure(findings["commands"], log, root, failures))
        if failure:
            return replace(failure, words=None) if status == 1 else failure  # which shows no screen for long
    if not screens and not findings["commands"]:
        return Outcome("not begun", reason="the answer was no, or something else ended it: unwatched, both look alike")
    return Outcome("unknown", reason="neither the screens nor the output of the updater tell why it ended")


def _stopped(name, moment):
    return Outcome(f"stopped by SIG{name}", at=moment)


def _killed(status, asked_to_end):
    if status - 128 not in set(signal.Signals):
        return Outcome("failed", reason=f"the updater ended with status {status}")
    name = signal.Signals(status - 128).name
    if asked_to_end and name == f"SIG{asked_to_end[0]}":
        return _stopped(*asked_to_end)
    return Outcome("failed", reason=f"the updater was ended by {name}")


def _failure(commands, log, root, failures):
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
        return None
    words = CORRUPT if line.startswith("gzip -t") else BROKEN
    return Outcome("failed", line, status, words, _reason(commands, log, root, failures))


def _failure_at_the_board(log, root):
    flash = FLASH_FAILED.search(log)
    if flash:
        return Outcome("failed", f"the board's flash (result {flash[1]})", words=NOT_FLASHED, reason=flash[2])
    names = [path.name for path in Path(root, FIRMWARE_FOLDER).glob("*") if path.is_file()] if root else ["?"]
    if BOARD_COMPARED in log or any(map(FIRMWARE_NAME.fullmatch, names)):
        return None
    return Outcome("failed", "the search for the board's firmware", words=BROKEN,
                   reason=f"the new system brings no file ZEPRA_AFW_<version>.hex in /{FIRMWARE_FOLDER}")


def _reason(commands, log, root, failures):
    """Why the last command failed, as far as that is known."""
    lines = [line for line, _ in commands]
    program = lines[-1].split()[0]
    if any(len(lines) - 1 in numbers_chosen(choice, lines) for choice in failures):
        return "simulated by --fail"
    if root and program.startswith("/") and not Path(f"{root}{program}").exists():
        return f"the new system has no {program}"
    # Its own words stand behind the updater's notice of it, which there is for all but the first.
    notice = f'"{lines[-1]}"\n'
    if len(lines) > 1 and notice not in log:
        return None
    said = log.rpartition(notice)[2].splitlines()
    own_words = next((line for line in said if line.startswith((f"{program}: ", "/bin/dash: "))), None)
    if own_words and own_words.endswith(f"{program}: not found") and root and program.startswith("/"):
        return f"{program} is there, but not the program that its first line names"
    return own_words
