#!/usr/bin/env bash
# Runs the scenarios of the page's tests, all at once, each with its page, trace and data in the folder.
#   make_pages.sh FOLDER RUN-IN-WINE SIMULATOR.exe
set -uo pipefail

folder=$1 wine=$2 simulator=$3
here=$(cd "$(dirname "$0")" && pwd)
scenarios=$here/../../../scenarios
mkdir -p "$folder" || exit 1
rm -f "$folder"/*

# run STATUS SCENARIO: the run has to end with that exit status.
run() {
    local name
    name=$(basename "$2" .scn)
    "$wine" "$simulator" "$2" --plain --limit 120 --page "$folder/$name.html" --trace "$folder/$name.json" \
        --json "$folder/$name.jsonl" >"$folder/$name.txt" 2>&1
    local got=$?
    [ $got -eq "$1" ] || {
        echo "$name: the exit status is $got, not $1" >&2
        tail -n 3 "$folder/$name.txt" >&2
        return 1
    }
}

jobs=()
for scenario in "$scenarios"/{connect,audio-moves,two-headsets}.scn "$here/scenarios/hostile-names.scn"; do
    run 0 "$scenario" &
    jobs+=($!)
done
run 1 "$here/scenarios/fails.scn" &
jobs+=($!)
status=0
for job in "${jobs[@]}"; do
    wait "$job" || status=1
done
exit $status
