# shellcheck shell=sh disable=SC2034,SC2154 # what the logging shell sets and runs

# The faults of the logging shell (faults.py). It sets $log, the folder of the run's logs, and $new, the system
# partition that is not in use; $line is the command line that is struck, and $after runs when it has ended.

aside=/run/aside
after=:

# Notes an exit status and ends with it.
finish() {
    printf '\t%s\n' "$1" >> "$log/commands.log"
    exit "$1"
}

fail() {
    echo "simulated failure: $line" >&2
    finish "$1"
}

die() {
    echo "simulated end by SIGKILL: $line" >&2
    printf '\t137\n' >> "$log/commands.log"
    kill -KILL $$
}

hang() {
    : > "$log/hanging"
    until [ -e "$log/released" ]; do sleep 0.05; done
}

# Calls a function with a folder that shows the partition, which may be mounted elsewhere, and its device.
with_partitions() {
    mkdir -p "$aside"
    for name in mmcblk1p2 "$new"; do
        mount -t ext4 -o noatime "/dev/$name" "$aside"
        "$1" "$aside" "/dev/$name"
        umount "$aside"
    done
}

fill() {
    fallocate -l 1G "$1/.full"
    dd if=/dev/zero of="$1/.rest" bs=1k
}

empty() {
    rm -f "$1/.full" "$1/.rest"
}

# While the command runs.
make_full() {
    mount -o remount,size=64k /tmp
    fill /tmp
    with_partitions fill
    after=make_room
} > /dev/null 2>&1

make_room() {
    empty /tmp
    mount -o remount,size=50% /tmp
    with_partitions empty
}

protect() {
    mount -o remount,ro "$1"
    blockdev --setro "$2"
}

# From now on, as a card does that is worn out.
make_read_only() {
    with_partitions protect
}

# From now on the card reads and writes nothing any more (served_card.py).
break_card() {
    : > "$log/io-error"
}

# What has been opened can still be read.
pull_drive() {
    umount -l /media/usb
}
