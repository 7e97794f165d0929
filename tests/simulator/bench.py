"""Runs the simulator as its user does and looks at what it leaves."""

import hashlib
import json
import os
import shutil
import subprocess
import sys
import tarfile
import tempfile
import time
import unittest
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCES / "simulator"))

import disk  # noqa: E402
import sample  # noqa: E402

BUILD = Path(os.environ.get("VRK_BUILD", SOURCES / "build" / "dev"))
OPTIONS = os.environ.get("VRK_SIMULATE_OPTIONS", "").split()
ARM = "--arm" in OPTIONS
TRANSLATIONS = BUILD / "bin" / "translations"
SLOWNESS = 5 if ARM else 1  # of the emulator, at most, on a busy machine
SKIPPED = 77
SUPERBLOCK = range(1024, 2048)
COMMANDS = """\
gzip -t {archive}
tar -xf {archive} usr/local/bin/zepra-prepare-update.sh -C /tmp
chmod +x /tmp/usr/local/bin/zepra-prepare-update.sh && /tmp/usr/local/bin/zepra-prepare-update.sh
mount | grep -c mmcblk1p3
mount | grep -c mmcblk1p4
cat /etc/fstab | grep -c /dev/{used}
umount -l /dev/{used}
mount /dev/{idle} /usr/local
rm -rf /usr/local/*
tar xvzf {archive} -C /
sync
chmod +x /usr/local/bin/zepra-setup.sh
/usr/local/bin/zepra-setup.sh
sed -i 's/{used}/{idle}/g' /etc/fstab
sync
"""


def commands_of_success(archive, used="mmcblk1p3"):
    """The command lines of a run that installs the archive over the idle partition."""
    idle = disk.other_partition(used)
    return COMMANDS.format(archive=archive, used=used, idle=idle).splitlines()


def big_archive():
    """The sample archive with all its bulk, whose extraction takes a while; made once."""
    return sample.sample_archive(BUILD / "simulator" / "archives", "3.5.0", "2.07", TRANSLATIONS)


def make_archive(folder, change=None, version="3.5.0"):
    """Makes a small archive; change(usr_local) may alter the system before it is packed."""
    with tempfile.TemporaryDirectory() as root:
        sample.write_update(Path(root), version, "2.07", TRANSLATIONS, ballast_files=0)
        if change:
            change(Path(root, "usr", "local"))
        subprocess.run([SOURCES / "tools" / "make-archive", root, "--version", version, "--output", folder],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return Path(folder, f"zepra_update_v{version}.tar.gz")


class SimulatorTest(unittest.TestCase):
    """A test with a folder for an instrument, and an archive without bulk."""

    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.instrument = self.folder / "instrument"
        self.archive = make_archive(self.folder)

    def start(self, *options):
        """Starts ./simulate with this test's build and instrument."""
        command = [SOURCES / "simulate", "--build", BUILD, "--keep", self.instrument,
                   "--virtual", *OPTIONS, *options]
        return subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True)

    def simulate(self, *options, archive=None):
        """A whole run; returns its report."""
        process = self.start("--archive", archive or self.archive, *options)
        output = process.communicate(timeout=100 * SLOWNESS)[0]
        report = self.instrument / "report.json"
        self.assertTrue(report.exists(), output)
        findings = json.loads(report.read_text())
        report.unlink()
        self.assertEqual(process.returncode, findings["exit_status"], output)
        return findings

    def screens(self, findings):
        """The screens passed, without those that may be gone before they are drawn."""
        names = [screen["name"] for screen in findings["screens"]]
        return [name for name in names if name not in ("loaded", "checking", "leaving")]

    def ending(self, name):
        """What an ending is recognised as: emulated, without --effects, its texts are not to be seen."""
        return "end" if ARM else name

    def log(self):
        """What the updater wrote."""
        return (self.instrument / "log" / "updater.log").read_text(errors="replace")

    def commands(self):
        """The command lines that the updater gave to the shell."""
        log = self.instrument / "log" / "commands.log"
        return log.read_text().splitlines() if log.exists() else []

    def tree(self, partition):
        """What lies on a partition: type, permissions and content of every file."""
        copy = self.folder / f"copy-{partition}"
        shutil.rmtree(copy, ignore_errors=True)
        copy.mkdir()
        debugfs(self.instrument, partition, f"rdump / {copy}")
        shutil.rmtree(copy / "lost+found", ignore_errors=True)
        return {str(path.relative_to(copy)): describe(path) for path in copy.rglob("*")}

    def content_hash(self, partition):
        """Of all bytes of a partition but those that each mount writes: superblock and journal."""
        region = disk.PARTITIONS[partition]
        with open(self.instrument / "emmc.img", "rb") as image:
            image.seek(region.start)
            content = bytearray(image.read(region.size))
        content[SUPERBLOCK.start:SUPERBLOCK.stop] = bytes(len(SUPERBLOCK))
        for block in map(int, debugfs(self.instrument, partition, "blocks <8>").split()):
            content[block * 4096:(block + 1) * 4096] = bytes(4096)
        return hashlib.sha256(content).hexdigest()

    def assert_nothing_left(self):
        """No mount, loop device or process on this machine has to do with this test, or soon none."""
        until = time.monotonic() + 5
        while self.leftovers() and time.monotonic() < until:
            time.sleep(0.05)
        self.assertEqual(self.leftovers(), [])

    def leftovers(self):
        """Lines about mounts, loop devices and processes that name this test's folder."""
        mounts = Path("/proc/self/mountinfo").read_text().splitlines()
        loops = [path.read_text() for path in Path("/sys/block").glob("loop*/loop/backing_file")]
        return [line for line in mounts + loops if str(self.folder) in line] + self.processes()

    def processes(self):
        """Processes whose command line or root directory lies in this test's folder."""
        found = []
        for process in Path("/proc").glob("[0-9]*"):
            try:
                command = (process / "cmdline").read_bytes().decode(errors="replace")
                if str(self.folder) in command + os.readlink(process / "root"):
                    found.append(command)
            except OSError:
                continue
        return found


def debugfs(instrument, partition, request):
    """Answers a request about a partition that is not mounted."""
    place = f"{instrument}/emmc.img?offset={disk.PARTITIONS[partition].start}"
    return subprocess.run(["debugfs", "-R", request, place], check=True, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout


def archive_tree(archive):
    """What an archive brings below usr/local, in the form of SimulatorTest.tree."""
    with tempfile.TemporaryDirectory() as folder, tarfile.open(archive) as tar:
        tar.extractall(folder)
        root = Path(folder, "usr", "local")
        return {str(path.relative_to(root)): describe(path) for path in root.rglob("*")}


def describe(path):
    """Type and permissions, and what a link names or a file holds."""
    mode = oct(path.lstat().st_mode)
    if path.is_symlink():
        return mode, os.readlink(path)
    return mode, hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else ""


def main():
    """Runs the tests of the calling file, or says why that is not possible here."""
    if os.geteuid() != 0 or not os.path.exists("/dev/loop-control"):
        print("skipped: the simulated instrument needs root and loop devices")
        sys.exit(SKIPPED)
    unittest.main(verbosity=2)
