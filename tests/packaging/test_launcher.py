"""Runs the launcher with a stand-in for the updater, on a drive and an /etc/fstab of its own."""

import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

LAUNCHER = Path(__file__).resolve().parents[2] / "packaging" / "launcher" / "vrk-updater-launch"
SKIPPED = 77
FSTAB = "/dev/mmcblk1p2 /data ext4 defaults 0 2\n/dev/mmcblk1p3\t/usr/local ext4 defaults 0 2\n"
UPDATER = """\
#!/bin/sh
printf '%s\\n' "$#" "$@" >{folder}/arguments
{action}
"""
# Gives the launcher an /etc/fstab of its own.
PRIVATELY = ["unshare", "--mount", "sh", "-c", 'mount --bind "$0" /etc/fstab && exec "$@"']


class LauncherTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.drive = self.folder / "media" / "usb stick"
        self.drive.mkdir(parents=True)
        (self.folder / "fstab").write_text(FSTAB)

    def start(self, action="exit 0", *arguments, reboot="touch {folder}/rebooted", wait=0):
        updater = self.folder / "updater"
        updater.write_text(UPDATER.format(folder=self.folder, action=action))
        updater.chmod(0o755)
        environment = {"PATH": os.environ["PATH"], "VRK_UPDATER": str(updater),
                       "VRK_UPDATE_DRIVES": f"{self.folder}/media/usb*", "VRK_DRIVE_WAIT": str(wait),
                       "VRK_REBOOT_COMMAND": reboot.format(folder=self.folder)}
        return subprocess.Popen([*PRIVATELY, self.folder / "fstab", LAUNCHER, *arguments], env=environment,
                                text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def launch(self, *arguments, **options):
        """A whole run; returns exit status and output."""
        process = self.start(*arguments, **options)
        output = process.communicate(timeout=30)[0]
        return process.returncode, output

    def rebooted(self):
        return (self.folder / "rebooted").exists()

    def arguments(self):
        """What the updater was started with, counted by itself."""
        count, *arguments = (self.folder / "arguments").read_text().splitlines()
        self.assertEqual(int(count), len(arguments))
        return arguments

    def put(self, *names):
        for name in names:
            (self.drive / name).touch()

    def test_highest_version_is_taken(self):
        for names, newest in (
                (["1.9", "1.10", "1.2"], "1.10"),
                (["2.0", "10.0"], "10.0"),
                (["3.4", "3.4.1"], "3.4.1")):
            with self.subTest(names):
                for old in self.drive.iterdir():
                    old.unlink()
                self.put(*(f"zepra_update_v{version}.tar.gz" for version in names))
                self.put("zepra_update_v99.tar", "other_v99.tar.gz")
                self.launch("exit 0", "--silent")
                self.assertEqual(self.arguments(),
                                 ["-u", f"{self.drive}/zepra_update_v{newest}.tar.gz", "--silent"])

    def test_status_is_passed_on_and_reboot_follows(self):
        self.put("zepra_update_v2.tar.gz")
        for status in 0, 1, 134:
            with self.subTest(status):
                self.assertEqual(self.launch(f"exit {status}")[0], status)
                self.assertTrue(self.rebooted())
                (self.folder / "rebooted").unlink()

    def test_without_an_archive_the_updater_shows_its_error(self):
        status, output = self.launch()
        self.assertEqual((status, self.arguments()), (0, []))
        self.assertIn("no archive", output)
        self.assertTrue(self.rebooted())

    def test_late_drive_is_waited_for(self):
        process = self.start(wait=10)
        time.sleep(0.3)
        self.put("zepra_update_v2.tar.gz")
        process.communicate(timeout=30)
        self.assertEqual(self.arguments(), ["-u", f"{self.drive}/zepra_update_v2.tar.gz"])

    def test_next_system_is_told(self):
        self.put("zepra_update_v2.tar.gz")
        self.assertIn("takes mmcblk1p3 as before", self.launch()[1])
        switched = FSTAB.replace("p3", "p4")
        self.assertIn("takes mmcblk1p4 instead of mmcblk1p3", self.launch(f"printf '{switched}' >/etc/fstab")[1])

    def test_stop_reaches_the_updater_and_nothing_reboots(self):
        self.put("zepra_update_v2.tar.gz")
        process = self.start("trap 'exit 5' TERM; touch {0}/up; while :; do sleep 0.05; done".format(self.folder))
        until = time.monotonic() + 10
        while not (self.folder / "up").exists() and time.monotonic() < until:
            time.sleep(0.02)
        process.send_signal(signal.SIGTERM)
        output = process.communicate(timeout=30)[0]
        self.assertEqual(process.returncode, 5, output)
        self.assertFalse(self.rebooted())

    def test_failed_reboot_keeps_the_status(self):
        self.put("zepra_update_v2.tar.gz")
        status, output = self.launch("exit 1", reboot="false")
        self.assertEqual(status, 1)
        self.assertIn("rebooting failed", output)


if __name__ == "__main__":
    if subprocess.run([*PRIVATELY[:2], "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
        print("skipped: the launcher's /etc/fstab needs a mount namespace, that is root")
        sys.exit(SKIPPED)
    unittest.main()
