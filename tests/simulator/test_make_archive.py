"""The tool that makes update archives: what it packs, refuses and warns of."""

import shlex
import subprocess
import tarfile

import pytest
from simulator import SOURCES, archive

SETUP, PREPARE, VERSION = (f"usr/local/{name}" for name in (
    "bin/zepra-setup.sh", "bin/zepra-prepare-update.sh", "share/zentar/version"))
FIRMWARE = "usr/local/share/zentar/atmega/ZEPRA_AFW_"
REFUSED, WARNED, FINE = 1, 0, 0
BYTE, END = ":0100000041BE", ":00000001FF"


@pytest.fixture
def make(tmp_path):
    """Packs a sample system after a shell command was run on it."""
    def made(change="true", options=""):
        subprocess.run(["rm", "-rf", tmp_path / "root"], check=True)
        archive.write_update(tmp_path / "root", "3.5.0", "2.07", ballast_files=0)
        subprocess.run(change, shell=True, cwd=tmp_path / "root", check=True)
        finished = subprocess.run([SOURCES / "tools/make-archive", "root", "--version", "3.5.0", *shlex.split(options)],
                                  cwd=tmp_path, text=True, capture_output=True, check=False)
        return finished.returncode, finished.stderr, next(tmp_path.rglob("*.gz*"), None)
    return made


def test_members(make):
    status, said, path = make()
    assert (status, said) == (0, "")
    with tarfile.open(path) as tar:
        members = {member.name: member for member in tar.getmembers()}
    assert list(members) == sorted(members, key=lambda name: name.split("/"))
    assert {(member.uid, member.gid, member.uname) for member in members.values()} == {(0, 0, "root")}
    odd = {*archive.ODD_NAMES, "empty folder", "link", "dangling link"}
    assert set(members) > {SETUP, PREPARE} | {f"usr/local/share/zentar/odd/{name}" for name in odd}
    assert all(name.startswith("usr/local/") for name in members)
    first = path.read_bytes()
    assert make()[2].read_bytes() == first


def firmware(*lines):
    return f"printf '%s\\n' {' '.join(lines)} >{FIRMWARE}2.07.hex"


@pytest.mark.parametrize("change, options, status, says", [
    (f"rm {SETUP} {FIRMWARE}*", "", REFUSED, f"error: no {SETUP} & holds no ZEPRA_AFW_<version>.hex"),
    ("true", "--version v3.5.0", REFUSED, 'a "v" of its own'),
    (f"chmod -x {SETUP}", "", REFUSED, "is not executable"),
    (f"echo echo > {SETUP}", "", REFUSED, 'does not start with "#!"'),
    (f"sed -i 's/$/\\r/' {SETUP}", "", REFUSED, "line ends of DOS"),
    (f"sed -i '1s:/bin/sh:/usr/local/bin/ash -e:' {SETUP}", "", REFUSED, "interpreter /usr/local/bin/ash, which"),
    (f"rm {PREPARE}; mkdir {PREPARE}", "", REFUSED, "no plain file"),
    (f"ln -sf /nowhere {PREPARE}", "", REFUSED, "no plain file"),
    (f"ln -sf zepra-setup.sh {PREPARE}", "", REFUSED, "no plain file"),
    (f"mv {SETUP} {SETUP}~; touch {SETUP[:14]}/zz", "", REFUSED, "found there: zepra-setup.sh~"),
    (f"mv {FIRMWARE}2.07.hex {FIRMWARE}2.07.hex.bak", "", REFUSED, "found there: ZEPRA_AFW_2.07.hex.bak"),
    ("mkdir etc; touch etc/fstab", "", REFUSED, "running system: etc"),
    ("mkdir usr/bin; touch usr/bin/tool", "", REFUSED, "running system: usr/bin"),
    ("mv usr/local usr/lokal", "", REFUSED, "holds no folder usr/local: found there: lokal"),
    ("mv usr Usr", "", REFUSED, "holds no folder usr: found there: Usr"),
    ("true", "--output root/usr", REFUSED, "would lie in root"),
    ("touch ../file", "--output file", REFUSED, "file is no folder"),
    ("touch ../file", "--output file/in", REFUSED, "--output file/in cannot be made"),
    ("true", "--output new/folder", FINE, ""),
    *(("true", f"--version={version!r}", REFUSED, "the version")
      for version in ("", "../3", "3 5", "-3", "3.tar.gz-4")),
    (firmware(END), "", REFUSED, "holds no data"),
    (firmware(BYTE), "", REFUSED, "end record is missing"),
    (firmware(BYTE[:-1] + "F", END), "", REFUSED, "checksum"),
    (firmware(BYTE, BYTE, END), "", REFUSED, "line 2: a byte is named a second time"),
    (firmware(":020000040004F6", BYTE, END), "", REFUSED, "beyond the flash of 262144 bytes"),
    (firmware(":02FFFF0041427D", END), "--flash-bytes 64K", REFUSED, "beyond the flash of 65536 bytes"),
    (firmware(BYTE, END, BYTE), "", REFUSED, "something follows the end record"),
    (firmware(":0100000641B8", END), "", REFUSED, "type is unknown"),
    (firmware(":0200000041BD", END), "", REFUSED, "length is wrong"),
    (firmware(":0100000142BC", END), "", REFUSED, "length does not suit"),
    (firmware(":00", END), "", REFUSED, "too short"),
    (firmware("x" + BYTE, END), "", REFUSED, "not a colon"),
    (firmware(":020000040003F7", ":02FFFF0041427D", END), "", REFUSED, "beyond the flash"),
    # The last byte of the flash and one that wraps into the first of its segment; start addresses; a base set back.
    (firmware(":020000023000CC", ":02ffff0041427d\r", ":020000040000FA", ":0400000300100000E9", ":0400000500100000E7",
              BYTE, END, "''"), "", FINE, ""),
    (f"rm {PREPARE}", "", WARNED, f"warning: no {PREPARE}"),
    (f"printf '#!/bin/sh\\nsync\\ntouch /a\\nexit 0\\n' >{SETUP}", "", WARNED, "/usr/local: a power cut"),
    (f"sed -i 's/^sync.*/sync/' {SETUP}", "", WARNED, "with another sync"),
    (f"cp {FIRMWARE}2.07.hex {FIRMWARE}1.0.hex", "", WARNED, "the oldest, ZEPRA_AFW_2.07.hex"),
    (f"mv {FIRMWARE}2.07.hex {FIRMWARE.lower()}1.0.HEX", "", WARNED, "cuts no version out"),
    (f"mv {FIRMWARE}2.07.hex {FIRMWARE}.hex", "", WARNED, "cuts no version out"),
    (f"mv {FIRMWARE}2.07.hex {FIRMWARE}1.hex.2.hex", "", WARNED, "cuts only 1 out"),
    (f"rm {VERSION}", "", WARNED, f"no {VERSION}"),
    ("true", "--version 3.6.0", WARNED, f"first line of {VERSION} is not 3.6.0"),
    ("touch usr/local/.profile", "", WARNED, "does not clear hidden names"),
])
def test_checks(make, change, options, status, says):
    ended, said, path = make(change, options)
    assert (ended, path is not None) == (status, status != REFUSED), said
    assert all(words in said for words in says.split(" & ")) and bool(says) == bool(said), said
    assert said.endswith("make-archive: no archive made\n") == (status == REFUSED)
