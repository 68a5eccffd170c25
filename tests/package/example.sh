#!/usr/bin/env bash
# The example, as it is installed, builds against the installed package alone, and runs.
set -uo pipefail
# shellcheck source=tests/package/lib.sh
. "$(dirname "$0")/lib.sh"

example=$work/example
rm -rf "$example"
# Its own toolchain file names the compiler alone, as a host developer's would; nothing of the source tree is used.
mkdir -p "$example" || die "cannot make $example"
cat >"$example/toolchain.cmake" <<'END'
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
END
run_logged "$work/example.log" "configuring failed" \
    cmake -S "$installed/examples/host" -B "$example/build" -G Ninja -DCMAKE_PREFIX_PATH="$installed" \
    -DCMAKE_TOOLCHAIN_FILE="$example/toolchain.cmake" "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Wconversion -Werror"
run_logged "$work/example.log" "building failed" nice -n 15 cmake --build "$example/build"
! sed -e "s#$installed##g" -e "s#$example##g" "$example/build/build.ninja" | grep -qF "$root" ||
    die "it uses the source tree"

# Wine's prefix is the main build's.
mv "$example/build/CMakeCache.txt" "$example/build/cache.txt"
output=$("$root/scripts/run-in-wine.sh" "$example/build/example_host.exe") || die "it failed: $output"
# Wine's own audio service may have complaints to add.
expect_same output $'started\nstopped\nended' "$(tr -d '\r' <<<"$output" | grep -v "^ALSA lib ")"
