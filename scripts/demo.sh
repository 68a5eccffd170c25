#!/usr/bin/env bash
# Builds the module and the simulator, and runs a scenario: a headset connects, is switched off, and goes.
#   scripts/demo.sh [SCENARIO.scn [OPTION...]]
# Further options are the simulator's, such as "--hide log3". Ends with the scenario's result: 0 when every expectation
# held. BUILD_DIR names another build folder.
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

scenario=${1:-$root/scenarios/connect.scn}
[ $# -eq 0 ] || shift
[ -r "$scenario" ] || die "there is no scenario $scenario"

check_system
ensure_packages "${build_packages[@]}" "${run_packages[@]}"
build_targets simulator
start_wine

say "running $scenario"
options=("$@")
[ -t 1 ] || options+=(--plain)
"$root/scripts/run-in-wine.sh" --live "$build/bin/simulator.exe" "$scenario" "${options[@]}" </dev/null
