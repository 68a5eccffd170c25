#!/usr/bin/env bash
# Runs clang-tidy, with the checks of .clang-tidy, over the module's sources. A warning is an error.
#   scripts/lint.sh [SOURCE.cpp...]
# With LINT_NOTES, the name of a folder, sources are left out that had none when they, and what they include, were the same.
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
export version_text flags_text
version_text=$(clang-tidy --version)
flags_text=${flags[*]@Q}
# lint_source SOURCE: quotes in the texts stand for themselves here.
lint_source() {
    local check=(clang-tidy --quiet --warnings-as-errors='*' "$1" --)
    eval "check+=($flags_text)"
    if [ -z "${LINT_NOTES:-}" ]; then
        "${check[@]}"
        return
    fi
    local name=${1#"$PWD/"}
    python3 -B scripts/unchanged.py "$LINT_NOTES/${name//\//_}.json" --also .clang-tidy --with "$version_text" \
        --reads "clang++ $flags_text -MM ${1@Q}" -- "${check[@]}"
}
export -f lint_source

# Each source on its own, as many at once as there are processors; xargs fails when one of them did.
# shellcheck disable=SC2016 # the inner shell expands it
printf '%s\0' "${sources[@]}" | xargs -0 -P "$(nproc)" -I '{}' bash -c 'lint_source "$1"' - '{}' 2>&1 |
    grep -v ' warnings\? generated\.$'
[ "${PIPESTATUS[1]}" -eq 0 ] || die "there are warnings"
say "no warnings"
