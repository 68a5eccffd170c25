#!/usr/bin/env bash
# Installs the build and packs it, for the other tests of the package.
set -uo pipefail
# shellcheck source=tests/package/lib.sh
. "$(dirname "$0")/lib.sh"

rm -rf "$installed" "$archives"
run_logged "$work/install.log" "installing failed" cmake --install "$release" --prefix "$installed"
run_logged "$work/pack.log" "packing failed" cpack --config "$release/CPackConfig.cmake" -B "$archives"
