"""Makes the Debian package of a build and looks at it; installs and starts the one for ARM."""

import fcntl
import os
import re
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
ARM_ROOT = HERE.parents[1] / "tools" / "arm-root"
BUILD = Path(os.environ.get("VRK_BUILD", HERE.parents[1] / "build" / "dev"))
NOT_POSSIBLE = 77
LOCALES = "de en es fr id ko pt ru uk vi zh_CN zh_TW".split()
INSTALLED = {
    "bin/vrk-updater": "-rwxr-xr-x", "bin/vrk-updater-launch": "-rwxr-xr-x",
    "lib/systemd/system/vrk-updater.service": "-rw-r--r--",
    **{f"share/zentar/translations/vrk-updater_{locale}.qm": "-rw-r--r--" for locale in LOCALES},
}


def output_of(*command):
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE).stdout


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        made = subprocess.run(["cpack", "--config", BUILD / "CPackConfig.cmake", "-B", cls.folder / "made"],
                              text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        assert made.returncode == 0, made.stdout
        cls.package, = (cls.folder / "made").glob("*.deb")
        subprocess.run(["dpkg-deb", "-x", cls.package, cls.folder / "unpacked"], check=True)
        cls.architecture = output_of("dpkg-deb", "-f", cls.package, "Architecture").strip()
        cls.program = cls.folder / "unpacked" / "usr" / "local" / "bin" / "vrk-updater"

    def field(self, name):
        return output_of("dpkg-deb", "-f", self.package, name).strip()

    def test_files(self):
        expected = dict(INSTALLED)
        if self.architecture != "armhf":
            expected["bin/translations -> ../share/zentar/translations"] = "lrwxrwxrwx"
        found = {}
        for line in output_of("dpkg-deb", "-c", self.package).splitlines():
            mode, owner, _, _, _, name = line.split(None, 5)
            self.assertEqual(owner, "root/root", line)
            if not mode.startswith("d"):
                found[name.removeprefix("./usr/local/")] = mode
        self.assertEqual(found, expected)

    def test_program_is_of_the_named_architecture_and_stripped(self):
        kind = output_of("file", "-b", self.program)
        self.assertIn({"armhf": "ELF 32-bit LSB pie executable, ARM", "amd64": "x86-64"}[self.architecture], kind)
        self.assertRegex(kind, r"\bstripped")
        self.assertNotIn("not stripped", kind)

    def test_libraries_and_modules_are_depended_upon(self):
        depended = {re.split(r"[ |(]", item.strip())[0] for item in self.field("Depends").split(",")}
        self.assertLessEqual({"libc6", "libqt5core5a", "libqt5gui5", "libqt5qml5", "libstdc++6", "mount",
                              "qml-module-qtquick-controls2", "qml-module-qtgraphicaleffects"}, depended)
        self.assertRegex(self.field("Depends"), r"libqt5core5a \(>= 5\.")
        self.assertFalse({name for name in depended if "virtualkeyboard" in name})
        self.assertIn("qtvirtualkeyboard-plugin", self.field("Recommends"))

    def test_no_folder_of_the_build_is_searched_for_libraries(self):
        dynamic = output_of("objdump", "-p", self.program)
        self.assertIn("libvrk-embedded-api.so", dynamic)
        self.assertNotRegex(dynamic, "RPATH|RUNPATH")

    def test_unit_starts_the_installed_launcher(self):
        unit = (self.program.parents[1] / "lib/systemd/system/vrk-updater.service").read_text()
        start, = re.findall("^ExecStart=(.*)$", unit, re.MULTILINE)
        self.assertTrue(os.access(f"{self.folder}/unpacked{start}", os.X_OK), start)

    def test_starts(self):
        status, output = self.start_on_arm() if self.architecture == "armhf" else self.start_here()
        self.assertEqual(status, 0, output)
        self.assertIn("Usage: vrk-updater", output)
        self.assertNotRegex(output, "qrc:|not installed|cannot open shared object")

    def start_here(self):
        environment = {**os.environ, "LD_LIBRARY_PATH": str(BUILD / "lib"),
                       "QT_QPA_PLATFORM": "offscreen", "QT_QUICK_BACKEND": "software"}
        seen = ""
        with subprocess.Popen([self.program], env=environment, text=True, bufsize=1,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT) as process:
            for line in process.stdout:
                seen += line
                if "VRK_Status" in line:
                    process.send_signal(signal.SIGTERM)
        return process.returncode, seen

    def start_on_arm(self):
        made = subprocess.run([ARM_ROOT, "--bare"], text=True, stdout=subprocess.PIPE, check=False)
        if made.returncode == NOT_POSSIBLE:
            self.skipTest(made.stdout.strip())
        self.assertEqual(made.returncode, 0, made.stdout)
        root = Path(output_of(ARM_ROOT, "--bare", "--print").strip())
        with open(root.parent / "armhf.lock", "w") as lock:  # the packages are shared with tools/arm-root
            fcntl.flock(lock, fcntl.LOCK_EX)
            run = subprocess.run(
                [HERE / "install-in-root", root, root.parent / "armhf-packages", self.package,
                 BUILD / "lib" / "libvrk-embedded-api.so"],
                text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        return run.returncode, run.stdout


if __name__ == "__main__":
    if not (BUILD / "CPackConfig.cmake").exists():
        print(f"skipped: {BUILD} makes no package")
        sys.exit(NOT_POSSIBLE)
    unittest.main()
