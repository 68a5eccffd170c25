#!/usr/bin/env bash
# The presets of clang-cl, as far as they go without Windows: with their options out of the same CMake lists, the module
# compiles without a warning. The headers are libc++'s and mingw-w64's.
set -uo pipefail
# shellcheck source=tests/package/lib.sh
. "$(dirname "$0")/lib.sh"

llvm=
for folder in /usr/lib/llvm-*; do
    [ -x "$folder/bin/clang-cl" ] && [ -d "$folder/include/c++/v1" ] && llvm=$folder
done
[ -n "$llvm" ] || die "clang-cl or libc++ is missing (packages clang-tools and libc++-14-dev)"

build_dir=$work/clang-cl
# A linker is not run.
flags="/EHsc /clang:-nostdinc++ /clang:-fgnuc-version=4.2.1 /imsvc$llvm/include/c++/v1
    /imsvc/usr/x86_64-w64-mingw32/include /FI$root/tests/abi/prelude.h -D_UCRT -D__MSVCRT_VERSION__=0xE00
    -D_LIBCPP_NO_VCRUNTIME -D_LIBCPP_WCHAR_H_HAS_CONST_OVERLOADS=1"
run_logged "$build_dir.log" "configuring failed" \
    cmake -S "$root" -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF \
    -DHOST_SDK_DIR="$installed/sdk" -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_CXX_COMPILER="$llvm/bin/clang-cl" \
    -DCMAKE_CXX_COMPILER_TARGET=x86_64-pc-windows-msvc -DCMAKE_RC_COMPILER="$llvm/bin/llvm-rc" \
    -DCMAKE_LINKER=lld-link -DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY \
    -DCMAKE_CXX_FLAGS="$(tr -s ' \n' ' ' <<<"$flags")"
run_logged "$build_dir.log" "compiling failed" \
    nice -n 15 cmake --build "$build_dir" --parallel 2 --target headset_module

# What it is compiled and linked with for protection, as CMake will write it for the Windows presets.
rules=$build_dir/build.ninja
compile_line=$(grep -A 8 '^build .*/ModulePin.cpp.obj:' "$rules" | sed -n 's/^  FLAGS = \(.*\)/ \1 /p')
for option in /W4 /WX /GS /sdl /guard:cf /Brepro -Zi -std:c++20; do
    [[ $compile_line == *" $option "* ]] || die "not compiled with $option:$compile_line"
done
link_line=$(grep -A 40 '^build bin/HeadsetAdapterPlugin.dll ' "$rules" | sed -n 's/^  LINK_FLAGS = \(.*\)/ \1 /p')
for option in /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT /GUARD:CF /CETCOMPAT /Brepro /DEBUG; do
    [[ $link_line == *" $option "* ]] || die "not linked with $option:$link_line"
done
