"""The languages of the program, read from its source."""

import re

from . import SOURCES

# As file names write them, in the order of their numbers (tools/check-translations sees to that).
LOCALES = [code.replace("-", "_") for code in re.findall(
    r'return QStringLiteral\("(.+)"\)', (SOURCES / "src/locale/language.cpp").read_text(encoding="utf-8"))]
