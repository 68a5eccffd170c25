#!/usr/bin/env bash
# Runs a Windows program in the Wine prefix of the build folder that the program is in.
#   scripts/run-in-wine.sh PROGRAM.exe [ARGUMENT...]
set -euo pipefail

program=$1
folder=$(cd "$(dirname "$program")" && pwd)
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
exec wine "$@"
