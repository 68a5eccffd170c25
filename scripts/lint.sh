#!/usr/bin/env bash
# Runs clang-tidy, with the checks of .clang-tidy, over the module's sources. A warning is an error.
#   scripts/lint.sh [SOURCE.cpp...]
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

compiler=x86_64-w64-mingw32-g++-posix
command -v "$compiler" >/dev/null || die "$compiler is missing (package g++-mingw-w64-x86-64-posix)"
command -v clang-tidy >/dev/null || die "clang-tidy is missing (package clang-tidy)"

# clang takes the headers of the cross compiler, in its order, but its own in place of GCC's.
version=$(clang-tidy --version | sed -n 's/.*LLVM version \([0-9]*\).*/\1/p')
clang_headers=
for folder in "/usr/lib/llvm-$version/lib/clang/"*/include; do
    [ -d "$folder" ] && clang_headers=$folder
done
[ -n "$clang_headers" ] || die "clang's own headers are missing (package libclang-common-$version-dev)"
includes=()
while read -r folder; do
    folder=$(realpath "$folder")
    case $folder in
        */lib/gcc/*/include) folder=$clang_headers ;;
        */include-fixed) continue ;;
    esac
    includes+=(-isystem "$folder")
done < <("$compiler" -E -v -x c++ /dev/null 2>&1 >/dev/null | sed -n '/^#include </,/^End of/{/^ /p}')

flags=(--target=x86_64-w64-mingw32 -std=c++20 -nostdinc "${includes[@]}" -I"$root" -I"$root/hostsdk"
    -DNOMINMAX -DWIN32_LEAN_AND_MEAN -DUNICODE -D_UNICODE -D_WIN32_WINNT=0x0A00
    -DVYN_PROVIDER_API= -DTASK_LOOP_API= -Wall -Wextra)

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
