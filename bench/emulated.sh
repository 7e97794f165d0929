#!/bin/bash
# The launcher of the emulated instrument starts this in the place of the updater. It runs the scripts that come into
# the shared folder, one after the other, each with the functions below and in an empty folder, which it hands back.
shared=$(dirname "$0")
results=/run/results nothing=/run/nothing

pause() {
    read -r -t "$1" <> $nothing
}

# Sets $state, and $ticks to the hundredths of a second that a process has had of the processor; fails when it is gone.
look_at() {
    { read -r -a fields < "/proc/$1/stat"; } 2> /dev/null || return
    state=${fields[2]}
    ticks=$((fields[13] + fields[14]))
}

# Notes when a process has had how much of the processor and, in kB, of the memory, until it ends.
follow() {
    while look_at "$1" && [ "$state" != Z ]; do
        while read -r name value _; do
            [ "$name" != VmHWM: ] || echo "$EPOCHREALTIME $ticks $value" >> samples
        done < "/proc/$1/status"
        pause 0.25
    done 2> /dev/null
}

# Becomes a program that is followed.
followed() {
    local own=$BASHPID
    follow "$own" &
    exec "$@"
}

# Lets a program make an update.
updated_by() {
    sync
    local begun=$EPOCHREALTIME
    "$@" > updater.log 2>&1 &
    wait $! || return
    echo "$begun $EPOCHREALTIME" > seconds
    findmnt --fstab --noheadings --output SOURCE /usr/local > partition
}

tell_window() {
    echo "$1" >&3
    read -r _ <&4
}

# Lets a script make an update while a window, the rest of the arguments, shows at first these values and then what
# the script writes to descriptor 5.
updated_beside() {
    local script=$1 values=$2
    shift 2
    coproc WINDOW { followed "$@"; }
    exec 3>&"${WINDOW[1]}" 4<&"${WINDOW[0]}"
    tell_window "$values"
    mkfifo values
    while read -r values; do tell_window "$values"; done < values &
    updated_by bash "$script" 5> values
    local status=$?
    kill "$WINDOW_PID"
    exec 3>&- 4<&-
    wait "$WINDOW_PID"
    return $status
}

until_stopped() {
    while look_at "$1" && [ "$state" != T ]; do
        pause 0.02
    done
}

# Until it has drawn something and then rests.
until_still() {
    local before
    while look_at "$1"; do
        before=$ticks
        pause 1
        look_at "$1" && [ -e pictures ] && [ $((ticks - before)) -lt 3 ] && break
    done
}

# Starts a program, and notes the seconds of the clock before and after and what it has had of the processor; ended()
# ends it.
started() {
    local begun ended until=$1
    shift
    read -r begun _ < /proc/uptime
    "$@" > updater.log 2>&1 0<> $nothing &
    echo $! > /run/started
    "$until" $!
    look_at $! || return
    read -r ended _ < /proc/uptime
    echo "$begun $ended $ticks" > start
}

ended() {
    kill -KILL "$(< /run/started)"
}

mkfifo $nothing
for ((number = 1; ; number++)); do
    until [ -e "$shared/$number.sh" ]; do
        pause 0.1
    done
    rm -rf $results
    mkdir $results
    # shellcheck source=/dev/null
    (cd $results && . "$shared/$number.sh") > /run/output 2>&1 < /dev/null
    echo $? > $results/status
    mv /run/output $results
    rm -f $results/values
    cp -r $results "$shared/$number.new"
    mv "$shared/$number.new" "$shared/$number"
done
