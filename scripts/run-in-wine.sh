#!/usr/bin/env bash
# Runs a Windows program in the Wine prefix of the build folder that the program is in.
#   scripts/run-in-wine.sh [--live] PROGRAM.exe [ARGUMENT...]
# Its output is shown when it has ended; with --live, or on a terminal, as it comes.
set -uo pipefail

live=
[ -t 1 ] && live=yes
if [ "${1:-}" = --live ]; then
    live=yes
    shift
fi
program=${1:?run-in-wine: which program?}
folder=$(cd "$(dirname "$program")" && pwd) || exit 2
while [ ! -e "$folder/CMakeCache.txt" ] && [ "$folder" != / ]; do
    folder=$(dirname "$folder")
done
if [ "$folder" = / ]; then
    echo "run-in-wine: $program is in no build folder" >&2
    exit 2
fi

export WINEPREFIX="$folder/wineprefix" WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=d"
if [ ! -e "$folder/wineprefix.ready" ]; then
    # Its background services would keep our output open; hence nothing of it goes there. One caller makes the prefix.
    # shellcheck disable=SC2016 # the inner shell expands it
    flock "$folder/wineprefix.lock" bash -c '[ -e "$1" ] || { wineboot -i && touch "$1"; }' - \
        "$folder/wineprefix.ready" </dev/null >"$folder/wineboot.log" 2>&1
fi

# Wine may start services of its own at any time, which outlive the program and keep its output open. They get a file,
# so that whoever reads our output does not wait for them.
output=$(mktemp) || exit 2
trap 'rm -f "$output"' EXIT
if [ -z "$live" ]; then
    wine "$@" >"$output" 2>&1
    status=$?
    # Once in some thousand times Wine does not get as far as starting the program: status 1 and not a line. A program
    # of ours that ends so has said why; a crash has another status.
    if [ $status -eq 1 ] && [ ! -s "$output" ]; then
        echo "$program" >>"$folder/wine-start-failures.log"
        wine "$@" >"$output" 2>&1
        status=$?
    fi
    cat "$output"
else
    exec 3<&0
    wine "$@" <&3 >"$output" 2>&1 &
    tail --lines=+1 --follow --sleep-interval=0.1 --pid=$! "$output"
    wait $!
    status=$?
fi
exit "$status"
