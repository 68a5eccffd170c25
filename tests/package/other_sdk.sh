#!/usr/bin/env bash
# The module builds against an SDK of the host whose enumerations name their values otherwise: it knows them by number.
set -uo pipefail
# shellcheck source=tests/package/lib.sh
. "$(dirname "$0")/lib.sh"

sdk=$work/other-sdk
rm -rf "$sdk"
cp -r "$installed/sdk" "$sdk" || die "cannot copy the SDK"
python3 -B "$(dirname "$0")/other_names.py" "$sdk" || die "the SDK has no enumerations"

# Not optimised: that it compiles and links is all that is asked.
rm -rf "$sdk-build"
run_logged "$work/other-sdk.log" "configuring failed" \
    cmake -S "$root" -B "$sdk-build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" \
    -DCMAKE_BUILD_TYPE=Debug -DHOST_SDK_DIR="$sdk"
run_logged "$work/other-sdk.log" "building failed" \
    nice -n 15 cmake --build "$sdk-build" --parallel 2 --target HeadsetAdapterPlugin
