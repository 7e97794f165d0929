"""The tool that makes update archives: what it packs, and what it refuses."""

import shutil
import subprocess
import tarfile
import tempfile
import unittest
from pathlib import Path

from bench import SOURCES, sample

BIN, FIRMWARE = "usr/local/bin", "usr/local/share/zentar/atmega"
HEX = ":0100000041BE\n:00000001FF\n"


def remove(name):
    return lambda root: (root / name).unlink()


def write(name, text="", mode=0o644):
    def change(root):
        (root / name).parent.mkdir(parents=True, exist_ok=True)
        (root / name).write_text(text)
        (root / name).chmod(mode)
    return change


REFUSED = {
    "no setup script": (remove(f"{BIN}/zepra-setup.sh"), "no usr/local/bin/zepra-setup.sh"),
    "setup script not executable": (lambda root: (root / BIN / "zepra-setup.sh").chmod(0o644), "is not executable"),
    "setup script without interpreter": (write(f"{BIN}/zepra-setup.sh", "echo", 0o755), 'does not start with "#!"'),
    "prepare script a folder": (lambda root: swap_for_folder(root / BIN / "zepra-prepare-update.sh"), "no plain file"),
    "prepare script a dangling link": (lambda root: dangle(root / BIN / "zepra-prepare-update.sh"), "no plain file"),
    "no firmware": (remove(f"{FIRMWARE}/ZEPRA_AFW_2.07.hex"), "holds no ZEPRA_AFW_<version>.hex"),
    "firmware with a suffix": (lambda root: (root / FIRMWARE / "ZEPRA_AFW_2.07.hex").rename(
        root / FIRMWARE / "ZEPRA_AFW_2.07.hex.bak"), "holds no ZEPRA_AFW_<version>.hex"),
    "a file beside usr": (write("etc/fstab"), "etc"),
    "a file beside local": (write("usr/bin/tool"), "bin"),
    "no system at all": (lambda root: shutil.rmtree(root / "usr"), "holds no folder usr/local"),
}

WARNED = {
    "no prepare script": (remove(f"{BIN}/zepra-prepare-update.sh"), "no usr/local/bin/zepra-prepare-update.sh"),
    "setup script without a last sync": (write(f"{BIN}/zepra-setup.sh", "#!/bin/sh\nsync\ntouch /usr/local/a\nexit 0\n",
                                               0o755), "does not end with sync"),
    "two firmware files": (write(f"{FIRMWARE}/ZEPRA_AFW_1.0.hex", HEX), "several board firmware files"),
    "firmware in lower case": (write(f"{FIRMWARE}/zepra_afw_1.0.HEX", HEX), "cuts no version out"),
    "firmware without version": (write(f"{FIRMWARE}/ZEPRA_AFW_.hex", HEX), "cuts no version out"),
    "hidden name at the top": (write("usr/local/.profile"), "does not clear hidden names"),
}


def swap_for_folder(path):
    path.unlink()
    path.mkdir()


def dangle(path):
    path.unlink()
    path.symlink_to("/nowhere")


class MakeArchiveTest(unittest.TestCase):

    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def make(self, change=lambda root: None, version="3.5.0"):
        """Packs a changed sample system; returns the finished command and where the archive would be."""
        root = Path(tempfile.mkdtemp(dir=self.folder))
        sample.write_update(root, "3.5.0", "2.07", ballast_files=0)
        change(root)
        finished = subprocess.run([SOURCES / "tools" / "make-archive", root, "--version", version,
                                   "--output", self.folder], text=True, capture_output=True, check=False)
        return finished, self.folder / f"zepra_update_v{version}.tar.gz"

    def test_members(self):
        finished, archive = self.make()
        self.assertEqual((finished.returncode, finished.stderr), (0, ""))
        with tarfile.open(archive) as tar:
            members = tar.getmembers()
        names = [member.name for member in members]
        self.assertIn("usr/local/bin/zepra-prepare-update.sh", names)
        self.assertFalse([name for name in names if not name.startswith("usr/local/")])
        self.assertEqual(names, sorted(names, key=lambda name: name.split("/")))
        self.assertEqual({(member.uid, member.gid, member.uname) for member in members}, {(0, 0, "root")})
        odd = {Path(name).name for name in names if "/odd/" in name}
        self.assertLessEqual(set(sample.ODD_NAMES) | {"empty folder", "link", "dangling link"}, odd)

    def test_same_folder_gives_same_bytes(self):
        first = self.make()[1].read_bytes()
        self.assertEqual(self.make()[1].read_bytes(), first)

    def test_refusals_name_the_reason_and_leave_no_archive(self):
        for name, (change, reason) in REFUSED.items():
            with self.subTest(name):
                finished, archive = self.make(change)
                self.assertEqual(finished.returncode, 1)
                self.assertIn(reason, finished.stderr)
                self.assertFalse(archive.exists())

    def test_unreadable_versions_are_refused(self):
        for version in ("", "../3", "3 5", "-3", "3.tar.gz-4"):
            with self.subTest(version):
                finished = self.make(version=version)[0]
                self.assertNotEqual(finished.returncode, 0)
                self.assertIn("version", finished.stderr)

    def test_warnings_do_not_stop(self):
        for name, (change, warning) in WARNED.items():
            with self.subTest(name):
                finished, archive = self.make(change)
                self.assertEqual(finished.returncode, 0)
                self.assertIn("warning: ", finished.stderr)
                self.assertIn(warning, finished.stderr)
                archive.unlink()


if __name__ == "__main__":
    unittest.main(verbosity=2)
