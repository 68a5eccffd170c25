#!/usr/bin/env bash
# What long work shows of how far it is.
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/../../scripts/lib.sh"

folder=$(mktemp -d) || die "cannot make a folder"
trap 'rm -rf "$folder"' EXIT

# expect WHAT EXPECTED ACTUAL
expect() {
    [ "$2" = "$3" ] || die "$1: expected \"$2\", not \"$3\""
}

expect seconds "59 s" "$(as_time 59)"
expect minutes "2 min 5 s" "$(as_time 125)"

# The ten seconds last none; the clock is the test's.
show_once() {
    local slept=
    sleep() { [ -z "$slept" ] && slept=1 && SECONDS=$now; }
    SECONDS=0
    show_count "$folder/log" built "$1"
}
touch "$folder/log.counting"
now=30
printf '[1/40] Building CXX object a\n[10/40] Building CXX object b\nwarning: [99/99\n' >"$folder/log"
expect "from the steps" "$me: built: 10 of 40, 30 s passed, about 1 min 30 s left" "$(show_once 0)"
expect "from the last time" "$me: built: 10 of 40, 30 s passed, about 20 s left" "$(show_once 50)"
printf '      Start  7: a\n  6/200 Test   #7: a ....   Passed    0.10 sec\n' >"$folder/log"
expect "of the tests" "$me: built: 6 of 200, 30 s passed, about 16 min 10 s left" "$(show_once 0)"
now=9
expect "before ten seconds have passed" "" "$(show_once 0)"
now=30
: >"$folder/log"
expect "before the first" "" "$(show_once 0)"

fails() { return 3; }
with_count "$folder/log" tests true || die "with_count fails, but its command does not"
[ -s "$folder/log.seconds" ] || die "how long it took is not remembered"
rm "$folder/log.seconds"
with_count "$folder/log" tests fails
expect "exit status" 3 $?
[ ! -e "$folder/log.seconds" ] || die "how long a failing run took is remembered"
