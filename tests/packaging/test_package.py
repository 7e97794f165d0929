"""Makes the Debian package of a build, looks at it and starts it; on ARM installed into a root of its own."""

import fcntl
import os
import re
import shutil
import signal
import subprocess
from pathlib import Path
from types import SimpleNamespace

import pytest
from simulator import SOURCES, namespaces
from simulator.build import NOT_POSSIBLE
from simulator.languages import LOCALES
from simulator.rootfs import RootFileSystem

pytestmark = pytest.mark.arm
FILES = {"bin/vrk-updater": "-rwxr-xr-x", "bin/vrk-updater-launch": "-rwxr-xr-x",
         "lib/systemd/system/vrk-updater.service": "-rw-r--r--"}
FILES |= {f"share/zentar/translations/vrk-updater_{locale}.qm": "-rw-r--r--" for locale in LOCALES}
LINK = {"bin/translations -> ../share/zentar/translations": "lrwxrwxrwx"}
DEPENDS = {"libc6", "libqt5core5a", "libqt5gui5", "libqt5qml5", "libstdc++6", "mount",
           "qml-module-qtquick-controls2", "qml-module-qtgraphicaleffects"}
KINDS = {"armhf": "ELF 32-bit LSB pie executable, ARM", "amd64": "x86-64"}


def output_of(*command):
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE).stdout


@pytest.fixture(scope="module")
def package(build, tmp_path_factory):
    """The package: its file, its fields, and the folder into which it is unpacked."""
    if not (build / "CPackConfig.cmake").exists():
        pytest.skip(f"{build} makes no package")
    folder = tmp_path_factory.mktemp("package")
    output_of("cpack", "--config", build / "CPackConfig.cmake", "-B", folder)
    file, = folder.glob("*.deb")
    output_of("dpkg-deb", "-x", file, folder / "unpacked")
    fields = dict(re.findall("^(.*): (.*)$", output_of("dpkg-deb", "-f", file), re.MULTILINE))
    return SimpleNamespace(file=file, unpacked=folder / "unpacked", **fields)


def test_contents(package):
    """Files, and their permissions; a launcher that the unit starts, and a program without traces of the build."""
    listing = [line.split(None, 5) for line in output_of("dpkg-deb", "-c", package.file).splitlines()]
    assert {owner for _, owner, *_ in listing} == {"root/root"}
    files = {name.removeprefix("./usr/local/"): mode for mode, *_, name in listing if mode[0] != "d"}
    assert files == (FILES if package.Architecture == "armhf" else FILES | LINK)
    unit = (package.unpacked / "usr/local/lib/systemd/system/vrk-updater.service").read_text()
    assert os.access(package.unpacked / re.search("^ExecStart=/(.*)$", unit, re.MULTILINE)[1], os.X_OK)
    program = package.unpacked / "usr/local/bin/vrk-updater"
    assert re.search(KINDS[package.Architecture] + r".*(?<!not )\bstripped", output_of("file", "-b", program))
    assert not re.search("RPATH|RUNPATH", output_of("objdump", "-p", program))


def test_dependencies(package):
    assert {re.split(r"[ |(]", item.strip())[0] for item in package.Depends.split(",")} >= DEPENDS
    assert re.search(r"libqt5core5a \(>= 5\.", package.Depends) and "virtualkeyboard" not in package.Depends
    assert "qtvirtualkeyboard-plugin" in package.Recommends


def test_starts(package, build, offscreen, tmp_path):
    library = build / "lib/libvrk-embedded-api.so"
    command, environment = [package.unpacked / "usr/local/bin/vrk-updater"], {"LD_LIBRARY_PATH": str(library.parent)}
    if package.Architecture == "armhf":
        root = root_with(package.file, library, tmp_path)
        command, environment = root.command("/usr/local/bin/vrk-updater"), {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin"}
    environment = {**offscreen, **environment, "XDG_RUNTIME_DIR": "/run"}
    seen = ""
    with subprocess.Popen(command, env=environment, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT) as process:
        for line in process.stdout:
            seen += line
            if "VRK_Status" in line:
                process.send_signal(signal.SIGTERM)
    assert process.returncode == 0 and "Usage: vrk-updater" in seen and "VRK_Status" in seen, seen
    assert not re.search("qrc:|not installed|cannot open shared object", seen), seen


def root_with(package, library, folder):
    """A throw-away root file system for ARM with the package and what it depends on."""
    made = subprocess.run([SOURCES / "tools/arm-root", "--bare"], text=True, stdout=subprocess.PIPE, check=False)
    if made.returncode == NOT_POSSIBLE:
        pytest.skip(made.stdout.strip())
    assert made.returncode == 0, made.stdout
    base = Path(output_of(SOURCES / "tools/arm-root", "--bare", "--print").strip())
    namespaces.enter()
    root = RootFileSystem(folder, base)
    root.bind(base.parent / "armhf-packages", "/var/cache/apt/archives")
    for source, place in ((package, "/tmp/vrk-updater.deb"), (library, "/usr/lib"), ("/etc/resolv.conf", "/etc")):
        shutil.copy(source, root.inside(place))
    with open(base.parent / "armhf.lock", "w", encoding="ascii") as lock:  # tools/arm-root shares the packages
        fcntl.flock(lock, fcntl.LOCK_EX)
        for command in ("update", "install -y --no-install-recommends -o DPkg::Options::=--force-unsafe-io"
                        " /tmp/vrk-updater.deb"):
            subprocess.run(root.command("env", "DEBIAN_FRONTEND=noninteractive", "apt-get", "-qq", *command.split()),
                           check=True)
    return root
