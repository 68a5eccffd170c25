#!/usr/bin/env bash
# Builds everything and runs all tests but the opt-in ones, in parallel: those of the target, then those of this machine
# under the sanitizers.
#   scripts/test.sh [CTEST-OPTION...]
# With options, which choose some tests, those of the target alone. Ends with ctest's summaries; fails when a test did.
# BUILD_DIR names another build folder for the target, TEST_JOBS how many tests run at once.
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

check_system
ensure_packages "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}" "${native_packages[@]}"
unpack_package libc++-19-dev
build_targets all
start_wine

# Most tests wait most of the time: more of them at once than there are processors.
jobs=${TEST_JOBS:-$(($(nproc) * 4))}
say "running the tests, $jobs at a time"
ctest --test-dir "$build" --parallel "$jobs" --label-exclude '^pulse$' --no-tests=error --output-on-failure "$@" </dev/null
status=$?
if [ $# -eq 0 ]; then
    "$root/scripts/test-native.sh" || status=1
fi
exit $status
