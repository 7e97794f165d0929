"""Every command of the installation failing in turn: where the update stops, and how it leaves things."""

import bench

USED, IDLE = "mmcblk1p3", "mmcblk1p4"

# The failing command; the message it leads to; what is mounted then; the last command line run.
STOPPING = {
    "mount_listing": ("mount:1", "Could not find active partition", USED, "mount | grep -c mmcblk1p4"),
    "fstab_reading": ("cat:1", "Cannot find active partition in /etc/fstab", USED, "cat /etc/fstab | grep"),
    "fstab_search": ("grep:3", "Cannot find active partition in /etc/fstab", USED, "cat /etc/fstab | grep"),
    "unmount": ("umount:1", "Unmounting active partition failed!", USED, "umount -l"),
    "mount": ("mount:3", "Mounting inactive partition failed!", None, "mount /dev/mmcblk1p4"),
    "clearing": ("rm:1", "Clearing inactive partition failed!", IDLE, "rm -rf"),
    "extraction": ("tar:2", "Extract failed", IDLE, "tar xvzf"),
    "switch": ("sed:1", "Changing fstab failed", IDLE, "sed -i"),
}


class Faults(bench.SimulatorTest):

    def assert_stopped(self, findings, message, mounted, last_command):
        self.assertIn(f"\n{message}\n", self.log())
        self.assertEqual(findings["mounted"], mounted)
        self.assertEqual(findings["after"]["partition"], USED)
        self.assertEqual(findings["after"]["board"], "2.06")
        self.assertEqual(self.screens(findings)[-1], self.ending("error"))
        self.assertTrue(self.commands()[-1].startswith(last_command), self.commands())

    def check_stopping(self, name):
        fault, message, mounted, last_command = STOPPING[name]
        findings = self.simulate("--silent", "--fail", fault)
        self.assert_stopped(findings, message, mounted, last_command)
        self.assertEqual(findings["after"]["version"], "3.4.0")

    def test_mount_listing(self):
        self.check_stopping("mount_listing")

    def test_fstab_reading(self):
        self.check_stopping("fstab_reading")

    def test_fstab_search(self):
        self.check_stopping("fstab_search")

    def test_unmount(self):
        self.check_stopping("unmount")

    def test_mount(self):
        self.check_stopping("mount")

    def test_clearing(self):
        self.check_stopping("clearing")

    def test_extraction(self):
        self.check_stopping("extraction")

    def test_switch(self):
        self.check_stopping("switch")

    def test_setup_script(self):
        def failing(system):
            (system / "bin" / "zepra-setup.sh").write_text("#!/bin/sh\nexit 3\n")

        archive = bench.make_archive(self.folder, change=failing)
        findings = self.simulate("--silent", archive=archive)
        self.assert_stopped(findings, "CSetup script failed", IDLE, "/usr/local/bin/zepra-setup.sh")

    def test_ignored_failures(self):
        for fault in ("sync:3", "chmod:2"):
            with self.subTest(fault):
                findings = self.simulate("--silent", "--board", "absent", "--fail", fault)
                self.assertEqual(findings["exit_status"], 0)
                self.assertEqual(findings["mounted"], findings["after"]["partition"])
                self.assertNotEqual(findings["after"]["partition"], findings["before"]["partition"])


if __name__ == "__main__":
    bench.main()
