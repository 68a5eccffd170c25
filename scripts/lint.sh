#!/usr/bin/env bash
# Runs clang-tidy, with the checks of .clang-tidy, over the module's sources. A warning is an error.
#   scripts/lint.sh [SOURCE.cpp...]
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

command -v clang-tidy >/dev/null || die "clang-tidy is missing (package clang-tidy)"

version=$(clang-tidy --version | sed -n 's/.*LLVM version \([0-9]*\).*/\1/p')
set_target_flags "$version"
flags=("${target_flags[@]}" -DVYN_PROVIDER_API= -DTASK_LOOP_API= -Wall -Wextra)

if [ $# -gt 0 ]; then
    sources=("$@")
else
    mapfile -t sources < <(find "$root"/{plugin,connector,taskloop,audio,feature} -name '*.cpp' | sort)
fi
[ ${#sources[@]} -gt 0 ] || die "there are no sources"

cd "$root" || die "cannot enter $root"
say "${#sources[@]} sources"
# Each source on its own, as many at once as there are processors; xargs fails when one of them did.
printf '%s\0' "${sources[@]}" | xargs -0 -P "$(nproc)" -I '{}' \
    clang-tidy --quiet --warnings-as-errors='*' '{}' -- "${flags[@]}" 2>&1 | grep -v ' warnings\? generated\.$'
[ "${PIPESTATUS[1]}" -eq 0 ] || die "there are warnings"
say "no warnings"
