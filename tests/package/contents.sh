#!/usr/bin/env bash
# The archives hold what they should, nothing missing and nothing more; an installation holds the same.
set -uo pipefail
# shellcheck source=tests/package/lib.sh
. "$(dirname "$0")/lib.sh"

expected=$(dirname "$0")/contents
files_of() {
    cmake -E tar tf "$1" | grep -v '/$' | LC_ALL=C sort
}

expect_same "files in $archive.zip" "$(cat "$expected/plugin.txt")" "$(files_of "$archives/$archive.zip")"
expect_same "files in $archive-simulator.zip" "$(cat "$expected/simulator.txt")" \
    "$(files_of "$archives/$archive-simulator.zip" | grep -v '^scenarios/.*\.scn$')"
expect_same "installed files" "$(LC_ALL=C sort -u "$expected/plugin.txt" "$expected/simulator.txt")" \
    "$(cd "$installed" && find . -type f | sed 's:^\./::' | grep -v '^scenarios/.*\.scn$' | LC_ALL=C sort)"

empty=$(find "$installed" -type f -empty)
[ -z "$empty" ] || die "empty files: $empty"
grep -q '^GCC RUNTIME LIBRARY EXCEPTION$' "$installed/licences/gcc-runtime.txt" || die "the GCC exception is missing"
grep -q '^Files: mingw-w64-libraries/winpthreads' "$installed/licences/mingw-w64-runtime.txt" ||
    die "the licence of winpthreads is missing"
grep -q 'Version 3, 29 June 2007' "$installed/licences/GPL-3.txt" || die "the text of the GPL is missing"
