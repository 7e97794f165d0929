"""Libraries that a firmware engineer may name: what configuring says of them, and how the updater runs with one."""

import gzip
import subprocess
from pathlib import Path

import pytest
from simulator import SOURCES

LIBRARY = Path(__file__).with_name("longerlibrary.cpp")
PROJECT = """\
cmake_minimum_required(VERSION 3.21)
project(probe CXX)
find_package(VrkEmbeddedApi)
add_executable(program program.cpp)
target_link_libraries(program vrk-embedded-api)
"""
PROGRAM = """\
#include "vrk-embedded-api.h"
int main() { VRK_Status status; const ScopeLogger scope("main", false); return VRK_GetStatus(&status); }
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


def test_the_updater_with_longer_records(build, offscreen, tmp_path):
    archive = tmp_path / "zepra_update_v2.tar.gz"
    archive.write_bytes(gzip.compress(b"not looked at on this processor"))
    environment = {**offscreen, "LD_LIBRARY_PATH": str(build / "tests/board/longer")}
    with subprocess.Popen([build / "bin/vrk-updater", "-u", archive, "--silent"], env=environment, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT) as updater:
        seen = []
        for line in updater.stdout:
            seen.append(line.strip())
            if line.startswith("-scope"):
                updater.terminate()
    assert (updater.returncode, seen.count("+VRKUpdate::run"), seen.count("-scope")) == (0, 1, 1), seen
