"""The icons are kept as pixels beside their drawings; this keeps the two together."""

import io
import subprocess
from pathlib import Path

import pytest
from PIL import Image, ImageChops

IMAGES = Path(__file__).parents[2] / "src" / "qml" / "images"
SIZES = {"accept": (53, 41), "discard": (28, 26), "left_arrow": (24, 33), "exitArrow": (128, 126),
         "exitMan": (128, 126)}


@pytest.mark.parametrize("name", SIZES)
def test_icon(name):
    icon = Image.open(IMAGES / f"icon_{name}.png")
    assert (icon.mode, icon.size) == ("RGBA", SIZES[name])
    drawing = subprocess.run(["rsvg-convert", IMAGES / f"icon_{name}.svg"], check=True, capture_output=True).stdout
    difference = ImageChops.difference(icon, Image.open(io.BytesIO(drawing)))
    assert max(highest for _, highest in difference.getextrema()) <= 12  # releases blend edges differently
