#!/usr/bin/env bash
# Opt-in: builds module, simulator and tests in Microsoft's ABI, with clang and a checkout of Microsoft's standard library,
# and runs the demo, all scenarios and the tests of the shipped module under Wine; then compares what happened in every
# scenario with the mingw-w64 build, if that is there.
#   scripts/test-microsoft.sh --stl FOLDER [CTEST-OPTION...]
# FOLDER is the checkout; docs/windows.md tells which, and how to get it. With ctest's options, those tests alone.
# BUILD_DIR names another build folder than build-microsoft, MINGW_BUILD_DIR another folder of the mingw-w64 build than
# build, TEST_JOBS how many tests run at once.
set -uo pipefail
BUILD_DIR=${BUILD_DIR:-$(dirname "$0")/../build-microsoft}
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

if [ "${1:-}" != --stl ] || [ -z "${2:-}" ]; then
    die "where is the standard library? test-microsoft.sh --stl FOLDER"
fi
[ -r "$2/stl/inc/yvals_core.h" ] ||
    die "$2 is no checkout of Microsoft's standard library: there is no stl/inc/yvals_core.h in it"
stl=$(cd "$2" && pwd)
shift 2

build_in_microsofts_abi() {
    say "building in $build"
    run_logged "$build/logs/configure.log" "configuring failed" \
        cmake -S "$root" -B "$build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/microsoft-abi.cmake" \
        -DMICROSOFT_STL="$stl" -DCMAKE_BUILD_TYPE=RelWithDebInfo
    run_logged "$build/logs/build.log" "building failed" cmake --build "$build" --parallel "$(nproc)" --target "$@"
}

run_demo() {
    local scenario
    for scenario in connect audio-moves; do
        say "running $scenario"
        "$root/scripts/run-in-wine.sh" "$build/bin/simulator.exe" "$root/scenarios/$scenario.scn" --plain --hide log3 \
            </dev/null >"$build/logs/demo-$scenario.log" || {
            tail -n 20 "$build/logs/demo-$scenario.log" >&2
            die "the demo failed (all of its output: $build/logs/demo-$scenario.log)"
        }
        tail -n 1 "$build/logs/demo-$scenario.log"
    done
}

check_system
ensure_packages "${build_packages[@]}" "${run_packages[@]}" clang-19 clang-tools-19 lld-19 llvm-19 libwine-dev python3
start_wine
build_in_microsofts_abi microsoft_tests
wait_for_wine
if [ $# -eq 0 ]; then
    run_demo
    set -- --label-regex '^(scenario|contract|microsoft)$'
fi

jobs=${TEST_JOBS:-$(($(nproc) * 4))}
say "running the tests, $jobs at a time"
MINGW_BUILD_DIR=${MINGW_BUILD_DIR:-$root/build} \
    ctest --test-dir "$build" --parallel "$jobs" --no-tests=error --output-on-failure "$@" </dev/null
