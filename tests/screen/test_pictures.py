"""The screens as they are drawn: beside the pictures that are kept of them, and in every language."""

import io
import subprocess
from pathlib import Path
from xml.etree import ElementTree

import pytest
from PIL import Image, ImageChops
from simulator import SOURCES, gallery
from simulator.languages import LOCALES
from simulator.view import margins_of
from simulator.viewer import Viewer

SMALL, LARGE = (800, 480), (1280, 800)
ENGLISH, GERMAN = 1, 2
MARGIN = 16
# 9 points, as the desktop theme here has it, are 17 pixels then, like 12 points on an instrument without a theme.
INSTRUMENT_SIZE = {"QT_FONT_DPI": "136"}
FITS_SMALLER = "The size of 13 pixels would have room for these words, but the other size does not, not in this window"
VERSION = "3.14.10"
FIRMWARE = "zentar/atmega/ZEPRA_AFW_2.07.hex"  # in this size no screen is wide enough for the whole path

ICONS = {"accept": (53, 41), "discard": (28, 26), "left_arrow": (24, 33),
         "exitArrow": (128, 126), "exitMan": (128, 126)}


@pytest.mark.parametrize("scene, size, language, names", [
    ("update", SMALL, ENGLISH, "welcome confirm checking installing final"),
    ("corrupt", SMALL, ENGLISH, "error"),
    ("no", LARGE, GERMAN, "unknown cancelling"),
])
def test_looks_as_kept(parts, tmp_path, scene, size, language, names):
    """Beside the README's pictures; those of the other size and language lie here."""
    folder = gallery.IMAGES if size == SMALL else Path(__file__).with_name("pictures")
    taken, unlike = gallery.take(scene, parts, language, size), {}
    for name in names.split():
        gallery.save(taken[name], tmp_path / f"{name}.png")
        unlike[name] = gallery.unlike(taken[name], Image.open(folder / f"{name}.png"))
    assert max(unlike.values()) <= gallery.SAME_PIXELS, f"{unlike}; what came is in {tmp_path}"


@pytest.mark.parametrize("locale", LOCALES)
def test_no_text_runs_past_the_edges(parts, locale):
    texts = {message.findtext("source"): message.findtext("translation")
             for message in ElementTree.parse(SOURCES / f"translations/vrk-updater_{locale}.ts").iter("message")}
    unknown, _ = texts.pop("unknown"), texts.pop("Reboot")
    texts["unknown version"] = next(text for text in texts.values() if "%2" in text).replace("%2", unknown)
    with Viewer(parts, environment=INSTRUMENT_SIZE) as viewer:
        def margin(text):
            return margins_of(viewer.show(message=text), 200, 260)

        for source, text in texts.items():
            text = text.replace("%1", FIRMWARE if source.startswith("ATMEGA") else VERSION).replace("%2", VERSION)
            assert margin(text) >= MARGIN, text
        assert margin(FITS_SMALLER) < MARGIN
    assert viewer.faults == []


@pytest.mark.parametrize("name", ICONS)
def test_icon_is_its_drawing(name):
    path = SOURCES / f"src/qml/images/icon_{name}.png"
    icon = Image.open(path)
    assert (icon.format, icon.mode, icon.size) == ("PNG", "RGBA", ICONS[name])
    drawing = subprocess.run(["rsvg-convert", path.with_suffix(".svg")], check=True, capture_output=True).stdout
    difference = ImageChops.difference(icon, Image.open(io.BytesIO(drawing)))
    assert max(highest for _, highest in difference.getextrema()) <= 12  # releases blend edges differently
