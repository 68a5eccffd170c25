#!/usr/bin/env bash
# Runs a program, and checks its exit status and its output.
#   expect_status.sh STATUS TEXT PROGRAM [ARGUMENT...]
# TEXT has to occur in what it writes, and what UNWANTED holds, if that is set, must not. Its input is the value of INPUT,
# if that is set.
set -uo pipefail

status=$1 text=$2
shift 2
output=$("$@" 2>&1 <<<"${INPUT:-}")
got=$?
printf '%s\n' "$output"
if [ "$got" -ne "$status" ]; then
    echo "expect_status: the exit status is $got, not $status" >&2
    exit 1
fi
case $output in
    *"$text"*) ;;
    *)
        echo "expect_status: the output lacks: $text" >&2
        exit 1
        ;;
esac
if [ -n "${UNWANTED:-}" ] && grep -qF -- "$UNWANTED" <<<"$output"; then
    echo "expect_status: the output has: $UNWANTED" >&2
    exit 1
fi
