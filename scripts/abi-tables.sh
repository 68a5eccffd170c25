#!/usr/bin/env bash
# Compares the module with the tables of the binary contract, tests/abi/expected, or rewrites them on purpose.
#   scripts/abi-tables.sh                     builds the module and checks it
#   scripts/abi-tables.sh --update            rewrites all tables to fit the module
#   scripts/abi-tables.sh --update NAME...    only those of these classes; `exports` names the tables of exports
# When and why: docs/binary-contract.md. The table of imports is kept by hand.
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

update=()
if [ $# -gt 0 ]; then
    [ "$1" = --update ] || die "unknown option $1; there is --update [NAME...]"
    update=("$@")
fi

check_system
ensure_packages "${build_packages[@]}" "${test_packages[@]}"
build_targets HeadsetAdapterPlugin

cd "$root/tests/abi" || die "cannot enter $root/tests/abi"
status=0
/usr/bin/python3 -B check_module.py "$build/tests/abi/targets" --work "$build/tests/abi/module" "${update[@]}" || status=1
case " $* " in
    "  " | " --update " | *" exports "*)
        /usr/bin/python3 -B check_library.py "$build/bin/HeadsetAdapterPlugin.dll" "${update[@]:0:1}" || status=1
        ;;
esac
exit $status
