"""Runs the launcher with a stand-in for the updater, on a drive and an /etc/fstab of its own."""

import os
import signal
import subprocess
import time

import pytest
from simulator import SOURCES

LAUNCHER = SOURCES / "packaging/launcher/vrk-updater-launch"
FSTAB = "/dev/mmcblk1p2 /data ext4 defaults 0 2\n/dev/mmcblk1p3\t/usr/local ext4 defaults 0 2\n"
PRIVATELY = ["unshare", "--mount", "sh", "-c", 'mount --bind "$0" /etc/fstab && exec "$@"']
SWITCH = f"printf '{FSTAB.replace('p3', 'p4')}' >/etc/fstab"
WAIT = "trap 'exit 5' TERM; touch $0-up; while :; do sleep 0.05; done"


# Versions on the drive and the one taken; what the updater does and its status; what the launcher says,
# and whether the reboot follows.
@pytest.mark.parametrize("versions, taken, action, status, says, reboots", [
    pytest.param("1.9 1.10 1.2", "1.10", "exit 0", 0, "takes mmcblk1p3 as before", True, id="numbers"),
    pytest.param("2.0 10.0", "10.0", "exit 1", 1, "status 1", True, id="failed"),
    pytest.param("3.4 3.4.1", "3.4.1", "exit 134", 134, "status 134", True, id="crashed"),
    pytest.param("4-RC1 4_pre2 4+alpha1 4.dev1 4 3.9", "4", "exit 0", 0, "as before", True, id="release"),
    pytest.param("4.1.0rc10 4.1.0.rc9 4.1.0-beta11", "4.1.0rc10", "exit 0", 0, "as before", True, id="pre-releases"),
    pytest.param("4.1.0 4.1.0a", "4.1.0a", "exit 0", 0, "as before", True, id="letter"),
    pytest.param("2", "2", ": >/etc/fstab", 0, "takes nothing instead of mmcblk1p3", True, id="no system"),
    pytest.param("2", "2", SWITCH, 0, "takes mmcblk1p4 instead of mmcblk1p3", True, id="next system"),
    pytest.param("", None, "exit 0", 0, "no archive", True, id="no archive"),
    pytest.param("2", "2", "exit 0", 0, "as before", True, id="late drive"),
    pytest.param("2", "2", "exit 1", 1, "rebooting failed", False, id="reboot fails"),
    pytest.param("2", "2", WAIT, 5, "stopped", False, id="stopped"),
])
def test_launch(request, tmp_path, versions, taken, action, status, says, reboots):
    if subprocess.run(["unshare", "--mount", "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
        pytest.skip("the launcher's /etc/fstab needs a mount namespace, that is root")
    folder, drive = tmp_path / "plugged", tmp_path / "media" / "usb stick"
    late = request.node.callspec.id == "late drive"
    folder.mkdir()
    for name in ["zepra_update_v99.tar", "other_v99.tar.gz", *(f"zepra_update_v{v}.tar.gz" for v in versions.split())]:
        (folder / name).touch()
    (tmp_path / "media").mkdir()
    (tmp_path / "fstab").write_text(FSTAB)
    (tmp_path / "updater").write_text(f"#!/bin/sh\nprintf '%s\\n' \"$@\" >{tmp_path}/arguments\n{action}\n")
    (tmp_path / "updater").chmod(0o755)
    environment = {"PATH": os.environ["PATH"], "VRK_UPDATER": f"{tmp_path}/updater",
                   "VRK_UPDATE_DRIVES": f"{tmp_path}/media/usb*", "VRK_DRIVE_WAIT": "10" if late else "0",
                   "VRK_REBOOT_COMMAND": "false" if "rebooting" in says else f"touch {tmp_path}/rebooted"}
    if not late:
        folder.rename(drive)
    process = subprocess.Popen([*PRIVATELY, tmp_path / "fstab", LAUNCHER, "--silent"], env=environment, text=True,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if late:
        time.sleep(0.3)
        folder.rename(drive)
    if says == "stopped":
        while not (tmp_path / "updater-up").exists():
            time.sleep(0.02)
        process.send_signal(signal.SIGTERM)
    output = process.communicate(timeout=30)[0]
    assert (process.returncode, says in output) == (status, True), output
    archive = ["-u", f"{drive}/zepra_update_v{taken}.tar.gz"] if taken else []
    assert (tmp_path / "arguments").read_text().splitlines() == [*archive, "--silent"]
    assert (tmp_path / "rebooted").exists() == reboots


def test_help():
    environment = {"PATH": os.environ["PATH"], "VRK_DRIVE_WAIT": "0",
                   "VRK_UPDATER": "echo", "VRK_REBOOT_COMMAND": "echo"}
    said = subprocess.run([LAUNCHER, "--help"], env=environment, text=True, stdout=subprocess.PIPE, check=True).stdout
    assert "VRK_UPDATE_DRIVES" in said and "status 0" not in said
