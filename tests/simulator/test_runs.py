"""Whole updates in the simulated instrument, and what they leave on it."""

import bench
import sample


class Runs(bench.SimulatorTest):

    def assert_ended(self, findings, *, mounted, partition, version, board):
        self.assertEqual(findings["mounted"], mounted)
        self.assertEqual(findings["after"]["partition"], partition)
        self.assertEqual(findings["after"]["version"], version)
        self.assertEqual(findings["after"]["board"], board)

    def test_silent_success(self):
        self.simulate("--answer", "no")
        untouched = self.content_hash("mmcblk1p3")
        findings = self.simulate("--silent")
        self.assertEqual(findings["exit_status"], 0)
        self.assert_ended(findings, mounted="mmcblk1p4", partition="mmcblk1p4", version="3.5.0", board="2.07")
        self.assertEqual(self.commands(), bench.commands_of_success(f"/media/usb/{self.archive.name}"))
        self.assertEqual(self.content_hash("mmcblk1p3"), untouched)
        installed, brought = self.tree("mmcblk1p4"), bench.archive_tree(self.archive)
        self.assertIn(sample.SETUP_TRACE, installed)
        del installed[sample.SETUP_TRACE]
        self.assertEqual(installed, brought)
        self.assertEqual((self.instrument / "data" / "prepare.log").read_text(), "prepared for 3.5.0\n")
        self.assertEqual((self.instrument / "data" / "setup.log").read_text(), "set up 3.5.0\n")
        self.assert_nothing_left()

    def test_second_update_goes_back_without_flashing(self):
        self.simulate("--silent", "--language", "2")
        findings = self.simulate("--silent", "--language", "2")
        self.assertEqual(findings["before"]["partition"], "mmcblk1p4")
        self.assert_ended(findings, mounted="mmcblk1p3", partition="mmcblk1p3", version="3.5.0", board="2.07")
        self.assertEqual(self.commands(), bench.commands_of_success(f"/media/usb/{self.archive.name}", "mmcblk1p4"))
        self.assertIn("Versions are the same, ignoring ATMEGA update", self.log())
        self.assertNotIn("AtmegaUpdate::setImagePath", self.log())
        self.assertNotIn("Could not load translations", self.log())

    def test_interactive_success(self):
        effects = ["--effects"] if bench.ARM else []
        findings = self.simulate("--language", "2", "--delay", "gzip:2", *effects)
        self.assertEqual(self.screens(findings), ["welcome", "confirm", "installing", "final"])
        self.assertIn("checking", [screen["name"] for screen in findings["screens"]])
        self.assert_ended(findings, mounted="mmcblk1p4", partition="mmcblk1p4", version="3.5.0", board="2.07")
        self.assertEqual(findings["exit_status"], 0)

    def test_no_to_the_question(self):
        findings = self.simulate("--answer", "no")
        self.assertEqual(self.screens(findings), ["welcome", "confirm"])
        self.assert_ended(findings, mounted="mmcblk1p3", partition="mmcblk1p3", version="3.4.0", board="2.06")
        self.assertEqual(self.commands(), [])

    def test_same_board_version(self):
        findings = self.simulate("--silent", "--board-version", "2.07")
        self.assert_ended(findings, mounted="mmcblk1p4", partition="mmcblk1p4", version="3.5.0", board="2.07")
        self.assertIn("Versions are the same, ignoring ATMEGA update", self.log())

    def test_absent_board(self):
        findings = self.simulate("--silent", "--board", "absent")
        self.assertEqual(findings["exit_status"], 0)
        self.assert_ended(findings, mounted="mmcblk1p4", partition="mmcblk1p4", version="3.5.0", board="2.06")
        self.assertIn("Measurement board not connected, ignoring ATMEGA update", self.log())

    def test_failed_flash_silent(self):
        findings = self.simulate("--silent", "--board-result", "58")
        self.assertEqual(findings["exit_status"], 1)
        self.assert_ended(findings, mounted="mmcblk1p4", partition="mmcblk1p4", version="3.5.0", board="2.06")

    def test_failed_flash_interactive(self):
        findings = self.simulate("--board-result", "61")
        self.assertEqual(findings["exit_status"], 0)
        self.assertEqual(self.screens(findings)[-1], self.ending("error"))
        self.assert_ended(findings, mounted="mmcblk1p4", partition="mmcblk1p4", version="3.5.0", board="2.06")

    def test_corrupt_archive(self):
        self.archive.write_bytes(self.archive.read_bytes()[:-1000])
        findings = self.simulate()
        self.assertEqual(self.screens(findings), ["welcome", "confirm", self.ending("error")])
        self.assert_ended(findings, mounted="mmcblk1p3", partition="mmcblk1p3", version="3.4.0", board="2.06")
        self.assertEqual(self.commands(), [f"gzip -t /media/usb/{self.archive.name}"])

    def test_missing_archive(self):
        findings = self.simulate("--", "-u", "/media/usb/zepra_update_v9.tar.gz")
        self.assertEqual(self.screens(findings)[-1], self.ending("error"))
        self.assertIn("Could not find file /media/usb/zepra_update_v9.tar.gz", self.log())
        self.assertEqual(self.commands(), [])

    def test_no_archive_named(self):
        findings = self.simulate("--")
        self.assertEqual(self.screens(findings), ["welcome", self.ending("error")])
        self.assertEqual(findings["exit_status"], 0)
        self.assertEqual(self.commands(), [])

    def test_archive_path_with_blanks_and_quotes(self):
        awkward = self.archive.rename(self.folder / "it's a \"new\" $(reboot) zepra_update_v3.5.0.tar.gz")
        findings = self.simulate("--silent", archive=awkward)
        self.assert_ended(findings, mounted="mmcblk1p4", partition="mmcblk1p4", version="3.5.0", board="2.07")
        quoted = "'/media/usb/" + awkward.name.replace("'", "'\\''") + "'"
        self.assertEqual(self.commands(), bench.commands_of_success(quoted))

    def test_prepare_script_missing_or_failing_stops_nothing(self):
        def without(system):
            (system / "bin" / "zepra-prepare-update.sh").unlink()

        def failing(system):
            (system / "bin" / "zepra-prepare-update.sh").write_text("#!/bin/sh\nexit 3\n")

        for change, message in ((without, "Unpacking prepare setup failed"), (failing, "prepare setup failed")):
            with self.subTest(message):
                archive = bench.make_archive(self.folder, change=change)
                findings = self.simulate("--silent", "--board", "absent", archive=archive)
                self.assertEqual(findings["exit_status"], 0)
                self.assertNotEqual(findings["after"]["partition"], findings["before"]["partition"])
                self.assertIn(message, self.log())


if __name__ == "__main__":
    bench.main()
