#!/usr/bin/env bash
# Each line of excluded-tests.txt is about a test that there is: one that was renamed, or has gone, would be left out no
# longer, or no more be missed.
#   excluded-tests.sh LIST FOLDER-OF-THE-PROGRAMS
set -uo pipefail
list=$1 programs=$2 status=0

# The sanitizers' runtime has nothing to say while tests are only listed.
export ASAN_OPTIONS=detect_leaks=0

while read -r _ program pattern _; do
    if ! "$programs/$program" --gtest_list_tests "--gtest_filter=$pattern" </dev/null | grep -q '^  '; then
        echo "no test of $program is called $pattern" >&2
        status=1
    fi
done < <(grep -v '^#' "$list")
exit $status
