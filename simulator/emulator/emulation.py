"""One run of ./emulate: the instrument boots, is updated by an operator, perhaps cut off, and boots again."""

import glob
import os
import re
import time

from .. import archive, report
from ..build import Build, require_emulator
from ..card import other_partition
from ..instrument import SYSTEM, Settings
from ..judge import difference
from ..namespaces import run_isolated
from ..operator import Operator
from ..outcome import Outcome, outcome
from ..run import qml_faults
from ..screen import SMALLEST
from ..simulation import open_folder, partition_bytes_for
from ..watcher import Watcher
from .film import Film
from .images import make_drive, prepare
from .instrument import UP, EmulatedInstrument
from .machine import Machine, MachineError
from .powercut import CutOff, system_of_card
from .screen import EmulatedScreen

BOOT_SECONDS, UPDATE_SECONDS = 300, 900
PATIENCE_SECONDS = 240
REACTION_SECONDS = 2
SETTLED_SECONDS = 1
FAILED = 1
NEVER_ENDED = Outcome("unknown", reason="the launcher did not say that the updater ended")

LAUNCHER_STATUS = re.compile(r"^vrk-updater-launch: status (\d+)", re.MULTILINE)
WINDOW_MODULE, WINDOW_PACKAGE = "/usr/lib/*/qemu/ui-gtk.so", "qemu-system-gui"
VNC_ADDRESS = "127.0.0.1:0"


def emulate(options, build_folder):
    """Prepares a run and makes it; returns the exit status."""
    require_emulator()
    build = Build.emulated(build_folder)
    build.check()
    folder, _lock = open_folder(options.keep, "emulator")
    return run_isolated(lambda: Emulation(options, build, folder).run(), "emulate")


def display(window):
    """QEMU's name for where the screen is shown: nowhere, in a window, or for a VNC viewer, which is said."""
    if not window:
        return "none"
    if os.environ.get("DISPLAY") and glob.glob(WINDOW_MODULE):
        return "gtk"
    print(f"there is no display or no {WINDOW_PACKAGE} here: point a VNC viewer to {VNC_ADDRESS}", flush=True)
    return f"vnc={VNC_ADDRESS}"


class Emulation:
    """A run with an instrument and a USB drive in a folder, boot by boot."""

    def __init__(self, options, build, folder):
        unpacked = archive.unpacked_bytes(options.archive) if options.archive else 0
        settings = Settings(language=options.language, partition_bytes=partition_bytes_for(unpacked))
        self._options = options
        self._images = prepare(build, settings)
        self._instrument = EmulatedInstrument(folder, build, settings, self._images)
        self._folder = self._instrument.new_run_folder()
        self._drive = self._folder / "drive.img"
        self._archive = (options.archive or self._images.archive).absolute()
        self._display = display(options.window)
        self._film = Film() if options.film else None
        self._boots = []

    def run(self):
        """The whole of it; returns 0 when the instrument came up each time as it should, else FAILED."""
        make_drive(self._drive, self._archive)
        before, started = report.state(self._instrument), time.monotonic()
        old = system_of_card(self._instrument.card, before["partition"]) if self._options.cut else None
        cut = self._cut_off() if self._options.cut else None
        update = self._boot(self._update, self._drive)
        last = update if update["fault"] else self._boot(self._look)
        self._drive.unlink()
        if self._film:
            self._film.save(self._options.film)
        faults = [boot["fault"] for boot in self._boots if boot["fault"]]
        if cut:
            self._look_at_system(cut, update, before["partition"], old)
            faults += [f"the power cut has left a broken system: {cut.fault}"] * bool(cut.fault)
        update["remarks"] += faults
        report.write(update | {"cut": cut, "boots": self._boots, "seconds": round(time.monotonic() - started, 1),
                               "mounted": last["partition"], "before": before,
                               "after": report.state(self._instrument)}, self._folder)
        changed, succeeded = last["partition"] != update["partition"], update["update"].result == "succeeded"
        return 0 if changed == succeeded and (succeeded or not cut) and not faults else FAILED

    def _look_at_system(self, cut, update, partition_before, old):
        """Compares the system that came up after a power cut with the old one, or with what the update after it made.

        There is nothing to compare a new system with when that update has failed.
        """
        card, partition = self._instrument.card, update["partition"]
        if partition == partition_before:
            whole = old
        elif update["update"].result == "succeeded":
            whole = system_of_card(card, other_partition(partition))
        else:
            return
        cut.files = len(whole)
        cut.fault = difference(whole, system_of_card(card, partition))

    def _cut_off(self):
        """Boots for an update that a power cut ends; returns the PowerCut."""
        cut_off = CutOff(self._options.cut, self._options.seed, self._instrument.card, self._folder)
        cuts = []
        self._boot(lambda machine: cuts.append(cut_off.cut(machine, UPDATE_SECONDS)), self._drive, cut_off.log)
        print(f"power cut {cuts[0]}", flush=True)
        return cuts[0]

    def _boot(self, act, drive=None, writes=None):
        """Switches the instrument on, and lets act(machine) go on once it is up; returns findings.

        An operator sits before the screen. What goes wrong after the first boot is the instrument's "fault".
        Raises MachineError when it goes wrong before.
        """
        name = f"boot-{len(self._boots) + 1}"
        log, pictures = self._folder / name, self._folder / "pictures" / name
        for folder in (log, pictures):
            folder.mkdir(parents=True)
        card = self._instrument.card.image
        boot = {"version": None, "partition": None, "seconds": None, "fault": None}
        with (Machine(self._images, card, drive, log, SMALLEST, self._display, writes) as machine,
              EmulatedScreen(machine, film=self._film) as screen, Watcher(screen) as watcher):
            answer = None if self._options.window else self._options.answer
            with Operator(watcher, pictures, answer, {"final": machine.unplug_drive}, PATIENCE_SECONDS,
                          REACTION_SECONDS) as operator:
                try:
                    boot |= self._come_up(machine)
                    act(machine)
                except MachineError as error:
                    if not self._boots:
                        raise
                    boot["fault"] = str(error)
        console, status = machine.console(), LAUNCHER_STATUS.search(machine.console())
        names = [passed.name for passed in operator.passed]
        boot |= {"screens": [vars(passed) for passed in operator.passed], "signal": None,
                 "answer": operator.answered or ("no" if names[-2:] == ["confirm", "leaving"] else None),
                 "commands": machine.commands(), "exit_status": int(status[1]) if status else None,
                 "remarks": operator.remarks + [f"the QML engine complained: {line}" for line in qml_faults(console)]}
        boot["update"] = outcome(boot, console) if status else NEVER_ENDED
        if not operator.passed:
            screen.picture().save(pictures / "up.png")
        self._boots.append(boot)
        return boot

    def _come_up(self, machine):
        """Waits until the instrument says which system it runs. Raises MachineError when it runs none."""
        started = time.monotonic()
        version, partition = machine.wait_for_line(UP, BOOT_SECONDS).groups()
        if not partition:
            raise MachineError(f"the instrument came up with nothing mounted on {SYSTEM}")
        seconds = round(time.monotonic() - started, 1)
        print(f"up after {seconds} s with system {version} on {partition}", flush=True)
        return {"version": version, "partition": partition, "seconds": seconds}

    def _update(self, machine):
        """Waits for the reboot after an update."""
        machine.wait_for_end(None if self._options.window else UPDATE_SECONDS)

    def _look(self, _machine):
        """Gives the instrument time to show that it has come up."""
        time.sleep(SETTLED_SECONDS)
