# Shared by the scripts in this folder, which source it. Names and messages of what they need, the build folder, Wine.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}
case $build in
    /*) ;;
    *) build=$PWD/$build ;;
esac
me=$(basename "$0")

say() {
    printf '%s: %s\n' "$me" "$*"
}

die() {
    printf '%s: %s\n' "$me" "$*" >&2
    exit 1
}

# have COMMAND...: whether all of them are there.
have() {
    command -v "$@" >/dev/null && [ "$(command -v "$@" | wc -l)" -eq $# ]
}

# run_logged LOG MESSAGE COMMAND...: runs the command with its output in the log; when it fails, shows the end of the log.
run_logged() {
    local log=$1 message=$2
    shift 2
    mkdir -p "$(dirname "$log")" || die "cannot make the folder $(dirname "$log")"
    if ! "$@" </dev/null >"$log" 2>&1; then
        grep -A 15 '^FAILED: ' "$log" >&2 || tail -n 30 "$log" >&2 # other commands of a build go on after the failing one
        die "$message (all of its output: $log)"
    fi
}

# --- how far it is ---

# as_time SECONDS
as_time() {
    if [ "$1" -ge 60 ]; then
        printf '%d min %d s' $(($1 / 60)) $(($1 % 60))
    else
        printf '%d s' "$1"
    fi
}

# show_count LOG WHAT SECONDS-LAST-TIME: every ten seconds, the count at the end of the log, as ninja ("[12/345]") and ctest
# (" 12/345 Test") write it, and the time left: from the last time if that is known, else as if all steps took the same.
# Ends by itself soon after the file LOG.counting has gone: killed as it starts, it would run what the script has to do at
# its end.
show_count() {
    local log=$1 what=$2 before=$3 start=$SECONDS shown=0 passed left count
    while sleep 1 && [ -e "$log.counting" ] && kill -0 $$ 2>/dev/null; do
        [ $((SECONDS - start - shown)) -ge 10 ] || continue
        shown=$((SECONDS - start))
        count=$(sed -En 's%^(\[| *)([0-9]+)/([0-9]+)(\] | Test +#).*%\2 \3%p' "$log" 2>/dev/null | tail -n 1)
        [ -n "$count" ] || continue
        passed=$((SECONDS - start))
        left=$((before - passed))
        [ "$left" -gt 0 ] || left=$((passed * (${count#* } - ${count% *}) / (${count% *} ? ${count% *} : 1)))
        say "$what: ${count% *} of ${count#* }, $(as_time "$passed") passed, about $(as_time "$left") left"
    done
}

# with_count LOG WHAT COMMAND...: runs the command, which writes to the log, and shows how far it is meanwhile. Remembers
# beside the log how long it took.
with_count() {
    local log=$1 what=$2 start=$SECONDS status
    shift 2
    { mkdir -p "$(dirname "$log")" && touch "$log.counting"; } || die "cannot write to $(dirname "$log")"
    show_count "$log" "$what" "$(cat "$log.seconds" 2>/dev/null || echo 0)" &
    "$@"
    status=$?
    rm -f "$log.counting"
    [ "$status" -ne 0 ] || echo $((SECONDS - start)) >"$log.seconds"
    return "$status"
}

# --- packages ---

# shellcheck disable=SC2034 # for the scripts that source this file
{
    build_packages=(g++-mingw-w64-x86-64-posix mingw-w64-tools cmake ninja-build googletest nlohmann-json3-dev)
    run_packages=(wine wine64)
    test_packages=(clang-tidy clang-format-14 clang clang-tools clang-19 clang-tools-19 libc++-14-dev lld llvm python3 python3-pefile
        python3-selenium chromium chromium-driver)
    native_packages=(clang libclang-rt-14-dev llvm cmake ninja-build googletest nlohmann-json3-dev)
}

is_installed() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# Sets become_root to what a command has to be run through; fails when there is no way to be root.
find_root() {
    if [ "$(id -u)" -eq 0 ]; then
        become_root=()
    elif command -v sudo >/dev/null && [ -t 0 ]; then
        become_root=(sudo) # asks for the password on the terminal if it needs one
    elif command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
        become_root=(sudo -n)
    else
        return 1
    fi
}

check_system() {
    have dpkg-query apt-get ||
        die "this system has no dpkg and apt; the build is made for Debian 12 on x86-64"
    [ "$(dpkg --print-architecture)" = amd64 ] ||
        die "this system is for $(dpkg --print-architecture); building and running need x86-64 (amd64)"
    # shellcheck disable=SC1091 # the system's own file
    local release
    release=$(. /etc/os-release 2>/dev/null && printf '%s %s' "${ID:-unknown}" "${VERSION_ID:-}")
    [ "$release" = "debian 12" ] || say "warning: made for Debian 12; this is $release, and may lack something"
}

# ensure_packages PACKAGE...: installs those that are missing; touches nothing, and no network, when none is.
ensure_packages() {
    local package missing=()
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    find_root || die "these packages are missing: ${missing[*]}
Installing them takes root or sudo; run as root:  apt-get install --no-install-recommends ${missing[*]}"
    say "installing ${missing[*]}"
    local start=$SECONDS
    install_packages "${missing[@]}"
    say "installed in $(as_time $((SECONDS - start)))"
}

install_packages() {
    run_logged "$build/logs/apt-update.log" "apt-get update failed; still missing: $*" \
        "${become_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update
    run_logged "$build/logs/apt-install.log" "apt-get could not install $*" \
        "${become_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@"
}

# unpack_package PACKAGE: its files, for a package that cannot be installed beside others, in the build folder, below
# packages/PACKAGE; nothing when they are there.
unpack_package() {
    local folder=$build/packages
    [ -d "$folder/$1" ] && return 0
    say "unpacking $1"
    rm -rf "$folder/$1".*
    mkdir -p "$folder/$1.deb" || die "cannot make the folder $folder/$1.deb"
    (cd "$folder/$1.deb" && run_logged "$build/logs/apt-download.log" "apt-get could not download $1" apt-get download "$1") ||
        exit 1
    run_logged "$build/logs/unpack.log" "$1 could not be unpacked" dpkg-deb -x "$folder/$1.deb/"*.deb "$folder/$1.new"
    mv "$folder/$1.new" "$folder/$1"
}

# --- build ---

# build_targets TARGET...: configures, and builds the targets in the configuration that is shipped.
build_targets() {
    local start=$SECONDS
    say "building in $build"
    run_logged "$build/logs/configure.log" "configuring failed" \
        cmake -S "$root" -B "$build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" \
        -DCMAKE_BUILD_TYPE=Release
    build_configured "$build" "building failed" --target "$@"
    say "built in $(as_time $((SECONDS - start)))"
}

# build_configured FOLDER MESSAGE OPTION...: shows ninja's own count on a terminal, and lines now and then elsewhere.
build_configured() {
    local folder=$1 message=$2
    shift 2
    local command=(cmake --build "$folder" --parallel "$(nproc)" "$@")
    if [ -t 1 ]; then
        "${command[@]}" </dev/null || die "$message; see it again with: ${command[*]@Q}"
    else
        with_count "$folder/logs/build.log" built \
            run_logged "$folder/logs/build.log" "$message; see it again with: ${command[*]@Q}" "${command[@]}"
    fi
}

# --- clang's tools ---

# set_target_flags VERSION: sets target_flags to what clang of that version needs to read our sources as the target's
# compiler does. It takes the headers of the cross compiler, in its order, but its own in place of GCC's.
set_target_flags() {
    local compiler=x86_64-w64-mingw32-g++-posix folder own
    have "$compiler" || die "$compiler is missing (package g++-mingw-w64-x86-64-posix)"
    own=$(compgen -G "/usr/lib/llvm-$1/lib/clang/*/include" | tail -n 1)
    [ -n "$own" ] || die "clang's own headers are missing (package libclang-common-$1-dev)"
    target_flags=(--target=x86_64-w64-mingw32 -std=c++20 -nostdinc)
    while read -r folder; do
        folder=$(realpath "$folder")
        case $folder in
            */lib/gcc/*/include) folder=$own ;;
            */include-fixed) continue ;;
        esac
        target_flags+=(-isystem "$folder")
    done < <("$compiler" -E -v -x c++ /dev/null 2>&1 >/dev/null | sed -n '/^#include </,/^End of/{/^ /p}')
    target_flags+=(-I"$root" -I"$root/hostsdk" "${common_definitions[@]}")
}

