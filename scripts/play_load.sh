#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Plays a known sound through real sound servers while every processor is kept busy, and proves that none of it is lost:
# no gap that the program counts, no xrun that the server reports, and a recording by the server's own recorder that
# holds every frame once, in order, bit for bit.
# Usage: play_load.sh [SECONDS=600] [SERVER...]     SERVER: pulse, jack, pipewire; all of them by default
#   ONDARIX_CLI: the program, build/release/src/cli/ondarix-cli by default. LOAD: busy loops, one a processor by default.
# The busy loops run at the same niceness as the program. Exit status 0: no fault on any server.
set -uo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
seconds=${1:-600}
shift || true
servers=("$@")
[ ${#servers[@]} -gt 0 ] || servers=(pulse jack pipewire)
cli=${ONDARIX_CLI:-$here/build/release/src/cli/ondarix-cli}
load=${LOAD:-$(nproc)}
work=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo "${TMPDIR:-/tmp}")")  # a busy disk is not what is tested
chmod 700 "$work"
started=()

stop_all() {
    local id
    for id in "${started[@]}"; do kill "$id" 2>/dev/null; done
    for id in "${started[@]}"; do wait "$id" 2>/dev/null; done
    started=()
}
trap 'stop_all; rm -rf "$work"' EXIT
trap 'exit 130' INT TERM

run() {  # in the background, ended by stop_all; $log: where it writes
    "$@" >"${log:-/dev/null}" 2>&1 </dev/null &
    started+=($!)
}
record() {  # is not what is tested: before all else, where that is granted
    run ${fifo:-} "$@"
    recorder=$!
}
until_holds() {  # a command, for ten seconds
    local i
    for ((i = 0; i < 500; ++i)); do
        "$@" >/dev/null 2>&1 && return 0
        sleep 0.02
    done
    echo "not ready: $*" >&2
    return 1
}
# A server that may run in real time does so, as on any desktop; where none may, that is told in the summary.
real_time=$(chrt -f 20 true 2>/dev/null && echo yes || echo no)

private_folder() {
    local folder=$work/$1
    mkdir -m 700 -p "$folder"
    export XDG_RUNTIME_DIR=$folder HOME=$folder XDG_CONFIG_HOME=$folder XDG_STATE_HOME=$folder ONDARIX_HOME=$folder/ondarix
}

start_pulse() {
    private_folder pulse
    export PULSE_RUNTIME_PATH=$XDG_RUNTIME_DIR/pulse
    log=$work/server.log run pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no \
        --realtime="$real_time" --high-priority="$real_time" --log-level=debug \
        -L "module-null-sink sink_name=out rate=48000 channels=2 format=float32le norewinds=1" \
        -L "module-native-protocol-unix auth-anonymous=1 socket=$XDG_RUNTIME_DIR/pulse/native"
    export PULSE_SERVER=unix:$XDG_RUNTIME_DIR/pulse/native
    until_holds pactl info
}
record_pulse() {
    record parec -d out.monitor --raw --rate=48000 --channels=2 --format=float32le --latency-msec=100 "$work/rec.raw"
    until_holds sh -c 'pactl list short source-outputs | grep -q .'
}
xruns_pulse() { grep -ciE 'underrun of|underrun on|overrun' "$work/server.log"; }

# The dummy driver counts an xrun when it wakes up late, with or without clients: on two busy processors without
# real-time rights once in some seconds at 1024 frames and without any client; none was seen at 2048, which is 43 ms.
# -S: it waits for its clients, as it would for a card's buffer, and does not repeat what they played before.
start_jack() {
    private_folder jack
    export JACK_DEFAULT_SERVER=load$$ JACK_NO_START_SERVER=1 JACK_NO_AUDIO_RESERVATION=1
    log=$work/server.log run jackd "$([ "$real_time" = yes ] && echo -R || echo -r)" -S -m -t 4000 -n "$JACK_DEFAULT_SERVER" \
        -d dummy -r 48000 -p 2048 -C 2 -P 2 -m
    until_holds jack_lsp
}
record_jack() {
    record jack_capture --no-stdin -as -f wav -b FLOAT -c 2 -B 30 -p system:monitor_1 -p system:monitor_2 "$work/rec.wav"
    until_holds sh -c 'jack_lsp -c system:monitor_2 | grep -q "^   "'
}
xruns_jack() { grep -ciE 'xrun|was not finished|engine.*late' "$work/server.log"; }

start_pipewire() {
    private_folder pipewire
    export PIPEWIRE_RUNTIME_DIR=$XDG_RUNTIME_DIR DBUS_SESSION_BUS_ADDRESS=unix:path=$XDG_RUNTIME_DIR/bus
    cat >"$XDG_RUNTIME_DIR/bus.conf" <<BUS
<busconfig><type>session</type><listen>$DBUS_SESSION_BUS_ADDRESS</listen><policy context="default">
<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>
BUS
    run dbus-daemon --config-file="$XDG_RUNTIME_DIR/bus.conf" --nofork --nopidfile
    until_holds test -S "$XDG_RUNTIME_DIR/bus"
    PIPEWIRE_DEBUG=2,pw.node:3 log=$work/server.log run ${fifo:-} pipewire
    until_holds pw-cli info 0
    run wireplumber
    until_holds pw-cli create-node adapter '{ factory.name=support.null-audio-sink node.name=out media.class=Audio/Sink
        object.linger=true audio.position=[FL FR] audio.rate=48000 }'
    until_holds sh -c 'pw-metadata | grep -q default.audio.sink'
}
record_pipewire() {
    record pw-record --target out -P '{ stream.capture.sink=true }' --latency 2048 --rate 48000 --channels 2 --format f32 "$work/rec.wav"
    until_holds sh -c 'pw-link -l | grep -q "pw-record:\||-> .*:input_FL"'
}
xruns_pipewire() { grep -ciE 'xrun|too slow|missed [0-9]+ wakeups' "$work/server.log"; }

busy() {
    local i
    for ((i = 0; i < load; ++i)); do
        (while :; do :; done) &
        started+=($!)
    done
}

measure() {  # one server: prints a line, false on a fault
    local server=$1 sound=$work/sound.wav json=$work/play.json xruns status
    trap stop_all EXIT
    "start_$server" && "record_$server" || { echo "$server: FAILED to start"; return 1; }
    sleep 0.5
    busy
    sleep 0.5
    "$cli" play --json --device "$2" "$sound" >"$json" 2>"$work/play.log"
    status=$?
    sleep 1
    xruns=$("xruns_$server")
    kill -INT "$recorder"  # and it ends its file
    wait "$recorder"
    stop_all
    python3 "$here/scripts/play_load_compare.py" "$server" "$status" "${xruns:-0}" "$json" "$work"/rec.* ||
        { cat "$work/play.log" >&2; return 1; }
}

[ -x "$cli" ] || { echo "no program $cli" >&2; exit 64; }
python3 "$here/scripts/play_load_compare.py" --make "$work/sound.wav" "$seconds" || exit 2
echo "$seconds s of 48 kHz stereo, $load busy loops on $(nproc) processors, real-time scheduling: $real_time," \
    "limit of real-time priority $(ulimit -r), niceness $(nice)"
fifo=
[ "$real_time" = yes ] && fifo="chrt -f 10"
faults=0
for server in "${servers[@]}"; do
    case $server in
        pulse) name=pulseaudio ;;
        jack | pipewire) name=$server ;;
        *) echo "no such server: $server" >&2; exit 64 ;;
    esac
    (measure "$server" "$name") || faults=1
    rm -f "$work"/rec.*
done
exit $faults
