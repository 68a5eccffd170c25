#!/usr/bin/env bash
# The same sources give the same bytes, in whatever folders they are built.
set -uo pipefail
# shellcheck source=tests/package/lib.sh
. "$(dirname "$0")/lib.sh"

elsewhere="$work/in quite another folder"
sources=$elsewhere/sources
rm -rf "$sources"
mkdir -p "$sources" || die "cannot make $sources"
(cd "$root" && tar -c --exclude='./build*' --exclude="./${build#"$root/"}" --exclude="./${work#"$root/"}" \
    --exclude=./.git --exclude=./.cache .) | tar -x -C "$sources" ||
    die "cannot copy the sources"
build_again "$sources" "$elsewhere/build" HeadsetAdapterPlugin

for file in bin/HeadsetAdapterPlugin.dll bin/HeadsetAdapterPlugin.dll.debug lib/libHeadsetAdapterPlugin.dll.a; do
    cmp "$release/$file" "$elsewhere/build/$file" || die "the two builds differ"
done
