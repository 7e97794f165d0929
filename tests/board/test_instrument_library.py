"""Libraries that a firmware engineer may name: what configuring says of them, and how the updater runs with one."""

import gzip
import os
import signal
import subprocess
import time
from pathlib import Path

import pytest

SOURCES = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("VRK_BUILD", SOURCES / "build" / "dev"))
LIBRARY = Path(__file__).with_name("longerlibrary.cpp")
PROJECT = f"""\
cmake_minimum_required(VERSION 3.21)
project(probe CXX)
list(APPEND CMAKE_MODULE_PATH "{SOURCES}/cmake")
find_package(VrkEmbeddedApi)
add_executable(program program.cpp)
target_link_libraries(program vrk-embedded-api)
"""
PROGRAM = """\
#include "vrk-embedded-api.h"
int main() { VRK_Status status; const ScopeLogger scope("main", false); return VRK_GetStatus(&status); }
"""


def make_library(folder, *definitions):
    library = folder / "libvrk-embedded-api.so"
    subprocess.run(["c++", "-std=c++17", "-shared", "-fPIC", f"-I{SOURCES}/src/board", *definitions,
                    LIBRARY, "-o", library], check=True)
    return library


@pytest.mark.parametrize("definitions, said", [
    ([], "Instrument library: /"),
    (["-DVRK_EMBEDDED_API_BARE_NAMES"], "bare C names"),
    (["-DINCOMPLETE"], "lacks VRK_FlashATMEGA_file(char const*, VRK_ProgressCallback const*) Looked for"),
    ("text", "cannot be linked"),
    (None, "There is no instrument library"),
])
def test_a_named_library(tmp_path, definitions, said):
    library = tmp_path / "libvrk-embedded-api.so"
    if definitions == "text":
        library.write_text("no library")
    elif definitions is not None:
        make_library(tmp_path, *definitions)
    (tmp_path / "CMakeLists.txt").write_text(PROJECT)
    (tmp_path / "program.cpp").write_text(PROGRAM)
    configured = subprocess.run(["cmake", "-S", tmp_path, "-B", tmp_path / "build", f"-DVRK_EMBEDDED_API_LIBRARY={library}"],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    assert said in " ".join(configured.stdout.split())
    usable = isinstance(definitions, list) and "-DINCOMPLETE" not in definitions
    assert (configured.returncode == 0) == usable
    if usable:
        subprocess.run(["cmake", "--build", tmp_path / "build"], check=True, stdout=subprocess.DEVNULL)
        subprocess.run([tmp_path / "build" / "program"], check=True)


def test_the_updater_with_longer_records(tmp_path):
    archive = tmp_path / "zepra_update_v2.tar.gz"
    archive.write_bytes(gzip.compress(b"not looked at on this processor"))
    environment = {**os.environ, "LD_LIBRARY_PATH": str(BUILD / "tests" / "board" / "longer"),
                   "QT_QPA_PLATFORM": "offscreen", "QT_QUICK_BACKEND": "software", "ASAN_OPTIONS": "detect_leaks=0"}
    log = tmp_path / "log"
    with open(log, "wb") as output:
        updater = subprocess.Popen([BUILD / "bin" / "vrk-updater", "-u", archive, "--silent"],
                                   env=environment, stdout=output, stderr=output)
        until = time.monotonic() + 60
        while "-scope" not in log.read_text() and updater.poll() is None and time.monotonic() < until:
            time.sleep(0.05)
        updater.send_signal(signal.SIGTERM)
        status = updater.wait(30)
    assert (status, log.read_text().count("VRKUpdate::run")) == (0, 1), log.read_text()
    assert "-scope" in log.read_text()
