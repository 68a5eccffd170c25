#!/usr/bin/env bash
# Builds the sources for this machine under the sanitizers, and runs the tests there.
#   scripts/test-native.sh [CTEST-OPTION...]
# Ends with a summary of each build; fails when one of them failed. NATIVE_PRESETS names other presets than those with
# sanitizers, TEST_JOBS how many tests run at once.
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

# Most tests wait most of the time, but the sanitizers make those that do not several times slower.
jobs=${TEST_JOBS:-$(($(nproc) * 4))}

# test_preset PRESET CTEST-OPTION...: builds, and runs the tests; shows what failed, and ctest's summary.
test_preset() {
    local preset=$1 build=$root/build-$1
    shift
    local start=$SECONDS
    say "$preset: building in $build"
    cd "$root" || die "cannot enter $root"
    run_logged "$build/logs/configure.log" "$preset: configuring failed" cmake --preset "$preset"
    build_configured "$build" "$preset: building failed"
    say "$preset: built in $(as_time $((SECONDS - start))); running the tests, $jobs at a time"
    local log=$build/logs/tests.log
    with_count "$log" "$preset: tests" run_ctest "$@"
    local status=$?
    if [ $status -ne 0 ]; then
        grep -v ' Passed \| Start ' "$log" >&2
        python3 -B "$root/scripts/failed_tests.py" "$build" "NATIVE_PRESETS=$preset ${root@Q}/scripts/test-native.sh" >&2
        say "$preset: FAILED"
    else
        sed -n '/tests passed/,$p' "$log"
    fi
    return $status
}

# run_ctest CTEST-OPTION...: of test_preset.
run_ctest() {
    "${fixed_addresses[@]}" ctest --test-dir "$build" --parallel "$jobs" --no-tests=error --timeout 300 --output-on-failure "$@" \
        </dev/null >"$log" 2>&1
}

check_system
ensure_packages "${native_packages[@]}" python3

failed=()
presets=${NATIVE_PRESETS:-native-asan native-tsan}
# The fuzz targets are four tests: options that choose others would find none.
[ $# -eq 0 ] && [ -z "${NATIVE_PRESETS:-}" ] && presets+=" native-fuzz"
for preset in $presets; do
    test_preset "$preset" "$@" || failed+=("$preset")
done
[ ${#failed[@]} -eq 0 ] || die "failed: ${failed[*]}"
say "all native tests passed"
