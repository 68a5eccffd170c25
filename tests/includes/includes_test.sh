#!/usr/bin/env bash
# Checks that scripts/includes.sh finds what is wrong with the sources in this folder, and nothing else.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
check=$here/../../scripts/includes.sh

die() {
    printf '%s\n' "$*" >&2
    exit 1
}

expected='tests/includes/MissingInHeader.h: does not include <cstddef>
tests/includes/MissingPlatformHeader.cpp: does not include <windows.h>
tests/includes/MissingStandardHeader.cpp: does not include <chrono>
tests/includes/UnusedHeader.cpp:3: includes <map> without using it'
found=$("$check" "$here"/Missing*.h "$here"/{Missing,Unused}*.cpp "$here"/{Clock,Watch}.h "$here/Complete.cpp" 2>&1) && die "nothing is found"
diff -u <(printf '%s\n' "$expected") <(grep '^tests/' <<<"$found") || die "something else is found: $found"

"$check" "$here/Complete.cpp" >/dev/null || die "a complete source does not pass"
found=$("$check" "$here/DoesNotCompile.cpp" 2>&1) && die "a source that does not compile passes"
grep -q "error: use of undeclared identifier 'nobodyDeclaredThis'" <<<"$found" || die "it does not say why it fails: $found"
