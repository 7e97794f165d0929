"""Stand-ins in the instrument's root file system: commands that fail, take their time or only claim to
work, and a shell that notes the updater's command lines.
"""

import shlex
import shutil

FOLDER = "/opt/simulator/bin"
LOG_FOLDER = "/opt/simulator/log"
COMMAND_LOG = "commands.log"
SIGNAL_MARK = "/run/signal-sent"
UPDATER_NAME = "vrk-updater"
SEARCH_PATH = "/usr/sbin:/usr/bin:/sbin:/bin"
PATH = f"{FOLDER}:{SEARCH_PATH}"

# The kernel names the process that asks, so scripts and commands further down are not noted.
LOGGING_SHELL = """\
#!/bin/dash
IFS= read -r asking < /proc/$PPID/comm
if [ "$asking" = {updater} ] && [ "$1" = -c ]; then
    [ "$2" = -- ] && line=$3 || line=$2
    printf '%s\\n' "$line" >> {log}
    {signal}
fi
exec /bin/dash "$@"
"""

# The command starts only when the signal has been sent, and only the first such command.
SIGNAL = 'case $line in {beginning}*) [ -e {mark} ] || {{ : > {mark}; kill -{name} $PPID; }} ;; esac'

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

# For an instrument without a card: what is asked for is said to be mounted.
CLAIMS = {
    "mount": '#!/bin/dash\n[ $# -gt 0 ] || echo "/dev/mmcblk1p3 on /usr/local type ext4 (rw)"\n',
    "umount": "#!/bin/dash\n",
}


def install_logging_shell(root, signal_at=None):
    """Replaces /bin/sh by one that notes each command line of the updater.

    With signal_at, a signal's name and the beginning of a command line, it sends the updater that signal.
    """
    send = ":"
    if signal_at:
        name, beginning = signal_at
        send = SIGNAL.format(name=name, beginning=shlex.quote(beginning), mark=SIGNAL_MARK)
    root.write("/usr/bin/sh", LOGGING_SHELL.format(
        updater=UPDATER_NAME, log=f"{LOG_FOLDER}/{COMMAND_LOG}", signal=send), executable=True)


def install_failing_command(root, name, first):
    """Lets the command fail from its first-th call on; earlier calls reach the real one."""
    _install(root, name, FAILING_COMMAND.format(name=name, first=first, path=SEARCH_PATH,
                                                state=f"/run/calls-of-{name}"))


def install_delayed_command(root, name, seconds):
    """Lets each call of the command take that much longer."""
    _install(root, name, DELAYED_COMMAND.format(name=name, seconds=seconds, path=SEARCH_PATH))


def install_claims(root):
    """Replaces mount and umount by commands that do nothing and succeed."""
    for name, text in CLAIMS.items():
        root.write(f"/usr/bin/{name}", text, executable=True)


def _install(root, name, text):
    if shutil.which(name, path=":".join(map(str, map(root.inside, SEARCH_PATH.split(":"))))) is None:
        raise OSError(f"the instrument has no command {name}")
    root.write(f"{FOLDER}/{name}", text, executable=True)
