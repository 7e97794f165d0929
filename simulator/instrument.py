"""The simulated instrument: its card, settings, board and drive, kept in one folder.

The folder holds all that survives a run, so a later run with the same folder (or a copy of it) goes on
with the same instrument; each run's logs have a folder of their own in it. Everything else ends with the run.
"""

import configparser
import contextlib
import json
import os
import re
import stat
import subprocess
import tempfile
import time
from dataclasses import dataclass, field
from pathlib import Path

from . import archive, faults
from .build import SCREEN_VSYNC
from .card import MIB, PARTITIONS, ROOT, Card, other_partition
from .namespaces import WITH_PARENT
from .rootfs import RootFileSystem
from .served_card import breaking_card, logged_card

OLDER_VERSION = "3.3.0"
PROGRAM = "/opt/vrk-updater/vrk-updater"
LIBRARIES = f"{os.path.dirname(PROGRAM)}/lib"
SEARCH_PATH = "/usr/sbin:/usr/bin:/sbin:/bin"
DRIVE = "/media/usb"
SYSTEM = "/usr/local"
BOARD_FOLDER = "/var/lib/vrk-embedded-api"
BOARD_STATE = "board.ini"
FSTAB = "/etc/fstab"
CARD_BEFORE, WRITE_LOG = "card-before.img", "writes.log"
SETTINGS, LIBRARY_SETTINGS = "/var/zepra/vrk-gui/settings.ini", "/etc/vrk-embedded-api.ini"
# On the instrument 12 points are 17 pixels high, with any platform plugin.
CONTROLS_SETTINGS, LARGE_TEXTS = "/etc/qtquickcontrols2.conf", "[Default]\nFont\\PixelSize=17\n"
VERSION_FILE = "share/zentar/version"

ROOT_BYTES = 32 * MIB
FSTAB_TEXT = """\
# <device>      <folder>   <type>  <options>         <dump> <pass>
/dev/mmcblk1p3  /usr/local ext4    defaults,noatime  0      2
"""


@dataclass(frozen=True)
class Settings:
    """What can be set about an instrument. The first three count when it is made, the others at every run."""

    running_version: str = "3.4.0"
    board_version: str = "2.06"
    partition_bytes: int = 512 * MIB
    card: bool = True  # Without one, mount and umount only claim to work, and archives are unpacked into memory.
    language: int = 1
    board_connected: bool = True
    board_result: int = 0  # what flashing ends with
    page_ms: int = 30  # what the board takes for a page of 256 bytes
    initialize_result: int = 0
    initialize_ms: int = 200
    # Of the updater's command lines, chosen by their beginnings (faults.py):
    faults: tuple = ()  # pairs of a kind of fault and those that meet it
    delays: dict = field(default_factory=dict)  # the seconds that each takes longer
    signals: tuple = ()  # pairs of a signal's name and the one that brings it
    log_writes: bool = False  # to the card, in the run's folder, where the card before is kept, too (writelog.py)
    log_commands: bool = True  # what reads command lines needs it, and so does every fault