# As in cmake/warnings.cmake.
common_definitions=(-DNOMINMAX -DWIN32_LEAN_AND_MEAN -DUNICODE -D_UNICODE -D_WIN32_WINNT=0x0A00)

# --- sanitizers ---

# Where the kernel spreads addresses far, the sanitizers of LLVM 14 do not always find room for their shadow: what a program
# with one of them is to be run through, where that is allowed.
# shellcheck disable=SC2034 # for the scripts that source this file
fixed_addresses=()
# shellcheck disable=SC2034 # likewise
setarch "$(uname -m)" -R true 2>/dev/null && fixed_addresses=(setarch "$(uname -m)" -R)

# --- Wine ---

export WINEPREFIX=$build/wineprefix WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=d"

# Starts a server for the build folder's prefix that stays until stop_wine. It and the prefix are made while the script goes
# on; wait_for_wine waits for them. Wine's services, which the first program brings up, must not hold our output open, or a
# reader of it would wait for them: so they are brought up here, with their output elsewhere.
start_wine() {
    have wine wineserver || die "wine is installed, but not in PATH"
    mkdir -p "$WINEPREFIX" "$build/logs" || die "cannot make the folder $WINEPREFIX"
    trap stop_wine EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
    wineserver -p </dev/null >"$build/logs/wineserver.log" 2>&1 # fails when there is one, which is as well
    bring_up_wine &
    wine_start=$!
}

wait_for_wine() {
    wait "$wine_start" || exit 1
}

bring_up_wine() {
    local start=$SECONDS
    if [ -e "$build/wineprefix.ready" ]; then
        run_logged "$build/logs/wine-start.log" "wine does not start" wine cmd /c exit
    else
        say "making a Wine prefix"
        run_logged "$build/logs/wineboot.log" "wine could not make its prefix" wineboot -i
        touch "$build/wineprefix.ready"
        say "made the Wine prefix in $(as_time $((SECONDS - start)))"
    fi
}

# Keeps the exit status of the script that it ends.
stop_wine() {
    local status=$?
    trap - EXIT
    trap '' INT TERM
    kill "${wine_start:-}" 2>/dev/null # while it is still at it, or else it would tell that it has failed
    wineserver -k </dev/null >/dev/null 2>&1
    exit "$status"
}
