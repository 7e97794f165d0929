"""Runs a job in mount and process namespaces of its own.

Whatever the job starts, mounts or attaches goes away with it: when it returns, fails, or when this
process is killed outright.
"""

import ctypes
import os
import signal
import subprocess
import sys
import traceback

CLONE_NEWNS = 0x00020000
CLONE_NEWPID = 0x20000000
PR_SET_PDEATHSIG = 1
GRACE_SECONDS = 20
OWN_FAILURE = 125

_libc = ctypes.CDLL(None, use_errno=True)


def run_isolated(job):
    """Runs job() as the first process of new namespaces; returns its value as an exit status.

    SIGINT, SIGTERM and SIGHUP end the job in an orderly way; the status is then 128 + the signal.
    """
    _unshare(CLONE_NEWPID)
    child = os.fork()
    if child == 0:
        os._exit(_first_process(job))
    return _supervise(child)


def end_all_processes():
    """Kills all other processes of the namespaces and waits for them; to be called in the job."""
    try:
        os.kill(-1, signal.SIGKILL)
        while True:
            os.wait()
    except (ProcessLookupError, ChildProcessError):
        pass


def _unshare(flags):
    if _libc.unshare(flags) != 0:
        number = ctypes.get_errno()
        raise OSError(number, f"cannot make a private namespace: {os.strerror(number)}")


def _first_process(job):
    status = OWN_FAILURE
    try:
        _libc.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)
        os.setsid()
        signal.signal(signal.SIGINT, signal.SIG_IGN)
        signal.signal(signal.SIGTERM, lambda *_: sys.exit(OWN_FAILURE))
        _unshare(CLONE_NEWNS)
        subprocess.run(["mount", "--make-rprivate", "/"], check=True)
        subprocess.run(["mount", "-t", "proc", "proc", "/proc"], check=True)
        status = job()
    except SystemExit as leaving:
        status = leaving.code
    except (OSError, subprocess.SubprocessError) as error:
        print(f"simulate: {error}", file=sys.stderr)
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

    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, forward)
    signal.signal(signal.SIGALRM, lambda *_: os.kill(child, signal.SIGKILL))
    status = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
    signal.alarm(0)
    return 128 + interruption[0] if interruption else status
