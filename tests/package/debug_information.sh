#!/usr/bin/env bash
# The DLL has no debug information in it, and names the file that has it.
set -uo pipefail
# shellcheck source=tests/package/lib.sh
. "$(dirname "$0")/lib.sh"

dll=$installed/bin/HeadsetAdapterPlugin.dll
sections=$("${tool}objdump" -h "$dll") || die "cannot read $dll"
! grep -q '\.debug_' <<<"$sections" || die "debug information in $dll"

# The link: the file's name, and its checksum.
link=$("${tool}objdump" --dwarf=links "$dll") || die "cannot read the debug link"
name=$(sed -n 's/^ *Separate debug info file: //p' <<<"$link")
expect_same "name of the debug information" HeadsetAdapterPlugin.dll.debug "$name"
checksum=$(sed -n 's/^ *CRC value: 0x//p' <<<"$link")
expect_same "checksum of $name" "$(gzip -c "$dll.debug" | tail -c 8 | od -An -tx4 -N4 | tr -d ' ')" \
    "$(printf '%08x' "0x$checksum")"

# A function is found in it, with its place in the sources and nothing of the builder's folders.
address=$("${tool}nm" "$dll.debug" | awk '$3 == "Create_HeadsetAdapterPlugin" { print $1 }')
[ -n "$address" ] || die "Create_HeadsetAdapterPlugin is not in $name"
place=$("${tool}addr2line" -e "$dll.debug" "0x$address")
expect_same "place of Create_HeadsetAdapterPlugin" /HeadsetAdapterPlugin/plugin/Exports.cpp "${place%:*}"
! grep -qF -e "$root" -e "$work" "$dll" "$dll.debug" || die "folders of the builder are in the DLL or in $name"
