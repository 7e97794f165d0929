"""Systems and update archives: what the simulated instrument runs, and what a sample archive brings."""

import hashlib
import os
import random
import shutil
import subprocess
import tarfile
import tempfile
import zlib
from pathlib import Path

from . import SOURCES

MAKE_ARCHIVE = SOURCES / "tools" / "make-archive"
OFFERED_VERSION, OFFERED_FIRMWARE = "3.5.0", "2.07"
TIME = 1_700_000_000
BALLAST_FILES = 5
BALLAST_BYTES = 8 * 1024 * 1024
FIRMWARE_BYTES = 32 * 1024
HEX_RECORD_BYTES = 16
BYTES_PER_INODE = 16 * 1024

TRACES = "/var/lib/zepra"
SETUP_TRACE = "share/zentar/setup-done"

PREPARE_SCRIPT = f"""\
#!/bin/sh
# Runs below /tmp, before the system in use is unmounted.
mkdir -p {TRACES}
echo "prepared for {{version}}" >> {TRACES}/prepare.log
"""

SETUP_SCRIPT = f"""\
#!/bin/sh
# Runs from the freshly filled partition, before the instrument is switched to it.
set -e
mkdir -p {TRACES}
echo {{version}} > /usr/local/{SETUP_TRACE}
echo "set up {{version}}" >> {TRACES}/setup.log
"""
# What was written reaches the disk before /etc/fstab names this partition. Without -f it would tell no error.
SETUP_SYNC = "sync -f /usr/local\n"

ODD_NAMES = [
    "name with blanks.txt",
    "it's \"quoted\" & $dollared; `ticked`.txt",
    "Größe und Maß – 測定.txt",
    "-rf",
    ".hidden",
    "back\\slash",
    "n" * 200 + ".txt",
]


def write_system(folder, version, firmware_version, translations=None):
    """Fills a folder with a small system, as it lies on a system partition."""
    share = folder / "share" / "zentar"
    (folder / "bin").mkdir(parents=True)
    (share / "atmega").mkdir(parents=True)
    (share / "version").write_text(f"{version}\n")
    firmware = share / "atmega" / f"ZEPRA_AFW_{firmware_version}.hex"
    firmware.write_text(intel_hex(seeded_bytes(firmware_version, FIRMWARE_BYTES)))
    _write_script(folder / "bin" / "zepra-gui", f"#!/bin/sh\necho {version}\n")
    if translations:
        shutil.copytree(translations, share / "translations")


def write_update(root, version, firmware_version, translations=None, ballast_files=BALLAST_FILES, setup_syncs=True):
    """Fills root with "usr/local" for an update archive: a system, both scripts, some bulk."""
    folder = root / "usr" / "local"
    write_system(folder, version, firmware_version, translations)
    _write_script(folder / "bin" / "zepra-prepare-update.sh", PREPARE_SCRIPT.format(version=version))
    _write_script(folder / "bin" / "zepra-setup.sh", SETUP_SCRIPT.format(version=version) + SETUP_SYNC * setup_syncs)
    _write_odd_names(folder / "share" / "zentar" / "odd")
    (folder / "lib").mkdir()
    for number in range(ballast_files):
        ballast = semi_compressible(f"{version}.{number}", BALLAST_BYTES)
        (folder / "lib" / f"libzentar-{number}.so").write_bytes(ballast)
    for path in root.rglob("*"):
        os.utime(path, (TIME, TIME), follow_symlinks=False)


def pack(root, version, output):
    """Makes the update archive of a folder that holds "usr/local"; returns its path in the folder output."""
    subprocess.run([MAKE_ARCHIVE, root, "--version", version, "--output", output], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return Path(output, f"zepra_update_v{version}.tar.gz")


def sample(build, ballast_files=BALLAST_FILES, setup_syncs=True):
    """The path of a sample archive with the build's translations; made when the build folder lacks it."""
    sources = [Path(__file__), MAKE_ARCHIVE, *sorted(build.translations.iterdir())]
    content = b"".join(source.read_bytes() for source in sources) + bytes([ballast_files, setup_syncs])
    folder = build.folder / "simulator" / "archives" / hashlib.sha256(content).hexdigest()[:12]
    archive = folder / f"zepra_update_v{OFFERED_VERSION}.tar.gz"
    if not archive.exists():
        print(f"making a sample update archive: {archive}", flush=True)
        folder.mkdir(parents=True, exist_ok=True)
        with tempfile.TemporaryDirectory(dir=folder) as made:
            root = Path(made, "root")
            write_update(root, OFFERED_VERSION, OFFERED_FIRMWARE, build.translations, ballast_files, setup_syncs)
            pack(root, OFFERED_VERSION, made).replace(archive)
    return archive


def unpacked_bytes(archive):
    """What an archive's members take on a partition, blocks and inodes included.

    Of a broken archive only what can be read counts.
    """
    total = 0
    try:
        with tarfile.open(archive, "r|gz") as members:
            for member in members:
                total += max(BYTES_PER_INODE, member.size)
    except (tarfile.TarError, EOFError, OSError, zlib.error):
        pass
    return total


def seeded_bytes(seed, size):
    """Bytes that look random and are the same for the same seed."""
    return random.Random(seed).randbytes(size)


def semi_compressible(seed, size):
    """Bytes that gzip roughly halves, like a stripped library."""
    chunk = 512
    noise = seeded_bytes(seed, size // 2)
    filler = bytes(range(256)) * (chunk // 256)
    chunks = [noise[at:at + chunk] + filler for at in range(0, len(noise), chunk)]
    return b"".join(chunks)[:size]


def intel_hex(image):
    """The image as Intel HEX text, from address 0; it must fit into 64 KiB."""
    records = [_hex_record(at, 0, image[at:at + HEX_RECORD_BYTES])
               for at in range(0, len(image), HEX_RECORD_BYTES)]
    return "\n".join(records + [_hex_record(0, 1, b"")]) + "\n"


def _hex_record(address, kind, data):
    content = bytes([len(data), address >> 8, address & 0xFF, kind]) + data
    checksum = -sum(content) & 0xFF
    return f":{content.hex().upper()}{checksum:02X}"


def _write_script(path, text):
    path.write_text(text)
    path.chmod(0o755)


def _write_odd_names(folder):
    (folder / "empty folder").mkdir(parents=True)
    for name in ODD_NAMES:
        (folder / name).write_text(f"{name}\n")
    (folder / "link").symlink_to("name with blanks.txt")
    (folder / "dangling link").symlink_to("/nowhere/at/all")


def tree(folder):
    """Type, permissions and owner of all that lies below a folder, and what a link names, a file holds, a device is."""
    def describe(path):
        status = path.lstat()
        if path.is_symlink():
            content = os.readlink(path)
        else:
            content = hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else status.st_rdev
        return oct(status.st_mode), (status.st_uid, status.st_gid), content

    return {str(path.relative_to(folder)): describe(path) for path in folder.rglob("*")}


def system_of_archive(file):
    """The system that an archive brings, as tree() tells of it. Raises CalledProcessError when tar fails."""
    with tempfile.TemporaryDirectory() as folder:
        # Tar refuses what would lie elsewhere.
        subprocess.run(["tar", "--numeric-owner", "-C", folder, "-xf", file], check=True)
        return tree(Path(folder, "usr", "local"))
