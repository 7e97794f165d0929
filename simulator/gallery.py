"""Brings the real program's screens about and takes pictures of them: tools/make-gallery.

Without options it brings the pictures of the README up to date, docs/images/*: those of the emulated
instrument in a successful update, which also becomes a moving picture, and with a corrupt archive. A still
picture that shows the same as before stays as it is. With --languages it writes FOLDER/<locale>.png for
each language instead, from the simulated instrument: what is written on each of its screens, two in a row.
Two errors are missing, which cannot be brought about: that the back end is not reached, and that the
board's firmware file vanishes.
"""

import itertools
import json
import os
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, replace
from pathlib import Path

from PIL import Image

from . import SOURCES
from .build import Build, require_screen
from .commandline import status_of, tool_parser
from .namespaces import run_isolated
from .run import ARCHIVE, CORRUPT_ARCHIVE, MISSING_ARCHIVE, UNNAMED_ARCHIVE, run_updater
from .instrument import Settings
from .languages import LOCALES
from .screen import SMALLEST
from .view import TRACK, View, bar_place, differing, letter

REACTION_SECONDS = 0.3
PATIENCE_SECONDS = 60
IMAGES = SOURCES / "docs" / "images"
TOLERANCE = 8
SAME_PIXELS = 100  # and fewer differ more than that between two pictures of the same screen
WRITTEN_PARTS = ((130, 264), (432, 480))
SHEET_COLUMNS = 2
WORKERS = 2


@dataclass(frozen=True)
class Step:
    """A screen to wait for, the name of its picture if there is to be one, and what is touched then."""

    shows: Callable[[View], bool]
    picture: str | None = None
    touch: str | None = None


@dataclass(frozen=True)
class Scene:
    """One run of the updater: the instrument, the arguments, and the operator's steps up to its end."""

    steps: tuple
    settings: Settings = Settings(initialize_ms=600)
    arguments: tuple = ("-u", ARCHIVE)


def is_leaving(view):
    return view.bar == "busy" and not view.button


YES = Step(lambda view: view.focus == "yes", touch="yes")
FINAL = Step(lambda view: view.focus == "button", "final", touch="button")
ERROR = replace(FINAL, picture="error")
LEAVING = Step(is_leaving, "rebooting")
UNDERWAY = {"gzip": 1, "sed": 3}  # While sed waits, the bar fills.

SCENES = {
    "update": Scene((
        Step(lambda view: view.bar == "busy", "welcome"),
        replace(YES, picture="confirm"),
        Step(lambda view: view.bar == "busy" and not view.pair, "checking"),
        Step(lambda view: view.fill > 0.48, "installing"),
        FINAL,
        LEAVING), Settings(initialize_ms=600, delays=UNDERWAY, page_ms=2)),
    "no": Scene((
        Step(lambda view: view.focus == "yes", "unknown", touch="no"),
        Step(is_leaving, "cancelling")), arguments=("-u", UNNAMED_ARCHIVE)),
    "no archive": Scene((ERROR, LEAVING), arguments=()),
    "no library": Scene((ERROR, LEAVING), Settings(initialize_result=5)),
    "missing": Scene((YES, ERROR, LEAVING), arguments=("-u", MISSING_ARCHIVE)),
    "corrupt": Scene((YES, ERROR, LEAVING), arguments=("-u", CORRUPT_ARCHIVE)),
    "failed": Scene((YES, ERROR, LEAVING), Settings(faults=(("exit", "umount"),))),
    "board": Scene((YES, ERROR, LEAVING), Settings(board_result=58, page_ms=2)),
}

# The pictures of the README: of an update, and of one with a corrupt archive.
OF_UPDATE, OF_CORRUPT_ARCHIVE = ("welcome", "confirm", "checking", "installing", "final"), ("error",)
FILM = IMAGES / "update.gif"


def take(scene, build, language=1, size=SMALLEST):
    """Runs the updater through the scene of that name; returns its pictures by their names."""
    scene = SCENES[scene]
    pictures = {}
    with run_updater(scene.arguments, replace(scene.settings, language=language), build=build, size=size) as run:
        for step in scene.steps:
            shot = run.watcher.wait_for(step.shows, PATIENCE_SECONDS)
            if step.picture:
                pictures[step.picture] = shot.picture
            if step.touch:
                time.sleep(REACTION_SECONDS)
                run.screen.press(step.touch)
        run.wait(PATIENCE_SECONDS)
    return pictures


