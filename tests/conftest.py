"""What the Python tests share."""

import os
from pathlib import Path

import pytest
from simulator import SOURCES, namespaces
from simulator.build import NOT_POSSIBLE, Build, NotPossible, require_screen


@pytest.fixture(scope="session")
def build():
    """The build folder under test."""
    return Path(os.environ.get("VRK_BUILD", SOURCES / "build/dev")).absolute()


@pytest.fixture(scope="session")
def offscreen():
    """The environment of a program that draws on no display."""
    return {**os.environ, "QT_QPA_PLATFORM": "offscreen", "QT_QUICK_BACKEND": "software"}


@pytest.fixture(scope="session")
def where_possible():
    """Calls a function, and skips the test where this machine cannot do what that needs."""
    def call(function):
        try:
            return function()
        except NotPossible as reason:
            return pytest.skip(str(reason))
    return call


@pytest.fixture(scope="session")
def parts(build, where_possible):
    """What goes of it into an instrument with a screen; from here on this process's mounts are its own."""
    where_possible(require_screen)
    namespaces.enter()
    return Build(build)


def pytest_sessionfinish(session):
    """Where nothing could be tried, CTest is to say so."""
    reporter = session.config.pluginmanager.get_plugin("terminalreporter")
    if reporter and "skipped" in reporter.stats and not {"passed", "failed", "error"} & set(reporter.stats):
        session.exitstatus = NOT_POSSIBLE
