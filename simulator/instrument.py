"""The simulated instrument: its disk, settings, board and drive, kept in one folder.

The folder holds all that survives a run, so a later run with the same folder goes on with the same
instrument. Everything else lives in namespaces that end with the run.
"""

import configparser
import json
import os
import re
import shutil
import subprocess
import tempfile
from dataclasses import dataclass
from pathlib import Path

import disk
import sample
import standins
from isolation import end_all_processes
from rootfs import RootFileSystem

OLDER_VERSION = "3.3.0"
PROGRAM = "/opt/vrk-updater/vrk-updater"
DRIVE = "/media/usb"
BOARD_FOLDER = "/var/lib/vrk-embedded-api"
BOARD_STATE = "board.ini"
FSTAB = "/etc/fstab"
VERSION_FILE = "share/zentar/version"

FSTAB_TEXT = """\
# <device>      <folder>   <type>  <options>         <dump> <pass>
/dev/mmcblk1p3  /usr/local ext4    defaults,noatime  0      2
"""


@dataclass(frozen=True)
class Settings:
    """What can be set about an instrument; the versions count only when it is made."""

    running_version: str = "3.4.0"
    board_version: str = "2.06"
    board_connected: bool = True
    board_result: int = 0
    language: int = 1
    failing: tuple = ()
    delayed: tuple = ()


class Instrument:
    """An instrument in a folder; a context in which it is switched on."""

    def __init__(self, folder, build, settings):
        self._folder = folder
        self._build = build
        self._settings = settings
        self._loops = {}
        self.root = None
        for name in ("board", "data", "log", "memory"):
            (folder / name).mkdir(parents=True, exist_ok=True)
        if not (folder / "instrument.json").exists():
            self._make()

    def _make(self):
        """As it leaves the factory: a system in use on the third partition, an older one beside."""
        settings, translations = self._settings, self._build.translations
        with tempfile.TemporaryDirectory(dir=self._folder) as name:
            used, idle = Path(name, "used"), Path(name, "idle")
            sample.write_system(used, settings.running_version, settings.board_version, translations)
            sample.write_system(idle, OLDER_VERSION, settings.board_version, translations)
            disk.make_image(self._image, {"mmcblk1p3": used, "mmcblk1p4": idle})
        (self._folder / "fstab").write_text(FSTAB_TEXT)
        for state in (self._folder / "board").iterdir():
            state.unlink()
        (self._folder / "instrument.json").write_text(json.dumps({"board_version": settings.board_version}))

    @property
    def _image(self):
        return self._folder / "emmc.img"

    def __enter__(self):
        self.root = RootFileSystem(self._folder / "memory", self._build.base)
        self._attach_disk()
        self._write_configuration()
        self._install_program()
        self._install_standins()
        self.root.run("mount", "/usr/local")
        return self

    def __exit__(self, *_):
        end_all_processes()
        shutil.copy(self.root.inside(FSTAB), self._folder / "fstab")
        while os.path.ismount(self.root.inside("/usr/local")):
            subprocess.run(["umount", self.root.inside("/usr/local")], check=True)

    def _attach_disk(self):
        for name, region in disk.PARTITIONS.items():
            self._loops[name] = disk.LoopDevice(self._image, region)
        self._loops["mmcblk1"] = disk.LoopDevice(self._image, disk.WHOLE, read_only=True)
        for name, loop in self._loops.items():
            self.root.add_block_device(name, loop.number)

    def _write_configuration(self):
        settings = self._settings
        made = json.loads((self._folder / "instrument.json").read_text())
        self.root.write(FSTAB, (self._folder / "fstab").read_text())
        self.root.write("/var/zepra/vrk-gui/settings.ini", f"[Regional]\nlanguage={settings.language}\n")
        self.root.write("/etc/vrk-embedded-api.ini", "\n".join([
            "[instrument]", f"system_version_file=/usr/local/{VERSION_FILE}",
            "[board]", f"connected={str(settings.board_connected).lower()}",
            f"version={made['board_version']}", f"flash_result={settings.board_result}",
            "[state]", f"file={BOARD_FOLDER}/{BOARD_STATE}", ""]))
        self.root.bind(self._folder / "board", BOARD_FOLDER)
        self.root.bind(self._folder / "data", sample.TRACES)
        self.root.bind(self._folder / "log", standins.LOG_FOLDER)

    def _install_program(self):
        program = self.root.inside(PROGRAM)
        (program.parent / "lib").mkdir(parents=True)
        shutil.copy(self._build.program, program)
        shutil.copy(self._build.library, program.parent / "lib")
        shutil.copytree(self._build.translations, program.parent / "translations")

    def _install_standins(self):
        standins.install_logging_shell(self.root.path)
        for name, first in self._settings.failing:
            standins.install_failing_command(self.root.path, name, first)
        for name, seconds in self._settings.delayed:
            standins.install_delayed_command(self.root.path, name, seconds)

    def plug_in_drive(self, archive):
        """Shows the archive, and nothing else, on the USB drive; returns its path there."""
        path = f"{DRIVE}/{archive.name}"
        self.root.bind(archive, path, "ro")
        return path

    def start_updater(self, arguments, environment, output):
        """Starts the updater as the instrument would; returns the process."""
        basics = {"PATH": standins.search_path(), "HOME": "/root", "LANG": "C.UTF-8",
                  "XDG_RUNTIME_DIR": "/run", "LD_LIBRARY_PATH": f"{os.path.dirname(PROGRAM)}/lib",
                  **self._build.environment}
        return subprocess.Popen(self.root.command(PROGRAM, *arguments), env={**basics, **environment},
                                stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT)

    def mounted_partition(self):
        """The partition mounted on /usr/local, or None."""
        device = os.stat(self.root.inside("/usr/local")).st_dev
        return next((name for name, loop in self._loops.items() if loop.number == device), None)

    def configured_partition(self):
        """The partition that /etc/fstab names for /usr/local, or None; while it is switched off."""
        match = re.search(r"^/dev/(\S+)\s+/usr/local\s", (self._folder / "fstab").read_text(), re.MULTILINE)
        return match[1] if match else None

    def system_versions(self):
        """The version of the system on each partition, None where it holds none.

        To be asked only while the instrument is switched off.
        """
        texts = {name: disk.read_file(self._image, name, VERSION_FILE) for name in disk.PARTITIONS}
        return {name: text.decode(errors="replace").strip() or None for name, text in texts.items()}

    def board_version(self):
        """The version of the firmware that the board runs."""
        made = json.loads((self._folder / "instrument.json").read_text())
        state = configparser.ConfigParser()
        state.read(self._folder / "board" / BOARD_STATE)
        return state.get("board", "version", fallback=made["board_version"]).strip('"')
