"""Every screen of the updater, in every order in which they may come, by touch from outside."""

import time
import unittest
from functools import cache

import stage
from film import Film, same_texts
from stage import SILENT, Play, on_stage
from recogniser import read
from viewer import Viewer

HOLD_ON = "Please do not remove the usb drive or power off the device"
QUESTION = ["Are you sure you want to update the system from %1 to %2?", "3.4.0"]
READY = "Please remove USB and then select Reboot"
ERROR = "Error upgrading firmware"

# Name: upper text, message, bar, bottom.
SCREENS = {
    "loaded": (None, None, None, "pair"),
    "welcome": (None, "Welcome to updater", "busy", "pair"),
    "welcome, silent": (None, "Welcome to updater", "busy", None),
    "confirm": (HOLD_ON, QUESTION + ["3.5.0"], None, "pair"),
    "confirm, unknown": (HOLD_ON, QUESTION + ["unknown"], None, "pair"),
    "checking": (HOLD_ON, "Checking for updates", "busy", None),
    "checking, silent": (None, "Checking for updates", "busy", None),
    "installing": (HOLD_ON, "Upgrading...", "value", None),
    "installing, silent": (None, "Upgrading...", "value", None),
    "final": (READY, "Firmware upgrade successful", None, "button"),
    "rebooting": (READY, "Rebooting...", "busy", None),
    "cancelling": (HOLD_ON, "Cancelling...", "busy", "pair"),
    "no archive": (None, ERROR + ": Please check USB drive", None, "button"),
    "no library": (None, "Failed to initialize VRK library", None, "button"),
    "missing": (HOLD_ON, "Required update files missing", None, "button"),
    "corrupt": (HOLD_ON, ERROR + ": corrupt archive", None, "button"),
    "corrupt, silent": (None, ERROR + ": corrupt archive", None, "button"),
    "failed": (HOLD_ON, ERROR, None, "button"),
    "board failed": (HOLD_ON, "Error upgrading measurement board firmware", None, "button"),
    "board failed, silent": (None, "Error upgrading measurement board firmware", None, "button"),
    "rebooting early": (None, "Rebooting...", "busy", None),
    "rebooting after error": (HOLD_ON, "Rebooting...", "busy", None),
}

UNDERWAY = {"delays": {"gzip": 1, "tar": 1}}
MISSING = ("-u", stage.MISSING_ARCHIVE)
CORRUPT = ("-u", stage.CORRUPT_ARCHIVE)


# What happens, where the operator touches, which screens come, and the exit status.
RUNS = [
    ("update", Play(**UNDERWAY), "yes, reboot",
     "welcome; confirm; checking; installing; final; rebooting", 0),
    ("no", Play(), "no", "welcome; confirm; cancelling", 0),
    ("version not in the name", Play(("-u", stage.UNNAMED_ARCHIVE)), "no",
     "welcome; confirm, unknown; cancelling", 0),
    ("no archive named", Play(()), "reboot", "welcome; no archive; rebooting early", 0),
    ("library fails", Play(initialize_result=5), "reboot", "welcome; no library; rebooting early", 0),
    ("archive gone", Play(MISSING), "yes, reboot", "welcome; confirm; missing; rebooting after error", 0),
    ("archive corrupt", Play(CORRUPT, delays={"gzip": 1}), "yes, reboot",
     "welcome; confirm; checking; corrupt; rebooting after error", 0),
    ("installation fails", Play(failures={"umount": 1}, **UNDERWAY), "yes, reboot",
     "welcome; confirm; checking; installing; failed; rebooting after error", 0),
    ("board fails", Play(flash_result=58, **UNDERWAY), "yes, reboot",
     "welcome; confirm; checking; installing; board failed; rebooting after error", 0),
    ("silent", Play(SILENT, **UNDERWAY), "",
     "welcome, silent; checking, silent; installing, silent", 0),
    ("silent, archive corrupt", Play((*CORRUPT, "--silent"), delays={"gzip": 1}),
     "reboot", "welcome, silent; checking, silent; corrupt, silent; rebooting early", 0),
    ("silent, board fails", Play(SILENT, flash_result=58, **UNDERWAY), "",
     "welcome, silent; checking, silent; installing, silent", 1),
]

LAST_PICTURE_SECONDS = 0.2
REACTION_SECONDS = 0.3
PLACES = {"yes": (200, 456), "no": (600, 456), "reboot": (400, 456)}


@cache
def drawn():
    """The pictures of SCREENS without the bar and the bottom row, drawn with nothing behind them."""
    with Viewer() as viewer:
        pictures = {}
        for name, (upper, message, bar, _) in SCREENS.items():
            pictures[name] = viewer.show(
                instructionsText=[upper or ""], isProgressBarVisible=bar is not None,
                message=message if isinstance(message, list) else [message or ""])
    return pictures


def name_of(shot):
    """The screen that a shot shows; a description of what stands there when it is none."""
    view = shot.view
    bottom = " and ".join(part for part in ("pair", "button") if getattr(view, part)) or None
    for name, (*_, bar, wanted) in SCREENS.items():
        if (bar, wanted) == (view.bar, bottom) and same_texts(drawn()[name], shot.frame):
            return name
    return f"unknown: {view}" if any(shot.frame.bgrx) else "black"


def names_of(film):
    names = [name_of(shot) for shot in film.shots]
    return [name for at, name in enumerate(names) if at == 0 or name != names[at - 1]]


class StatesTest(unittest.TestCase):

    def test_runs(self):
        drawn()
        for title, play, touches, screens, status in RUNS:
            with self.subTest(title), on_stage(play) as running, Film(running.screen) as film:
                film.wait_for(lambda view: view.message)
                running.screen.give_focus()
                for place in filter(None, touches.split(", ")):
                    control = (lambda view: view.button) if place == "reboot" else (lambda view: view.focus)
                    film.wait_for(control)
                    time.sleep(REACTION_SECONDS)
                    running.screen.touch(*PLACES[place])
                self.assertEqual(running.exit_status(), status)
                time.sleep(LAST_PICTURE_SECONDS)
                self.assert_screens(film, screens.split("; "))

    def assert_screens(self, film, wanted):
        """Black, then the wanted screens and no other."""
        names = names_of(film)
        if names[1] == "loaded":  # It may be gone before it is drawn.
            names.pop(1)
        if wanted[-1] == "installing, silent" and names[-1] in ("final", "board failed, silent"):
            names.pop()  # A silent run ends at once.
        self.assertEqual(names, ["black", *wanted])
        together = [shot.view for shot in film.shots if shot.view.pair and shot.view.button]
        self.assertEqual(together, [])

    def test_a_language_other_than_english(self):
        with Viewer(locale="de") as viewer:
            wanted = viewer.show(instructionsText=[HOLD_ON], message=QUESTION + ["3.5.0"])
        with on_stage(Play(language=2)) as running, Film(running.screen) as film:
            shot = film.wait_for(lambda view: view.upper and view.pair)
        self.assertTrue(same_texts(shot.frame, wanted))
        self.assertFalse(same_texts(shot.frame, drawn()["confirm"]))

    def test_pair_and_button_together_would_be_seen(self):
        with Viewer() as viewer:
            frame = viewer.show(isConfirmationVisible=True, isButtonVisible=True)
        view = read(frame)
        self.assertTrue(view.pair and view.button, view)


if __name__ == "__main__":
    stage.main()
