"""The translation check finds the faults that it is there for, in copies of the real files."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

# name: file, pattern, replacement, what the check must say
FAULTS = {
    "missing text": ("de", r"<message>\s*<source>unknown</source>.*?</message>", "",
                     'missing text "unknown"'),
    "lost marker": ("ko", r"%2 ", "", "markers ['%1'], the source has ['%1', '%2']"),
    "doubled marker": ("ru", r"до %2\?", "до %2, %2?", "markers ['%1', '%2', '%2']"),
    "unfinished": ("fr", r"<translation>une", '<translation type="unfinished">une',
                   '"unknown" is unfinished'),
    "left empty": ("vi", r"<translation>Đang hủy…", "<translation>", '"Cancelling..." is empty'),
    "text gone from the program": ("id", r"<source>unknown<", "<source>obscure<",
                                   'text "obscure" is no longer in the program'),
    "wrong language": ("zh_TW", r'language="zh_TW"', 'language="zh_CN"',
                       'language attribute is "zh_CN" instead of "zh_TW"'),
    "three dots": ("es", r"Cancelando…", "Cancelando...", "three dots where this language writes …"),
    "no ellipsis": ("pt", r"Reinício em curso…", "Reinício em curso", "does not end with …"),
    "half a Chinese ellipsis": ("zh_CN", r"正在取消……", "正在取消…", "does not end with ……"),
    "other button label": ("uk", r"«Перезавантажити»", "«Перезапустити»",
                           'does not name the button "Перезавантажити"'),
    "trailing blank": ("de", r"Version<", "Version <", "blanks at the ends"),
    "separate accent": ("vi", r"hủy…", "hu\u0309y…", "not in Unicode form NFC"),
    "name translated": ("ru", r"VRK<", "ВРК<", "VRK is lost"),
    "French without its space": ("fr", r"&#x202f;\?", "?", "no narrow space"),
    "Chinese with a half-width colon": ("zh_CN", r"失败：请", "失败:请", "half-width punctuation"),
    "Chinese with blanks around a marker": ("zh_TW", r"從%1版本", "從 %1 版本", "a blank beside a marker"),
    "Spanish without its opening mark": ("es", r"¿", "", "without its opening mark"),
    "straight quotes": ("id", r"“Mulai ulang”", "&quot;Mulai ulang&quot;", "a straight quotation mark"),
    "English rewritten": ("en", r"<translation>Upgrading", "<translation>Updating",
                          "English differs from the source"),
    "torn file": ("es", r"</TS>", "", "not readable"),
}


class CheckTranslations(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for part in ("src", "translations"):
            shutil.copytree(ROOT / part, self.root / part)

    def check(self):
        command = [sys.executable, str(ROOT / "tools/check-translations"), "--root", str(self.root),
                   "--lupdate", os.environ.get("LUPDATE", "lupdate")]
        done = subprocess.run(command, capture_output=True, encoding="utf-8", check=False)
        return done.returncode, done.stdout + done.stderr

    def replace(self, path, pattern, replacement):
        text = path.read_text(encoding="utf-8")
        changed, count = re.subn(pattern, replacement, text, flags=re.DOTALL)
        self.assertGreater(count, 0, f"{pattern} is not in {path.name}")
        path.write_text(changed, encoding="utf-8")

    def test_real_files_pass(self):
        self.assertEqual(self.check(), (0, "12 languages, all well\n"))

    def test_fault_in_one_file(self):
        for name, (locale, pattern, replacement, said) in FAULTS.items():
            with self.subTest(name):
                path = self.root / f"translations/vrk-updater_{locale}.ts"
                good = path.read_text(encoding="utf-8")
                self.replace(path, pattern, replacement)
                status, output = self.check()
                path.write_text(good, encoding="utf-8")
                self.assertEqual(status, 1, output)
                self.assertTrue(all(path.name in line for line in output.splitlines()), output)
                self.assertIn(said, output)

    def test_new_text_in_the_program_is_missing_everywhere(self):
        self.replace(self.root / "src/controller/applicationcontroller_update.cpp",
                     r'tr\("Cancelling\.\.\."\)', 'tr("Stopping...")')
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertEqual(output.count('missing text "Stopping..."'), 12, output)
        self.assertEqual(output.count('text "Cancelling..." is no longer in the program'), 12, output)

    def test_language_without_its_file(self):
        (self.root / "translations/vrk-updater_pt.ts").rename(self.root / "translations/vrk-updater_it.ts")
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertIn("vrk-updater_pt.ts: no such file", output)
        self.assertIn("vrk-updater_it.ts: no language of the program", output)

    def test_language_that_the_build_leaves_out(self):
        self.replace(self.root / "translations/CMakeLists.txt", r" vi ", " ")
        self.assertEqual(self.check(), (1, "CMakeLists.txt: does not list the languages of the program\n"))

    def test_text_outside_the_controller(self):
        (self.root / "src/app/stray.cpp").write_text(
            "#include <QObject>\nQString stray() { return QObject::tr(\"Stray\"); }\n", encoding="utf-8")
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertIn("ApplicationController, QObject", output)

    def test_lupdate_is_missing(self):
        os.environ["LUPDATE"], before = "no-such-lupdate", os.environ.get("LUPDATE", "lupdate")
        self.addCleanup(os.environ.__setitem__, "LUPDATE", before)
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertRegex(output, r"^check-translations: .*no-such-lupdate")


if __name__ == "__main__":
    unittest.main()
