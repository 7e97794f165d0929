"""Private namespaces: what is mounted, attached or started in them goes away with them."""

import contextlib
import ctypes
import functools
import os
import signal
import subprocess
import sys
import traceback
from pathlib import Path

CLONE_NEWNS, CLONE_NEWPID = 0x00020000, 0x20000000
INTERRUPTIONS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
GRACE_SECONDS = 20
OWN_FAILURE = 125

# Ends a program with the thread that starts it, whatever ends that.
WITH_PARENT = ("setpriv", "--pdeathsig", "KILL")


@functools.cache
def enter():
    """Makes the mounts and the shared memory of this process and its children private, for good.

    To be called in the main thread.
    """
    _unshare(CLONE_NEWNS)
    subprocess.run(["mount", "--make-rprivate", "/"], check=True)
    subprocess.run(["mount", "-t", "tmpfs", "memory", "/dev/shm"], check=True)


def run_isolated(job, name="simulate"):
    """Runs job() as the first process of new namespaces; returns its value as an exit status.

    Whatever the job starts or mounts ends with it, also when this process is killed outright.
    SIGINT, SIGTERM and SIGHUP end the job in an orderly way; the status is then 128 + the signal.
    """
    _unshare(CLONE_NEWPID)
    signal.pthread_sigmask(signal.SIG_BLOCK, INTERRUPTIONS)  # until somebody takes them
    child = os.fork()
    if child == 0:
        os._exit(_first_process(job, name))
    return _supervise(child)


def _unshare(flags):
    libc = ctypes.CDLL(None, use_errno=True)  # Python 3.11 has no os.unshare
    if libc.unshare(flags) != 0:
        number = ctypes.get_errno()
        raise OSError(number, f"cannot make a private namespace: {os.strerror(number)}")


def _end_with_parent():
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG


def _first_process(job, name):
    status = OWN_FAILURE
    try:
        _end_with_parent()
        os.setsid()
        signal.signal(signal.SIGINT, signal.SIG_IGN)
        signal.signal(signal.SIGTERM, lambda *_: sys.exit(OWN_FAILURE))
        signal.pthread_sigmask(signal.SIG_UNBLOCK, INTERRUPTIONS)
        enter()
        subprocess.run(["mount", "-t", "proc", "proc", "/proc"], check=True)
        status = job()
    except SystemExit as leaving:
        status = leaving.code
    except (OSError, subprocess.SubprocessError) as error:
        print(f"{name}: {error}", file=sys.stderr)
    except BaseException:
        traceback.print_exc()
    sys.stdout.flush()
    sys.stderr.flush()
    return status


def _supervise(child):
    interruption = []

    def forward(number, _frame):
        interruption.append(number)
        os.kill(child, signal.SIGTERM)
        signal.alarm(GRACE_SECONDS)

    for number in INTERRUPTIONS:
        signal.signal(number, forward)
    signal.signal(signal.SIGALRM, lambda *_: os.kill(child, signal.SIGKILL))
    signal.pthread_sigmask(signal.SIG_UNBLOCK, INTERRUPTIONS)
    status = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
    signal.alarm(0)
    return 128 + interruption[0] if interruption else status


def leftovers(folder):
    """Mounts, loop devices and processes of this machine that have to do with a folder, as lines about them."""
    things = Path("/proc/self/mountinfo").read_text().splitlines()
    for file in Path("/sys/block").glob("loop*/loop/backing_file"):
        with contextlib.suppress(OSError):  # it has been detached meanwhile
            things.append(file.read_text())
    for process in Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):  # it has ended meanwhile
            words = [(process / file).read_text(errors="replace") for file in ("cmdline", "environ")]
            things.append("".join(words) + os.readlink(process / "root"))
    return [thing for thing in things if str(folder) in thing]
