#!/usr/bin/env bash
# The main job runs from what the simulator's archive holds alone, unpacked into an empty folder, and so does its demo.
set -uo pipefail
# shellcheck source=tests/package/lib.sh
. "$(dirname "$0")/lib.sh"

unpack "$work/unpacked"
# The folder that it is run in has nothing of the build in its path, either.
output=$(env -u WINEPATH "$root/scripts/run-in-wine.sh" bin/simulator.exe scenarios/connect.scn --plain) ||
    die "the scenario failed: $output"
expect_same "last line" "PASSED: 17 expectations held" "$(tail -n 1 <<<"$output")"

output=$(env -u WINEPATH DEMO_WITHOUT_BROWSER=1 "$root/scripts/run-in-wine.sh" demo.cmd 'scenarios\connect.scn') ||
    die "the demo failed: $output"
grep -q '^PASSED: 17 expectations held' <<<"$output" || die "the demo did not pass: $output"
grep -q '^The page of the run is .*run\.html' <<<"$output" || die "the demo does not say where the page is: $output"
grep -q '"title":"connect.scn","held":true,"expectations":17' run.html || die "the demo has not written the page"
