"""Libraries that a firmware engineer may name: what configuring says of them, and how the updater runs with one."""

import re
import subprocess
from pathlib import Path

import pytest
from simulator import SOURCES
from simulator.build import Build
from simulator.run import run_updater
from simulator.view import bar_of

LIBRARY = Path(__file__).with_name("unrulylibrary.cpp")
PROJECT = """\
cmake_minimum_required(VERSION 3.21)
project(probe CXX)
find_package(VrkEmbeddedApi)
add_executable(program program.cpp)
target_link_libraries(program vrk-embedded-api)
"""
PROGRAM = """\
#include "vrk-embedded-api.h"
int main()
{
    VRK_Status status;
    const ScopeLogger scope("main", false);
    VRK_GetStatus(&status);
    return status.boardConnected == 0;
}
"""


@pytest.mark.parametrize("source, definition, said, usable", [
    (LIBRARY, "TYPED", "Instrument library: /", True),
    (LIBRARY, "VRK_EMBEDDED_API_BARE_NAMES", "bare C names", True),
    (LIBRARY, "INCOMPLETE", "lacks VRK_FlashATMEGA_file(char const*, VRK_ProgressCallback const*) Looked for", False),
    ("/dev/null", "EMPTY", "ScopeLogger::~ScopeLogger()", False),
    (None, "no library", "cannot be linked", False),
    (None, "", "There is no instrument library", False),
])
def test_a_named_library(tmp_path, source, definition, said, usable):
    library, build = tmp_path / "libvrk-embedded-api.so", tmp_path / "build"
    if source:
        subprocess.run(["c++", "-x", "c++", "-std=c++17", "-shared", "-fPIC", f"-I{SOURCES}/src/board",
                        f"-D{definition}", source, "-o", library], check=True)
    elif definition:
        library.write_text(definition)
    (tmp_path / "CMakeLists.txt").write_text(PROJECT)
    (tmp_path / "program.cpp").write_text(PROGRAM)
    configured = subprocess.run(["cmake", "-S", tmp_path, "-B", build, f"-DCMAKE_MODULE_PATH={SOURCES}/cmake",
                                 f"-DVRK_EMBEDDED_API_LIBRARY={library}"],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    assert said in " ".join(configured.stdout.split())
    assert (configured.returncode == 0) == usable
    if usable:
        subprocess.run(["cmake", "--build", build], check=True, stdout=subprocess.DEVNULL)
        subprocess.run([build / "program"], check=True)


class UnrulyBuild(Build):
    library = property(lambda self: self.folder / "tests/board/unruly/libvrk-embedded-api.so")


@pytest.mark.usefixtures("parts")
def test_the_updater_with_an_unruly_library(build):
    with run_updater(build=UnrulyBuild(build)) as run:
        run.watcher.wait_for(focus="yes")
        run.screen.key("Return")
        run.watcher.wait_for(focus="button")
        run.screen.key("Return")
        assert run.wait() == 0
        said = [line for line in run.output().splitlines() if re.match(r"\+|-scope|ATMEGA", line)]
    assert sorted(said) == ["+AtmegaUpdate::run", "+VRKUpdate::run", "-scope", "-scope",
                            "ATMEGA Firmware upgrade successfully"]
    values = [fill for bar, fill in (bar_of(row) for _, row in run.watcher.bar) if bar == "value"]
    assert values == sorted(values) and values[-1] == 1, values
