#!/usr/bin/env bash
# Opt-in: runs the tests labelled `pulse` against Wine's own audio service, over a PulseAudio of its own with two null
# sinks.
#   scripts/test-pulse.sh
set -uo pipefail

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# Starts a PulseAudio that nobody else uses, in a folder of its own, and stops it when the script ends.
start_pulseaudio() {
    runtime=$(mktemp -d) || die "cannot make a folder for PulseAudio"
    export PULSE_SERVER=unix:$runtime/socket
    HOME=$runtime XDG_RUNTIME_DIR=$runtime pulseaudio -n --daemonize=no --exit-idle-time=-1 \
        --load="module-native-protocol-unix socket=$runtime/socket auth-anonymous=1" \
        --load="module-null-sink sink_name=desk sink_properties=device.description=\"Desk\\ Speakers\"" \
        --load="module-null-sink sink_name=conference sink_properties=device.description=\"Conference\\ Speakers\"" \
        </dev/null >"$build/logs/pulseaudio.log" 2>&1 &
    pulseaudio=$!
    for _ in {1..100}; do
        [ -S "$runtime/socket" ] && return 0
        sleep 0.1
    done
    die "PulseAudio does not start; see $build/logs/pulseaudio.log"
}

stop_pulseaudio() {
    local status=$?
    kill "${pulseaudio:-}" 2>/dev/null
    rm -rf "${runtime:-}"
    return "$status"
}

check_system
ensure_packages "${build_packages[@]}" "${run_packages[@]}" pulseaudio
start_wine
build_targets pulse_tests simulator
wait_for_wine
trap 'stop_pulseaudio; stop_wine' EXIT
start_pulseaudio
ctest --test-dir "$build" --label-regex '^pulse$' --output-on-failure
