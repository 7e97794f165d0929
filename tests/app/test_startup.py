"""The program as its launcher sees it: arguments, output, signals and exit status."""

import os
import signal
import subprocess

import pytest

USAGE = "Usage: vrk-updater -u <update-file> [--debug] [--silent]\n"
SLOW_GZIP = '#!/bin/sh\necho "testing $2 with $QT_IM_MODULE"\nsleep 1\necho tested\nexit 1\n'
WARNING, DEBUG = "zentar vrk-updater 1 3", "zentar vrk-updater 1 5"  # with the names and the scaling that are set


@pytest.fixture
def updater(build, offscreen, tmp_path):
    """Runs the program until a text is in its output, then ends it by a signal; the output."""
    program = build / "bin/vrk-updater-with-logger"
    (tmp_path / "settings").write_text("[instrument]\ninitialize_ms=0\n")
    (tmp_path / "gzip").write_text(SLOW_GZIP)
    (tmp_path / "gzip").chmod(0o755)
    environment = {**offscreen, "PATH": f"{tmp_path}:{os.environ['PATH']}", "QT_IM_MODULE": "other",
                   "VRK_EMBEDDED_API_INI": f"{tmp_path}/settings"}

    def run(arguments, until, number, within=()):
        output = f"{program}\n"
        with subprocess.Popen([*within, program, *arguments], env=environment, text=True, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT) as process:
            assert process.stdout.readline() == output
            for line in process.stdout:
                output += line
                if until in line:
                    process.send_signal(number)
        assert process.returncode == 0 and "TypeError" not in output, output
        return output.removeprefix(f"{program}\n")
    return run


@pytest.mark.parametrize("line, mode, path", [
    ("", 1, ""),
    ("-u", 0, ""),
    ("-u --silent", 0, "--silent"),
    ("b.tar.gz -u a.tar.gz -u c", 0, "a.tar.gz"),
    ("/а/zepra_update_v2.tar.gz --debug", 0, "/а/zepra_update_v2.tar.gz"),
    ("notes-tar.gz.txt", 0, "notes-tar.gz.txt"),
    ("--debug /a.tar.gz", 1, ""),
    ("/a/IMAGE.TAR.GZ --debug=1", 1, ""),
    ("-ua --Debug", 1, ""),
    ("-u /а.tar.gz", 0, "/а.tar.gz"),
    ("-u a -platform offscreen", 0, "a"),
    ("--debug --silent", 1, ""),
])
def test_command_line(updater, line, mode, path):
    arguments = line.split()
    output = updater(arguments, "VRK_Status" if line else "init with mode", (signal.SIGTERM, signal.SIGINT)[mode])
    modes = [f"{WARNING} {flag[2:].upper()} MODE!" for flag in ("--silent", "--debug") if flag in arguments]
    said = "".join(f"{text}\n" for text in arguments + modes)
    assert output.startswith(said + USAGE * mode) and output.count("Usage:") == mode
    assert f'init with mode:  {mode}  Path: "{path}"\n' in output
    assert (f"\n{DEBUG} " in output) == ("--debug" in arguments)


def test_a_screen_that_cannot_be_loaded(updater):
    without_qml = ("unshare", "--mount", "sh", "-c", 'mount -t tmpfs none /usr/lib/*/qt5/qml && exec "$@"', "sh")
    if subprocess.run([*without_qml, "true"], check=False, stderr=subprocess.DEVNULL).returncode:
        pytest.skip("needs root, to hide Qt's QML modules")
    output = updater(["-u", "a"], "VRK_Status", signal.SIGTERM, without_qml)
    assert "failed to load component" in output


def test_echo_comes_first_and_on_standard_output(build):
    command = [str(build / "bin/vrk-updater-with-logger"), "a b", "-platform", "none"]
    done = subprocess.run(command, text=True, capture_output=True, check=False)
    assert done.stdout == "".join(f"{argument}\n" for argument in command) + USAGE


def test_signal_awaits_the_archive_test(updater, tmp_path):
    """A silent run tests its archive at once; the program leaves only when that has ended."""
    output = updater(["-u", tmp_path / "gzip", "--silent"], "testing", signal.SIGTERM)
    assert f"testing {tmp_path}/gzip with qtvirtualkeyboard\n" in output and "tested\n" in output
