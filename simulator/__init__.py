"""A simulated instrument: runs the updater as the instrument would, watches its screen and operates it."""

from pathlib import Path

SOURCES = Path(__file__).resolve().parent.parent
