"""The translation check names the faults that it is there for, in copies of the real files."""

import shutil
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]


@pytest.mark.parametrize("file, text, other, said", [
    ("id", "<source>unknown", "<source>gone", 'missing text "unknown" & text "gone" is no longer in the program'),
    ("fr", "<translation>une", '<translation type="unfinished">une', '"unknown" is unfinished'),
    ("vi", "<translation>Đang hủy…", "<translation>", '"Cancelling..." is empty'),
    ("ru", "до %2", "до %1", "markers ['%1', '%1'], the source has ['%1', '%2']"),
    ("ru", "VRK<", "ВРК<", "VRK is lost"),
    ("uk", "«Перезавантажити»", "«Перезапустити»", 'does not name the button "Перезавантажити"'),
    ("en", "<translation>Upgrading", "<translation>Updating", "English differs from the source"),
    ("vi", "<translation>Đang hủy…", "<translation> Đang hu\u0309y……", "the ends & form NFC & does not end with …"),
    ("es", "Cancelando…", "Cancelando...", "three dots where this language writes …"),
    ("zh_CN", "正在取消……", "正在取消…", "does not end with ……"),
    ("zh_CN", "失败：请", "失败:请", "half-width punctuation"),
    ("zh_TW", "%2版本嗎？", "%2 版本嗎 ？", "a blank beside a marker & a blank beside full-width punctuation"),
    ("fr", "&#x202f;?", "?", "no narrow space"),
    ("es", "¿", "&quot;", "without its opening mark & a straight \" where"),
    ("zh_TW", 'language="zh_TW"', 'language="zh_CN"', 'language attribute is "zh_CN" instead of "zh_TW"'),
    ("es", "</TS>", "", "not readable"),
    ("translations/CMakeLists.txt", " vi ", " eo ", 's/CMakeLists.txt: does not list "vi" & lists "eo",'),
    ("src/locale/language.h", "Ru,", "Ru,\n Eo", "src/locale/language.cpp: no locale code for Eo"),
    ("src/locale/language.cpp", "case De", "case Xx",
     "code for De & names are not in the order of src/locale/language.h"),
    ("src/locale/language.cpp", '("pt")', '("eo")', "_eo.ts: no such file & _pt.ts: no language of the program"),
    ("docs/languages.md", "`vrk-updater_ko.ts` | Korean", "`vrk-updater_ko.ts` |",
     "_ko.ts` | does not name the language"),
    ("docs/languages.md", "| 4 |", "| 14 |",
     "docs/languages.md: the table lacks | 4 | `fr` | `vrk & the row | 14 | `fr` |"),
    ("src/locale/localemanager.cpp", "return {};", 'return QObject::tr("Stray");', "ApplicationController, QObject"),
])
def test_fault_is_named(tmp_path, file, text, other, said):
    for part in ("src", "translations", "docs"):
        shutil.copytree(ROOT / part, tmp_path / part)
    path = tmp_path / (file if "/" in file else f"translations/vrk-updater_{file}.ts")
    good = path.read_text(encoding="utf-8")
    assert text in good
    path.write_text(good.replace(text, other), encoding="utf-8")
    command = [ROOT / "tools/check-translations", "--root", tmp_path]
    done = subprocess.run(command, capture_output=True, encoding="utf-8", check=False)
    assert done.returncode == 1
    assert all(part in done.stdout + done.stderr for part in said.split(" & "))
    assert "/" in file or all(line.startswith(path.name) for line in done.stdout.splitlines())
