#!/usr/bin/env bash
# Builds the module and the simulator, and runs scenarios: a headset connects, is switched off, and goes; then one whose
# audio moves to a phone, and back.
#   scripts/demo.sh [SCENARIO.scn] [OPTION...]
# With a scenario, that one is run instead. The page of each run is written, and its place told at the end. Options are the
# simulator's, such as "--hide log3". Ends with the result of the first scenario that fails: 0 when every expectation held.
# BUILD_DIR names another build folder.
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

scenarios=("$root/scenarios/connect.scn" "$root/scenarios/audio-moves.scn")
case ${1:---} in
    --*) ;;
    *)
        scenarios=("$1")
        shift
        ;;
esac
for scenario in "${scenarios[@]}"; do
    [ -r "$scenario" ] || die "there is no scenario $scenario"
done

check_system
ensure_packages "${build_packages[@]}" "${run_packages[@]}"
start_wine
build_targets simulator
wait_for_wine

options=("$@") told=()
# The simulator's own output is a file here.
[ ! -t 1 ] || options+=(--colour)
pages=$build/pages
mkdir -p "$pages" || die "cannot make the folder $pages"
status=0
for scenario in "${scenarios[@]}"; do
    say "running $scenario"
    page=$pages/$(basename "$scenario" .scn).html
    told+=("$page")
    "$root/scripts/run-in-wine.sh" --live "$build/bin/simulator.exe" "$scenario" --page "$page" "${options[@]}" \
        </dev/null || { status=$? && break; }
done
say "to see what happened, open in a browser: ${told[*]}"
exit $status
