#!/usr/bin/env bash
# The shipped DLL says that it may be loaded anywhere in a 64-bit address space, and that its data is not code.
set -uo pipefail
# shellcheck source=tests/package/lib.sh
. "$(dirname "$0")/lib.sh"

dll=$installed/bin/HeadsetAdapterPlugin.dll
headers=$("${tool}objdump" -p "$dll") || die "cannot read $dll"
expect_same "DLL characteristics" "DllCharacteristics	00000160
					HIGH_ENTROPY_VA
					DYNAMIC_BASE
					NX_COMPAT" "$(grep -A 3 '^DllCharacteristics' <<<"$headers")"

sections=$("${tool}objdump" -h "$dll") || die "cannot read $dll"
grep -qw '\.reloc' <<<"$sections" || die "without relocations it cannot be moved: no section .reloc"
# The names of the sections that are both writable and code.
both=$("${tool}objdump" -h "$dll" | awk '/^ +[0-9]+ / { name = $2 } /CODE/ && !/READONLY/ { print name }')
[ -z "$both" ] || die "writable code: $both"

# The stack protector is inside: whoever finds its guard overwritten ends the process with this text.
grep -q 'stack smashing detected' "$dll" || die "the stack protector's run time is not in it"