class Instrument:
    """An instrument in a folder; a context in which it is switched on.

    It is switched on where mounts are private (namespaces.py). run_folder is then the folder for what is
    kept of this run.
    """

    FOLDERS = ("board", "data", "memory")

    def __init__(self, folder, build, settings):
        self.folder, self.settings = folder, settings
        self.card = Card(folder / "emmc.img") if settings.card else None
        self.root = self.run_folder = self._power = None
        self._build = build
        self._devices = {}
        self._new_partition = ""
        for name in self.FOLDERS:
            (folder / name).mkdir(parents=True, exist_ok=True)
        if not (folder / "instrument.json").exists():
            self._make()

    def _make(self):
        """As it leaves the factory: a system in use on the third partition, an older one beside."""
        settings = self.settings
        if self.card:
            with tempfile.TemporaryDirectory(dir=self.folder) as made:
                versions = dict(zip(PARTITIONS, (settings.running_version, OLDER_VERSION)))
                for name, version in versions.items():
                    archive.write_system(Path(made, name), version, settings.board_version, self._build.translations)
                fstab = Path(f"{made}/{ROOT}{FSTAB}")
                fstab.parent.mkdir(parents=True)
                fstab.write_text(FSTAB_TEXT)
                self.card.make({name: Path(made, name) for name in (ROOT, *versions)}, ROOT_BYTES,
                               settings.partition_bytes)
        for state in (self.folder / "board").iterdir():
            state.unlink()
        self._save_settings()

    def _save_settings(self):
        """Keeps what is asked for again when the instrument is there already."""
        (self.folder / "instrument.json").write_text(json.dumps({"board_version": self.settings.board_version}))

    @property
    def _first_board_version(self):
        return json.loads((self.folder / "instrument.json").read_text())["board_version"]

    def __enter__(self):
        self.run_folder = self.new_run_folder()
        with contextlib.ExitStack() as power:
            if self.card:
                self._new_partition = other_partition(self.configured_partition() or PARTITIONS[0])
                served = self._served_card()
                file = power.enter_context(served).file if served else None
                power.callback(self.card.detach)
                self._devices = self.card.attach(file)
            self.root = RootFileSystem(self.folder / "memory", self._build.base)
            power.callback(self.root.close)
            self._mount_systems()
            self._write_configuration()
            self._install_program()
            self._install_faults()
            self._power = power.pop_all()
        return self

    def new_run_folder(self):
        """Makes runs/001 and so on, and lets "latest" name it."""
        runs, latest = self.folder / "runs", self.folder / "latest"
        runs.mkdir(exist_ok=True)
        numbers = [int(path.name) for path in runs.iterdir() if path.name.isdigit()]
        made = runs / f"{max(numbers, default=0) + 1:03}"
        made.mkdir()
        latest.unlink(missing_ok=True)
        latest.symlink_to(made.relative_to(self.folder))
        return made

    def __exit__(self, *_):
        self._power.close()
        if self._breaks:
            self.card.recover()

    def _served_card(self):
        """What stands for the card's image while the power is on; None for the image itself."""
        if self.settings.log_writes:
            subprocess.run(["cp", "--sparse=always", self.card.image, self.run_folder / CARD_BEFORE], check=True)
            return logged_card(self.card.image, self.run_folder / WRITE_LOG)
        if self._breaks:
            return breaking_card(self.card.image, self.run_folder / faults.IO_ERROR)
        return None

    @property
    def _breaks(self):
        """Whether the card is to read and write nothing from a moment on."""
        return bool(self.card) and any(kind == "io" for kind, _ in self.settings.faults)

    def _mount_systems(self):
        if self.card:
            for name, number in self._devices.items():
                self.root.add_device(name, stat.S_IFBLK | 0o660, number)
            self.root.keep_changes(os.path.dirname(FSTAB), ROOT)
            subprocess.run(self.root.command("mount", SYSTEM), check=True)
        else:
            self.root.write(FSTAB, FSTAB_TEXT)
            archive.write_system(self.root.inside(SYSTEM), self.settings.running_version,
                                 self.settings.board_version, self._build.translations)

    def _configuration(self):
        """The texts of the instrument's settings files, by their paths."""
        settings = self.settings
        return {SETTINGS: f"[Regional]\nlanguage={settings.language}\n", LIBRARY_SETTINGS: "\n".join([
            "[instrument]", f"system_version_file={SYSTEM}/{VERSION_FILE}",
            f"initialize_result={settings.initialize_result}", f"initialize_ms={settings.initialize_ms}",
            "[board]", f"connected={str(settings.board_connected).lower()}", f"version={self._first_board_version}",
            f"flash_result={settings.board_result}", f"page_ms={settings.page_ms}",
            "[state]", f"file={BOARD_FOLDER}/{BOARD_STATE}", ""])}

    def _write_configuration(self):
        for path, text in (*self._configuration().items(), (CONTROLS_SETTINGS, LARGE_TEXTS)):
            self.root.write(path, text)
        for name, path in (("board", BOARD_FOLDER), ("data", archive.TRACES), (self.run_folder, faults.LOG_FOLDER)):
            self.root.bind(self.folder / name, path)

    def _install_program(self):
        for part, path in ((self._build.program, PROGRAM),
                           (self._build.translations, f"{os.path.dirname(PROGRAM)}/translations"),
                           (self._build.library, f"{LIBRARIES}/{self._build.library.name}"),
                           (self._build.vsync, f"{LIBRARIES}/{SCREEN_VSYNC}")):
            if part:
                self.root.bind(part, path, "ro")

    def _install_faults(self):
        if not self.card:
            faults.install_claims(self.root)
        if self.settings.log_writes:
            faults.install_marks(self.root)
        if self.settings.log_commands:
            faults.install_logging_shell(self.root, self.settings.faults, self.settings.delays, self.settings.signals,
                                         self._new_partition)

    def plug_in(self, file, name=None):
        """Shows an archive on the USB drive, under its own or another name; returns its path there."""
        self.root.mount_memory(DRIVE)
        path = f"{DRIVE}/{name or file.name}"
        self.root.bind(file, path, "ro")
        return path

    def start_updater(self, arguments, environment, output):
        """Starts the updater as the instrument would; returns the process, which ends with this thread."""
        return self.start((PROGRAM, *arguments), environment, output)

    def start(self, command, environment, output, stdin=subprocess.DEVNULL):
        """The same for any command of the instrument."""
        variables = {"PATH": SEARCH_PATH, "HOME": "/root", "LANG": "C.UTF-8", "XDG_RUNTIME_DIR": "/run",
                     "LD_LIBRARY_PATH": LIBRARIES, "QT_QUICK_CONTROLS_CONF": CONTROLS_SETTINGS,
                     **self._build.environment, **environment}
        start = ["env", "-i", *(f"{name}={value}" for name, value in variables.items()), *command]
        return subprocess.Popen([*WITH_PARENT, *self.root.command(*start)],
                                stdin=stdin, stdout=output, stderr=subprocess.STDOUT)

    def refresh(self):
        """What the environment needs for a virtual screen to refresh as a real one does, if the build has it."""
        return {"LD_PRELOAD": f"{LIBRARIES}/{SCREEN_VSYNC}"} if self._build.vsync else {}

    def mark(self, text):
        """Leaves a mark in the log of the card's writes."""
        subprocess.run(self.root.command(faults.MARK_COMMAND, text), check=True)

    def commands(self):
        """The command lines that the updater has given to the shell, each with its exit status once it has ended."""
        return read_commands(self.run_folder)

    def last_work(self):
        """When the last command ended and the board was last written, where that was; seconds since the epoch."""
        files = (self.run_folder / faults.COMMAND_LOG, self.folder / "board" / BOARD_STATE)
        return [file.stat().st_mtime for file in files if file.exists()]

    def wait_for_commands(self, timeout=10):
        """Waits until the last command has ended, which goes on when the updater is killed."""
        until = time.monotonic() + timeout
        while self.commands() and self.commands()[-1][1] is None and time.monotonic() < until:
            time.sleep(0.02)

    def hangs(self):
        """Whether a command hangs until release()."""
        return (self.run_folder / faults.HANGING).exists() and not (self.run_folder / faults.RELEASED).exists()

    def release(self):
        """Lets a command that hangs go on, and all that would hang after it."""
        (self.run_folder / faults.RELEASED).touch()

    def mounted_partition(self):
        """The partition mounted on /usr/local, or None."""
        device = os.stat(self.root.inside(SYSTEM)).st_dev
        return next((name for name, number in self._devices.items() if number == device), None)

    def configured_partition(self):
        """The partition that /etc/fstab names for /usr/local, or None; while it is switched off."""
        fstab = self.card.read_file(ROOT, FSTAB).decode(errors="replace")
        match = re.search(r"^/dev/(\S+)\s+/usr/local\s", fstab, re.MULTILINE)
        return match[1] if match else None

    def system_versions(self):
        """The version of the system on each partition, None where it holds none; while it is switched off."""
        texts = {name: self.card.read_file(name, VERSION_FILE) for name in PARTITIONS}
        return {name: text.decode(errors="replace").strip() or None for name, text in texts.items()}

    def board_version(self):
        """The version of the firmware that the board runs."""
        state = configparser.ConfigParser()
        state.read_string(self._board_state())
        return state.get("board", "version", fallback=self._first_board_version).strip('"')

    def _board_state(self):
        """What the board keeps, as the instrument library writes it."""
        state = self.folder / "board" / BOARD_STATE
        return state.read_text() if state.exists() else ""


def read_commands(folder):
    """The command lines of the log in a folder, each with its exit status; none when there is no log."""
    log = folder / faults.COMMAND_LOG
    return faults.read_command_log(log.read_text(errors="replace")) if log.exists() else []
