"""The computer of the emulated instrument: QEMU's parts, its monitor, and a file in which its console is kept."""

import contextlib
import json
import socket
import subprocess
import threading
import time

from ..instrument import read_commands
from ..namespaces import WITH_PARENT

EMULATOR = "qemu-system-arm"
COMPUTER = ("-nodefaults", "-no-user-config", "-machine", "virt,highmem=off", "-accel", "tcg,thread=multi",
            "-cpu", "cortex-a15", "-smp", "2", "-m", "512", "-rtc", "base=utc", "-action", "reboot=shutdown")
SCREEN = ("-device", "virtio-gpu-pci,xres={width},yres={height}")
# Without a card in the first slot the second one's is the kernel's second, as on the instrument.
CARD_SLOTS = ("-device", "sdhci-pci,id=slot0", "-device", "sdhci-pci,id=slot1",
              "-device", "sd-card,drive=card,bus=pcie.0/slot1/sd-bus")
INPUT = ("-device", "qemu-xhci,id=usb", "-device", "usb-tablet,bus=usb.0", "-device", "usb-kbd,bus=usb.0")
DRIVE = "drive"
DRIVE_SLOT = ("-device", f"usb-storage,id={DRIVE},drive=stick,bus=usb.0,removable=on")
CONSOLE = "console=ttyAMA0 quiet panic=-1 vt.cur_default=1 consoleblank=0 fbcon=font:TER16x32"
POLL_SECONDS = 0.05


class MachineError(OSError):
    """The emulator refuses something, or the machine does not do what it should."""


class Monitor:
    """Commands for a running emulator (QMP), from any thread; ConnectionError when it has gone."""

    def __init__(self, connection):
        self._in_use = threading.Lock()
        self._lines = connection.makefile("rw")
        self._answer()  # its greeting
        self.execute("qmp_capabilities")

    def execute(self, command, **arguments):
        """Gives a command; returns the answer. Raises MachineError when it is refused."""
        with self._in_use:
            self._lines.write(json.dumps({"execute": command, "arguments": arguments}) + "\n")
            self._lines.flush()
            answer = self._answer()
        if "error" in answer:
            raise MachineError(f"{command}: {answer['error']['desc']}")
        return answer["return"]

    def _answer(self):
        """The next line that tells of no event."""
        for line in self._lines:
            answer = json.loads(line)
            if "event" not in answer:
                return answer
        raise ConnectionResetError("the emulator has ended")


class Machine:
    """A context: the computer, switched on with a kernel, a card, a USB drive or None, and a screen of that size.

    What its console says is kept as console.log in the folder `log`, into which the instrument can write,
    too. `writes` is a file for the log of the card's writes. `environment` is what the programs of the
    instrument have in theirs. A reboot ends the emulator, as does the context.
    """

    def __init__(self, images, card, stick, log, size, display="none", writes=None, environment=None):
        self._log, self._console = log, log / "console.log"
        # What the kernel does not know of its command line it hands to the first program.
        variables = (f"{name}={value}" for name, value in (environment or {}).items())
        self._command = [*WITH_PARENT, EMULATOR, *COMPUTER, "-display", display,
                         *[part.format(width=size[0], height=size[1]) for part in SCREEN],
                         "-kernel", images.kernel, "-initrd", images.initrd, "-append",
                         " ".join([CONSOLE, *variables]),
                         *_disk("card", card, writes), *CARD_SLOTS, *INPUT,
                         *[*_disk("stick", stick), *DRIVE_SLOT] * bool(stick),
                         "-virtfs", f"local,path={log},mount_tag=log,security_model=none",
                         "-chardev", f"file,id=console,path={self._console}", "-serial", "chardev:console"]

    def __enter__(self):
        ours, theirs = socket.socketpair()
        monitor = ["-chardev", f"socket,id=monitor,fd={theirs.fileno()}", "-mon", "chardev=monitor,mode=control"]
        self._process = subprocess.Popen([*self._command, *monitor], pass_fds=[theirs.fileno()],
                                         stdin=subprocess.DEVNULL)
        theirs.close()
        self.monitor = Monitor(ours)
        return self

    def __exit__(self, *_):
        self.cut_power()

    def cut_power(self):
        """Ends the emulator at once: what the computer has in its memory is lost."""
        self._process.kill()
        self._process.wait()

    def wait_for_end(self, timeout):
        """Waits until the emulator has ended by itself; raises MachineError."""
        try:
            self._process.wait(timeout)
        except subprocess.TimeoutExpired:
            raise MachineError(f"the instrument did not reboot within {timeout:g} s") from None

    def has_ended(self):
        """Whether the emulator has ended."""
        return self._process.poll() is not None

    def unplug_drive(self):
        """Takes the USB drive out."""
        with contextlib.suppress(ConnectionError):
            self.monitor.execute("device_del", id=DRIVE)

    def console(self):
        """What the console has said so far."""
        return self._console.read_text(errors="replace").replace("\r", "")

    def commands(self):
        """The updater's command lines so far, each with its exit status once it has ended."""
        return read_commands(self._log)

    def wait_for_line(self, pattern, timeout):
        """Waits for a whole line of the console in which a pattern is found, which it returns as a match."""
        until = time.monotonic() + timeout
        while True:
            ended = self.has_ended()
            for line in self.console().split("\n")[:-1]:
                if found := pattern.search(line):
                    return found
            if ended or time.monotonic() > until:
                reason = "before the machine ended" if ended else f"within {timeout:g} s"
                raise MachineError(f"the console did not say {pattern.pattern!r} {reason}; see {self._console}")
            time.sleep(POLL_SECONDS)


def _disk(name, image, writes=None):
    """Arguments for a disk in an image file. The host need not write it through: it is not what loses power."""
    file = f"driver=file,filename={image},cache.no-flush=on,node-name="
    if not writes:
        return ["-blockdev", f"{file}{name}-file", "-blockdev", f"driver=raw,file={name}-file,node-name={name}"]
    return ["-blockdev", f"{file}{name}-file", "-blockdev", f"driver=file,filename={writes},node-name={name}-log",
            "-blockdev", f"driver=blklogwrites,file={name}-file,log={name}-log,node-name={name},"
            "log-super-update-interval=1"]  # so that the log can be read at any time
