"""Small stand-ins put into the instrument's root: a shell that keeps a log, commands that fail
or take their time.
"""

import shutil
from pathlib import Path

FOLDER = "/opt/simulator/bin"
LOG_FOLDER = "/opt/simulator/log"
COMMAND_LOG = "commands.log"
UPDATER_NAME = "vrk-updater"
SEARCH_PATH = "/usr/sbin:/usr/bin:/sbin:/bin"

# The kernel names the process that asks, so scripts and commands further down are not logged.
LOGGING_SHELL = f"""\
#!/bin/dash
IFS= read -r asking < /proc/$PPID/comm
if [ "$asking" = {UPDATER_NAME} ] && [ "$1" = -c ]; then
    [ "$2" = -- ] && line=$3 || line=$2
    printf '%s\\n' "$line" >> {LOG_FOLDER}/{COMMAND_LOG}
fi
exec /bin/dash "$@"
"""

FAILING_COMMAND = """\
#!/bin/dash
count=0
[ -e {state} ] && read -r count < {state}
count=$((count + 1))
echo $count > {state}
if [ $count -ge {first} ]; then
    echo "{name}: simulated failure of call $count" >&2
    exit 1
fi
PATH={path} exec {name} "$@"
"""

DELAYED_COMMAND = """\
#!/bin/dash
PATH={path}
sleep {seconds}
exec {name} "$@"
"""


def install_logging_shell(root):
    """Replaces /bin/sh in the root by one that notes each command line of the updater."""
    shell = root / "usr" / "bin" / "sh"
    shell.unlink()
    _write_script(shell, LOGGING_SHELL)


def install_failing_command(root, name, first):
    """Lets the command fail from its first-th call on; earlier calls reach the real one."""
    _install(root, name, FAILING_COMMAND.format(name=name, first=first, path=SEARCH_PATH,
                                                state=f"/run/calls-of-{name}"))


def install_delayed_command(root, name, seconds):
    """Lets each call of the command take that much longer."""
    _install(root, name, DELAYED_COMMAND.format(name=name, seconds=seconds, path=SEARCH_PATH))


def search_path():
    """The PATH under which the stand-ins are found."""
    return f"{FOLDER}:{SEARCH_PATH}"


def _inside(root, path):
    return ":".join(f"{root}{entry}" for entry in path.split(":"))


def _install(root, name, text):
    if shutil.which(name, path=_inside(root, SEARCH_PATH)) is None:
        raise OSError(f"the instrument has no command {name}")
    folder = Path(f"{root}{FOLDER}")
    folder.mkdir(parents=True, exist_ok=True)
    _write_script(folder / name, text)


def _write_script(path, text):
    path.write_text(text)
    path.chmod(0o755)
