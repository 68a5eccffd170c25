#!/usr/bin/env bash
# Formats the sources as .clang-format says, or only checks that they are.
#   scripts/format.sh [--check] [FILE...]
# Without files, all of the tree. With --check it changes nothing, and fails with the places that are not formatted.
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

# Another version formats some places otherwise.
formatter=clang-format-14
command -v "$formatter" >/dev/null || die "$formatter is missing (package clang-format-14)"

how=(-i)
if [ "${1:-}" = --check ]; then
    how=(--dry-run -Werror)
    shift
fi
if [ $# -gt 0 ]; then
    files=("$@")
else
    mapfile -d '' -t files < <(find "$root" -name '.git' -prune -o -path "$root/build*" -prune -o \
        \( -name '*.h' -o -name '*.cpp' \) -type f -print0 | sort -z)
fi
[ ${#files[@]} -gt 0 ] || die "there are no sources"
printf '%s\0' "${files[@]}" | xargs -0 -n 40 -P "$(nproc)" "$formatter" --style=file "${how[@]}" ||
    die "these places are not formatted; scripts/format.sh formats them"
