"""The texts of all languages as they are drawn: none runs past the window's edges."""

import unittest
import xml.etree.ElementTree as ElementTree

import stage
from test_geometry import box, is_ink
from viewer import LOCALES, Viewer

MARGIN = 16
MIDDLE = (0, 200, 800, 260)
VERSIONS = ["3.14.10", "3.15.11"]
FIRMWARE = "/usr/local/share/zentar/atmega/ZEPRA_AFW_2.07.hex"
BUTTON = "Reboot"


def texts():
    """All texts of the screen but the button's, as they stand in the program."""
    path = stage.SOURCES / "translations" / "vrk-updater_en.ts"
    sources = [message.text for message in ElementTree.parse(path).iter("source")]
    return [text for text in sources if text not in (BUTTON, "unknown")]


class LanguagesTest(unittest.TestCase):

    def test_no_text_runs_past_the_edges(self):
        for locale in LOCALES:
            with Viewer(locale=locale) as viewer:
                for text in texts():
                    with self.subTest(locale=locale, text=text):
                        values = [FIRMWARE] if text.startswith("ATMEGA") else VERSIONS
                        ink = box(viewer.show(message=[text, *values]), is_ink, MIDDLE)
                        self.assertGreaterEqual(ink[0], MARGIN)
                        self.assertLessEqual(ink[2], 800 - MARGIN)
            self.assertEqual(viewer.faults, [])

    def test_a_text_that_is_too_long_would_be_seen(self):
        with Viewer() as viewer:
            ink = box(viewer.show(message=["%1 " * 40, "3.14.10"]), is_ink, MIDDLE)
        self.assertLess(ink[0], MARGIN)


if __name__ == "__main__":
    stage.main()
