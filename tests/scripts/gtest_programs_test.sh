#!/usr/bin/env bash
# What ctest makes of a program's tests: each alone, or several together. The program is a script that tells how it was run.
set -uo pipefail
unset TESTS_TOGETHER TESTS_PASSED_STAMP CTEST_OUTPUT_ON_FAILURE

script=$(realpath "$(dirname "$0")/../../cmake/gtest_programs_in_ctest.cmake")
folder=$(mktemp -d --suffix=" with blanks") || exit 1
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# expect WHAT EXPECTED ACTUAL
expect() {
    [ "$2" = "$3" ] || fail "$1: expected
$2
but there is
$3"
}

cat >program <<'END'
#!/bin/sh
echo "$GTEST_SHARD_INDEX/$GTEST_TOTAL_SHARDS $*" >>runs
case $1 in
    --gtest_list_tests)
        printf 'Running main() from gmock_main.cc\nPlain.\n  First\n  Second\nGroup/Valued.\n  Works/0  # GetParam() = "a. b"\n'
        printf '  Works/1  # GetParam() = 2\n  DISABLED_Other\n'
        ;;
    *) [ ! -e skips ] || echo "[  SKIPPED ] Plain.First" ;;
esac
END
chmod +x program

# describe TOGETHER FILTER: writes what ctest reads.
describe() {
    cat >CTestTestfile.cmake <<END
set(name some_test)
set(program "$folder/program")
set(emulator)
set(folder "$folder")
set(filter [==[$2]==])
set(timeout 20)
set(labels unit)
set(together $1)
set(loads "$folder/library")
set(list "$folder/list.txt")
include("$script")
END
}

names() {
    ctest -N | sed -n 's/^ *Test *#[0-9]*: //p'
}

touch -d "1 minute ago" program
touch library
alone="some_test.Plain.First
some_test.Plain.Second
some_test.Group/Valued.Works/0
some_test.Group/Valued.Works/1
some_test.Group/Valued.DISABLED_Other (Disabled)"
describe 2 ""
expect "each alone" "$alone" "$(names)"
expect "parts of two" "some_test.part1of3
some_test.part2of3
some_test.part3of3" "$(TESTS_TOGETHER=1 names)"
expect "how often it was asked for its tests" "/ --gtest_list_tests" "$(cat runs)"
rm runs
touch program
names >/dev/null
expect "a newer program is asked again" "/ --gtest_list_tests" "$(cat runs)"

rm runs
TESTS_TOGETHER=1 ctest -Q || fail "the parts fail"
expect "all parts run" "0/3 
1/3 
2/3 " "$(sort runs)"
rm runs
ctest -Q -R 'Works/1$' || fail "a test by itself fails"
expect "one test" "/ --gtest_filter=Group/Valued.Works/1 --gtest_also_run_disabled_tests" "$(cat runs)"

touch skips
TESTS_TOGETHER=1 ctest -Q && fail "a test that skips itself in company passes"
ctest -Q -R First || fail "a test that skips itself when it is alone fails"
rm skips

sed -i 's/^set(labels .*/set(labels "unit;slow")/' CTestTestfile.cmake
expect "by a label" "$alone" "$(ctest -N -L '^slow$' | sed -n 's/^ *Test *#[0-9]*: //p')"
sed -i 's/^set(labels .*/set(labels)/' CTestTestfile.cmake
expect "without a label" "No Labels Exist" "$(TESTS_TOGETHER=1 ctest --print-labels | tail -n 1)"

describe 1 ""
expect "those that cannot share" "$alone" "$(TESTS_TOGETHER=1 names)"
describe 9 "-Plain.First"
rm -f runs
TESTS_TOGETHER=1 ctest -Q || fail "with a filter, the tests fail"
expect "the filter" "/ --gtest_list_tests --gtest_filter=-Plain.First
0/1 --gtest_filter=-Plain.First" "$(cat runs)"

# What has changed since the stamp comes first.
describe 9 ""
cat >>CTestTestfile.cmake <<'END'
add_test(other true)
set_tests_properties(other PROPERTIES COST 1000)
END
first_with_stamp() {
    rm -rf Testing
    TESTS_PASSED_STAMP=$folder/stamp TESTS_TOGETHER=1 ctest --parallel 1 | sed -n 's/^ *Start *[0-9]*: //p' | head -n 1
}
touch -d "1 hour ago" program library
touch -d "1 minute ago" stamp
expect "first when nothing has changed" other "$(first_with_stamp)"
touch library
expect "first when its library has changed" some_test.part1of1 "$(first_with_stamp)"

echo "exit 3" >program
expect "a program that does not run" "some_test_LISTS_NO_TESTS
other" "$(names)"
ctest -Q && fail "a program that does not run passes"
ctest -Q -R other || fail "other tests fail with it"

rm program
expect "a program that is not built" "some_test_NOT_BUILT
other" "$(names)"
