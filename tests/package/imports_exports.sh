#!/usr/bin/env bash
# What is shipped exports and imports what the tables say.
set -uo pipefail
# shellcheck source=tests/package/lib.sh
. "$(dirname "$0")/lib.sh"

cd "$root/tests/abi" || die "cannot enter tests/abi"
/usr/bin/python3 -B check_library.py "$installed/bin/HeadsetAdapterPlugin.dll" || die "not as the tables say"
