"""The texts of all languages as they are drawn: none runs past the window's edges."""

import unittest
import xml.etree.ElementTree as ElementTree

import stage
from test_geometry import box, is_ink
from viewer import LOCALES, Viewer

MARGIN = 16
MIDDLE = (0, 200, 800, 260)
# 9 points, as the desktop theme here has it, are 17 pixels then, like 12 points on an instrument without a theme.
INSTRUMENT_SIZE = {"QT_FONT_DPI": "136"}
VERSION = "3.14.10"
# The whole path is too wide for the screen in that size, whatever stands before it.
FIRMWARE = "zentar/atmega/ZEPRA_AFW_2.07.hex"
FITS_SMALLER = "The size of 13 pixels would have room for these words, but the other size does not, not in this window"


def texts(locale):
    """The texts of a language as they stand on the screen, the question in both its forms; not the button's."""
    messages = ElementTree.parse(stage.SOURCES / "translations" / f"vrk-updater_{locale}.ts").iter("message")
    table = {message.findtext("source"): message.findtext("translation") for message in messages}
    unknown, _ = table.pop("unknown"), table.pop("Reboot")
    for source, text in table.items():
        text = text.replace("%1", FIRMWARE if source.startswith("ATMEGA") else VERSION)
        yield text.replace("%2", VERSION)
        if "%2" in text:
            yield text.replace("%2", unknown)


class LanguagesTest(unittest.TestCase):

    def test_no_text_runs_past_the_edges(self):
        with Viewer(environment=INSTRUMENT_SIZE) as viewer:
            for locale in LOCALES:
                for text in texts(locale):
                    with self.subTest(locale=locale, text=text):
                        ink = box(viewer.show(message=text), is_ink, MIDDLE)
                        self.assertGreaterEqual(ink[0], MARGIN)
                        self.assertLessEqual(ink[2], 800 - MARGIN)
            self.assertLess(box(viewer.show(message=FITS_SMALLER), is_ink, MIDDLE)[0], MARGIN)
        self.assertEqual(viewer.faults, [])


if __name__ == "__main__":
    stage.main()
