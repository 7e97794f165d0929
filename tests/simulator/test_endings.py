"""The updater and the simulation ended from outside, at awkward moments."""

import signal
import time

import bench

EXTRACTION = "tar xvzf"


class Endings(bench.SimulatorTest):

    def wait_for_command(self, process, beginning):
        until = time.monotonic() + 30 * bench.SLOWNESS
        while time.monotonic() < until and process.poll() is None:
            if any(line.startswith(beginning) for line in self.commands()):
                return
            time.sleep(0.02)
        self.fail(f"the updater never ran {beginning}")

    def end_simulation(self, number):
        """Ends ./simulate by a signal in the middle of the extraction; returns its exit status."""
        process = self.start("--silent", "--archive", bench.big_archive())
        self.wait_for_command(process, EXTRACTION)
        process.send_signal(number)
        process.communicate(timeout=30 * bench.SLOWNESS)
        return process.returncode

    def test_signal_at_the_question(self):
        findings = self.simulate("--signal", "TERM@confirm")
        self.assertEqual(findings["exit_status"], 0)
        self.assertEqual(findings["mounted"], "mmcblk1p3")
        self.assertEqual(self.commands(), [])

    def test_signal_in_the_extraction(self):
        findings = self.simulate("--silent", "--signal", f"TERM@{EXTRACTION}", archive=bench.big_archive())
        self.assertEqual(findings["exit_status"], 0)
        self.assertEqual(findings["mounted"], "mmcblk1p4")
        self.assertEqual(findings["after"]["partition"], "mmcblk1p3")
        self.assertTrue(self.commands()[-1].startswith(EXTRACTION), self.commands())
        self.assertEqual(findings["after"]["board"], "2.06")
        self.assertNotIn("Restore completed successfully!", self.log())

    def test_interrupted_simulation_leaves_nothing(self):
        self.assertEqual(self.end_simulation(signal.SIGINT), 128 + signal.SIGINT)
        self.assert_nothing_left()
        self.assertEqual(self.simulate("--silent", "--board", "absent")["mounted"], "mmcblk1p4")

    def test_killed_simulation_leaves_nothing(self):
        self.assertEqual(self.end_simulation(signal.SIGKILL), -signal.SIGKILL)
        self.assert_nothing_left()

    def test_kept_folder_is_used_once_at_a_time(self):
        first = self.start("--signal", "TERM@checking", "--archive", self.archive)
        while not (self.instrument / "log").exists():
            time.sleep(0.02)
        second = self.start("--archive", self.archive)
        output = second.communicate(timeout=30 * bench.SLOWNESS)[0]
        self.assertEqual(second.returncode, 125)
        self.assertIn("another simulation is using", output)
        first.communicate(timeout=60 * bench.SLOWNESS)
        self.assertEqual(first.returncode, 0)

    def test_folder_of_something_else_is_left_alone(self):
        precious = self.instrument / "log" / "precious"
        precious.parent.mkdir(parents=True)
        precious.touch()
        process = self.start("--archive", self.archive)
        self.assertIn("holds something else", process.communicate(timeout=30 * bench.SLOWNESS)[0])
        self.assertEqual(process.returncode, 125)
        self.assertTrue(precious.exists())


if __name__ == "__main__":
    bench.main()
