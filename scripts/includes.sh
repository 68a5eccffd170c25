#!/usr/bin/env bash
# Checks that each file includes what it uses, and nothing else, as scripts/include-map.txt has it.
#   scripts/includes.sh             all sources and headers but those of native/ and microsoft/, which have
#                                   the platform's in their own way
#   scripts/includes.sh --module    those of the module and of the host SDK
#   scripts/includes.sh FILE...
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

version=19 # the first in Debian 12 that has the tool
have "clang-include-cleaner-$version" || die "clang-include-cleaner-$version is missing (package clang-tools-$version)"
have "clang++-$version" || die "clang++-$version is missing (package clang-$version)"

# Left out: broken sources, which includes_test.sh has this script find, and what is only compiled for Microsoft's ABI.
skipped=(-path "$root/tests/includes" -o -path "$root/tests/microsoft" -o -path "$root/tests/abi/prelude.h")
module=("$root"/{plugin,connector,taskloop,audio,feature,hostsdk})
sources_in() {
    find "$@" \( "${skipped[@]}" \) -prune -o \( -name '*.h' -o -name '*.cpp' \) -type f -print | sort
}
case ${1:-} in
    '') mapfile -t files < <(sources_in "${module[@]}" "$root"/{simulator,tests,examples}) ;;
    --module) mapfile -t files < <(sources_in "${module[@]}") ;;
    *) mapfile -t files < <(realpath -- "$@") ;;
esac

work=$(mktemp -d) || die "cannot make a folder"
trap 'rm -rf "$work"' EXIT

# library_headers FOLDER...: an include of each that the folders' files include, windows.h first, which others need.
library_headers() {
    printf '#include <windows.h>\n'
    find "$@" \( "${skipped[@]}" \) -prune -o \( -name '*.h' -o -name '*.cpp' \) -type f -print0 |
        xargs -0 grep -hoE '^#include <[^>]+>' | grep -vx '#include <windows.h>' | sort -u
}

say "${#files[@]} files"
set_target_flags "$version"
flags=("${target_flags[@]}" -isystem /usr/src/googletest/googletest/include -isystem /usr/src/googletest/googlemock/include
    -isystem "$work/json" -DSERVICE_PROGRAM="\"\"" -Wno-pragma-once-outside-header)
# Headers alone, in a folder that has this machine's other headers too.
{ mkdir "$work/json" && ln -s /usr/include/nlohmann "$work/json/nlohmann"; } || die "cannot make a folder"

# The headers of the libraries are compiled once, all of those that are included anywhere: that takes three quarters of the
# time off. A file that lacks an include compiles with them; what tells is what the tool says of its symbols.
headers=$work/libraries.h
library_headers "${module[@]}" "$root"/{simulator,tests} >"$headers"
"clang++-$version" "${flags[@]}" -x c++-header "$headers" -o "$headers.pch" || die "the headers do not compile"
"$root/scripts/includes_report.py" "$root" "$root/scripts/include-map.txt" "$headers" "$(nproc)" "${files[@]}" \
    -- "${flags[@]}" -x c++ || die "there are findings"
say "no findings"
