#!/usr/bin/env bash
# The main job runs from what the archives hold alone, unpacked into an empty folder.
set -uo pipefail
# shellcheck source=tests/package/lib.sh
. "$(dirname "$0")/lib.sh"

unpack "$work/unpacked"
# The folder that it is run in has nothing of the build in its path, either.
output=$(env -u WINEPATH "$root/scripts/run-in-wine.sh" bin/simulator.exe scenarios/connect.scn --plain) ||
    die "the scenario failed: $output"
expect_same "last line" "PASSED: 17 expectations held" "$(tail -n 1 <<<"$output")"
