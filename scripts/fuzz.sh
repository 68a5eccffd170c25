#!/usr/bin/env bash
# Feeds the module with whatever libFuzzer comes up with, for as long as one likes.
#   scripts/fuzz.sh [-t SECONDS | -r RUNS] [TARGET...]
# Each target (messages, devices, tip, calls; all when none is named) runs for that long, or that often; a minute if
# nothing is said. What is worth keeping is collected in build-native-fuzz/corpus, findings are left in build-native-fuzz/findings. Fails
# when there is one, and tells how to see it again.
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

fuzz_build=$root/build-native-fuzz
all_targets=(messages devices tip calls)
limit=-max_total_time=60

usage() {
    die "usage: scripts/fuzz.sh [-t SECONDS | -r RUNS] [TARGET...], of ${all_targets[*]}"
}

is_number() {
    [[ $1 =~ ^[0-9]+$ ]]
}

# fuzz_target TARGET: its exit status is libFuzzer's.
fuzz_target() {
    local target=$1 dictionary=$root/native/fuzz/$1.dict options=()
    local corpus=$fuzz_build/corpus/$target log=$fuzz_build/logs/fuzz-$target.log
    mkdir -p "$corpus" "$fuzz_build/findings" "$fuzz_build/logs" || die "cannot make folders in $fuzz_build"
    [ -e "$dictionary" ] && options+=("-dict=$dictionary")
    [ "$target" = calls ] && options+=(-max_len=64) # it makes eight calls at most
    say "$target: under way (its log: $log)"
    # Short stacks of allocations, and memory used again sooner: a quarter more executions a second.
    ASAN_OPTIONS=malloc_context_size=5:quarantine_size_mb=32 \
        "${fixed_addresses[@]}" "$fuzz_build/bin/fuzz_$target" "$limit" -max_len=1024 -timeout=100 -print_final_stats=1 \
        "-artifact_prefix=$fuzz_build/findings/$target-" "${options[@]}" \
        "$corpus" "$root/native/fuzz/corpus/$target" </dev/null >"$log" 2>&1
}

# tell_finding TARGET: what is the matter, and how to see it again.
tell_finding() {
    local target=$1 log=$fuzz_build/logs/fuzz-$1.log input
    grep -m 5 -E 'does not hold|runtime error|ERROR:|SUMMARY:' "$log" >&2
    input=$(sed -n 's/.*Test unit written to //p' "$log" | tail -n 1)
    say "$target: FINDING; see it again with: $fuzz_build/bin/fuzz_$target ${input:-(no input was left, see the log)}"
}

while getopts t:r: option; do
    is_number "${OPTARG:-}" || usage
    case $option in
        t) limit=-max_total_time=$OPTARG ;;
        r) limit=-runs=$OPTARG ;;
        *) usage ;;
    esac
done
shift $((OPTIND - 1))
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=("${all_targets[@]}")
for target in "${targets[@]}"; do
    [[ " ${all_targets[*]} " == *" $target "* ]] || usage
done

check_system
ensure_packages "${native_packages[@]}"
say "building in $fuzz_build"
cd "$root" || die "cannot enter $root"
run_logged "$fuzz_build/logs/configure.log" "configuring failed" cmake --preset native-fuzz
run_logged "$fuzz_build/logs/build.log" "building failed" cmake --build "$fuzz_build" --parallel "$(nproc)" --target fuzz

failed=()
for target in "${targets[@]}"; do
    if fuzz_target "$target"; then
        say "$target: $(grep -E '^Done ' "$fuzz_build/logs/fuzz-$target.log" | tail -n 1), no finding"
    else
        tell_finding "$target"
        failed+=("$target")
    fi
done
[ ${#failed[@]} -eq 0 ] || die "findings: ${failed[*]}"
