#!/usr/bin/env bash
# Builds everything and runs the tests, in parallel; those that a change since the last good run can touch come first.
#   scripts/test.sh                     all that finds mistakes of the module on its platform
#   scripts/test.sh --all               those that take longer too, and those of this machine under the sanitizers
#   scripts/test.sh CTEST-OPTION...     those that ctest chooses, of the target, each a process of its own
#   scripts/test.sh --together CTEST-OPTION...     the same, but several to a process as without options
# Ends with ctest's summary; fails when a test did, and then tells how to run what failed. BUILD_DIR names another build
# folder for the target, TEST_JOBS how many tests run at once.
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

all=
together=
left_out='^(pulse|slow)$'
[ $# -gt 0 ] || together=1
case ${1:-} in
    --all)
        all=1
        together=1
        left_out='^pulse$'
        shift
        ;;
    --together)
        together=1
        left_out='^pulse$'
        shift
        ;;
    *) [ $# -eq 0 ] || left_out='^pulse$' ;;
esac

packages=("${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}")
[ -z "$all" ] || packages+=("${native_packages[@]}")
check_system
ensure_packages "${packages[@]}"
unpack_package libc++-19-dev
start_wine
build_targets all
wait_for_wine

# Most tests wait most of the time: more of them at once than there are processors.
jobs=${TEST_JOBS:-$(($(nproc) * 4))}
log=$build/logs/tests.log
passed=$build/logs/tests.passed # as old as the start of the last run of all tests in which none failed

run_ctest() {
    ctest --test-dir "$build" --parallel "$jobs" --label-exclude "$left_out" --no-tests=error --output-on-failure "$@" \
        </dev/null 2>&1 | tee "$log"
    return "${PIPESTATUS[0]}"
}

say "running the tests, $jobs at a time"
export TESTS_TOGETHER=$together
[ ! -e "$passed" ] || export TESTS_PASSED_STAMP=$passed
touch "$build/logs/tests.started"
with_count "$log" tests run_ctest "$@"
status=$?
if [ "$status" -ne 0 ]; then
    python3 -B "$root/scripts/failed_tests.py" "$build" "${BUILD_DIR:+BUILD_DIR=${build@Q} }${root@Q}/scripts/test.sh" >&2
elif [ $# -eq 0 ]; then
    mv "$build/logs/tests.started" "$passed"
fi
if [ -n "$all" ] && [ $# -eq 0 ]; then
    env -u TESTS_TOGETHER -u TESTS_PASSED_STAMP "$root/scripts/test-native.sh" || status=1
fi
exit "$status"