def small(picture):
    """A picture with a palette of its own."""
    return picture.quantize(palette=palette(picture), dither=Image.Dither.NONE)


def palette(picture):
    """A palette for a picture: half of it are greys, the other half the most frequent colours."""
    frequent = sorted(picture.getcolors(picture.width * picture.height), reverse=True)
    colours = [colour for _, colour in frequent if max(colour) - min(colour) > 8][:128]
    made = Image.new("P", (1, 1))
    made.putpalette([*(level for grey in range(128) for level in [2 * grey] * 3), *itertools.chain(*colours)])
    return made


def unlike(picture, kept):
    """How many pixels of a picture differ from one that is kept, wherever its bar stands."""
    return differing(comparable(small(picture)), comparable(kept), TOLERANCE)


def comparable(picture):
    """A copy in which a bar of the right place and colours is painted over."""
    copy = picture.convert("RGB")
    place = bar_place(copy)
    if "?" not in {letter(colour) for _, colour in copy.crop(place).getcolors(copy.width * copy.height)}:
        copy.paste(TRACK, place)
    return copy


def sheet(pictures):
    """One picture of the written parts of many, which have the same size."""
    width, height = pictures[0].width, sum(end - top for top, end in WRITTEN_PARTS)
    made = Image.new("RGB", (SHEET_COLUMNS * width, -(-len(pictures) // SHEET_COLUMNS) * height))
    for number, picture in enumerate(pictures):
        row, column = divmod(number, SHEET_COLUMNS)
        below = row * height
        for top, end in WRITTEN_PARTS:
            made.paste(picture.crop((0, top, width, end)), (column * width, below))
            below += end - top
    return made


def save(picture, path):
    small(picture).save(path, optimize=True)
    print(f"{path}  {path.stat().st_size / 1024:.0f} KB", flush=True)


def make_gallery():
    with tempfile.TemporaryDirectory() as folder:
        corrupt = Path(folder, os.path.basename(CORRUPT_ARCHIVE))
        corrupt.write_text("no archive")
        for names, options in ((OF_UPDATE, ["--film", FILM]), (OF_CORRUPT_ARCHIVE, ["--archive", corrupt])):
            taken = emulated(Path(folder, names[0]), *options)
            for name in names:
                renew(IMAGES / f"{name}.png", taken[name])
    print(f"{FILM}  {FILM.stat().st_size / 1024:.0f} KB")


def emulated(folder, *options):
    """The pictures of an update of the emulated instrument, by their names."""
    subprocess.run([SOURCES / "emulate", "--keep", folder, *options], check=True)
    findings = json.loads(Path(folder, "latest", "report.json").read_text())
    return {screen["name"]: Image.open(screen["picture"]).convert("RGB") for screen in findings["screens"]}


def renew(path, picture):
    """Saves a picture in the place of one that shows something else."""
    if path.exists() and unlike(picture, Image.open(path)) <= SAME_PIXELS:
        print(f"{path}  as before", flush=True)
    else:
        save(picture, path)


def make_sheets(build, locales, folder):
    folder.mkdir(parents=True, exist_ok=True)

    def make(locale):
        language = LOCALES.index(locale) + 1
        pictures = [picture for scene in SCENES for name, picture in take(scene, build, language).items()
                    if scene in ("update", "no") or name == "error"]
        save(sheet(pictures), folder / f"{locale}.png")

    with ThreadPoolExecutor(WORKERS) as workers:
        list(workers.map(make, locales))


def main():
    parser = tool_parser("tools/make-gallery", __doc__)
    parser.add_argument("--languages", type=Path, metavar="FOLDER")
    parser.add_argument("--only", metavar="LOCALE,...", help="only the sheets of these languages")
    options = parser.parse_args()
    return status_of(lambda: languages(options) if options.languages else make_gallery() or 0, "make-gallery")


def languages(options):
    build = Build(options.build.absolute())
    require_screen()
    build.check()
    locales = options.only.split(",") if options.only else LOCALES
    return run_isolated(lambda: make_sheets(build, locales, options.languages) or 0, "make-gallery")


if __name__ == "__main__":
    sys.exit(main())
