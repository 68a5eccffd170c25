#!/usr/bin/env bash
# Tells which lines and branches of the product's folders the tests reach.
#   scripts/coverage.sh [CTEST-OPTION...]
# Builds for this machine with counters, runs the native tests, and prints what they reached, file by file; then what they
# did not, each with its reason out of native/coverage-reasons.txt. The same with all of the source is in
# build-native-coverage/html. Fails when something is neither reached nor explained, when fewer than 95 % of the branches
# are reached, or when a test fails. TEST_JOBS says how many tests run at once.
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

coverage_build=$root/build-native-coverage
folders=(plugin connector taskloop feature audio)
least_branch_percent=95
jobs=${TEST_JOBS:-$(($(nproc) * 4))}

# Every process writes counters of its own.
run_tests() {
    rm -rf "$coverage_build/counters"
    mkdir -p "$coverage_build/counters" || die "cannot make the folder $coverage_build/counters"
    # The lock-order tests replace functions that the counters' own code calls, and reach nothing that others do not.
    LLVM_PROFILE_FILE=$coverage_build/counters/%p-%m.profraw ctest --test-dir "$coverage_build" --parallel "$jobs" \
        --exclude-regex '^lock_order_test\.' --no-tests=error --timeout 300 --output-on-failure "$@" </dev/null >"$coverage_build/logs/tests.log" 2>&1
}

merge_counters() {
    find "$coverage_build/counters" -name '*.profraw' -size +0 >"$coverage_build/counters.list"
    run_logged "$coverage_build/logs/merge.log" "the counters cannot be put together" \
        llvm-profdata merge -sparse -failure-mode=all -f "$coverage_build/counters.list" \
        -o "$coverage_build/counters.profdata"
    rm -rf "$coverage_build/counters"
}

# with_programs COMMAND OPTION...: llvm-cov's command on the module and all test programs, for the product's folders.
with_programs() {
    local program objects=("$coverage_build/bin/HeadsetAdapterPlugin.so")
    for program in "$coverage_build"/bin/*_test; do
        objects+=(-object "$program")
    done
    llvm-cov "$@" "${objects[@]}" -instr-profile="$coverage_build/counters.profdata" "${folders[@]/#/$root/}" \
        2>>"$coverage_build/logs/llvm-cov.log"
}

check_system
ensure_packages "${native_packages[@]}" python3
cd "$root" || die "cannot enter $root"
say "building in $coverage_build"
run_logged "$coverage_build/logs/configure.log" "configuring failed" cmake --preset native-coverage
run_logged "$coverage_build/logs/build.log" "building failed" cmake --build "$coverage_build" --parallel "$(nproc)"
say "running the tests, $jobs at a time"
run_tests "$@"
tests_status=$?
merge_counters
: >"$coverage_build/logs/llvm-cov.log"
with_programs export -skip-functions >"$coverage_build/branches.json" || die "llvm-cov cannot read the counters"
with_programs export -format=lcov >"$coverage_build/lines.lcov" || die "llvm-cov cannot read the counters"
with_programs show -format=html -show-branches=count -output-dir="$coverage_build/html" ||
    die "llvm-cov cannot write the pages"
python3 "$root/scripts/coverage_report.py" "$root" "$root/native/coverage-reasons.txt" "$coverage_build/lines.lcov" \
    "$coverage_build/branches.json" "$least_branch_percent" "${folders[@]}"
report_status=$?
say "with all of the source: $coverage_build/html/index.html"
if [ $tests_status -ne 0 ]; then
    sed -n '/tests passed/,$p' "$coverage_build/logs/tests.log" >&2
    die "tests failed (all of their output: $coverage_build/logs/tests.log)"
fi
exit $report_status
