"""The names of the updater's screens, which operator.py tells apart, and of what a signal can come with."""

SCREENS = ("loaded", "welcome", "confirm", "checking", "installing", "final", "error", "end", "leaving")
ENDINGS = ("final", "error", "end")
BRIEF = ("loaded", "checking", "leaving")  # which may be over before they are seen
SIGNAL_SCREENS = tuple(name for name in SCREENS if name != "loaded")  # which is too brief to be waited for
FLASH = "flash"  # of the board
MOMENTS = (*SCREENS, FLASH)
