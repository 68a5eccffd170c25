# Shared by the tests of the package, which source it: paths and messages. Their arguments are the folder that they share, and the build.
# shellcheck shell=bash

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/../../scripts/lib.sh"

work=${1:?which folder?}
# shellcheck disable=SC2034 # for the scripts that source this file
{
    release=${2:?which build?}
    archives=$work/archives   # what cpack made of it
    installed=$work/installed # what `cmake --install` made of it
    archive=HeadsetAdapterPlugin-1.0.0-windows-x64
    tool=x86_64-w64-mingw32-
}

# build_again SOURCE BUILD TARGET: builds the target as the preset for what is shipped does, in the configuration of the
# build that is tested. The tests that run at the same time and look at the clock come first.
build_again() {
    local log=$2.log type
    type=$(sed -n 's/^CMAKE_BUILD_TYPE:[A-Z]*=//p' "$release/CMakeCache.txt")
    (cd "$1" && run_logged "$log" "configuring failed" \
        cmake --preset mingw-release -B "$2" -DCMAKE_BUILD_TYPE="$type") || exit 1
    run_logged "$log" "building failed" nice -n 15 cmake --build "$2" --parallel 2 --target "$3"
}

# expect_same WHAT EXPECTED ACTUAL: fails with the difference of the two texts.
expect_same() {
    diff --label "expected $1" --label "actual $1" -u <(printf '%s\n' "$2") <(printf '%s\n' "$3") ||
        die "$1: not as expected"
}

# unpack FOLDER: the simulator's archive alone, into a new folder, which becomes the current one.
unpack() {
    rm -rf "$1"
    mkdir -p "$1" || die "cannot make $1"
    cd "$1" || die "cannot enter $1"
    cmake -E tar xf "$archives/$archive-simulator.zip" || die "cannot unpack the simulator's archive"
}
