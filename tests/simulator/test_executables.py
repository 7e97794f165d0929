"""What the executables of a build are, and on which processor the product installs."""

import re
import subprocess

import bench
from build import is_arm

NM = "arm-linux-gnueabihf-nm" if bench.ARM else "nm"
PROCESSOR = "QSysInfo::buildCpuArchitecture()"
REFUSAL = "Update is not supported on non-ARM platforms"


def symbol_kinds(program, name):
    """The letters that nm gives to the symbol of that name: T where it is defined, U where not."""
    listing = subprocess.run([NM, "-C", program], check=True, text=True, stdout=subprocess.PIPE).stdout
    return set(re.findall(rf"^[0-9a-f ]+ (\w) {re.escape(name)}(?:@.*)?$", listing, re.MULTILINE))


class Executables(bench.SimulatorTest):

    def test_product_asks_qt_for_the_processor(self):
        self.assertEqual(symbol_kinds(bench.BUILD / "bin" / "vrk-updater", PROCESSOR), {"U"})
        simulated = bench.BUILD / "bin" / "vrk-updater-simulated"
        self.assertEqual(simulated.exists(), not bench.ARM)
        if not bench.ARM:
            self.assertEqual(symbol_kinds(simulated, PROCESSOR), {"T"})

    def test_processor(self):
        for part in ("bin/vrk-updater", "lib/libvrk-embedded-api.so"):
            self.assertEqual(is_arm(bench.BUILD / part), bench.ARM, part)

    def test_product_installs_on_arm_only(self):
        findings = self.simulate("--silent", "--program", "vrk-updater")
        installed = findings["after"]["partition"] == findings["mounted"] == "mmcblk1p4"
        self.assertEqual(installed, bench.ARM)
        self.assertEqual(REFUSAL in self.log(), not bench.ARM)
        if not bench.ARM:
            self.assertEqual(self.commands(), [f"gzip -t /media/usb/{self.archive.name}"])
            self.assertEqual(self.screens(findings)[-1], "error")
            self.assertEqual(findings["after"], findings["before"])

    def test_wrong_options_end_before_anything_is_built(self):
        for options, message in ((["--frobnicate"], "--frobnicate"), (["--board", "maybe"], "maybe"),
                                 (["--archive", "/nowhere"], "there is no archive"), (["--effects"], "--arm")):
            with self.subTest(options):
                finished = subprocess.run([bench.SOURCES / "simulate", *options], text=True, check=False,
                                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                self.assertEqual((finished.returncode, finished.stdout), (125, ""))
                self.assertIn(message, finished.stderr)


if __name__ == "__main__":
    bench.main()
