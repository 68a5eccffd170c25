#!/usr/bin/env bash
# Makes the picture of a run's page, docs/run-page.png, anew from a run.
#   scripts/picture.sh
set -uo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname "$0")/lib.sh"

check_system
ensure_packages "${build_packages[@]}" "${run_packages[@]}" chromium chromium-driver python3-selenium
start_wine
build_targets simulator
wait_for_wine
page=$build/pages/picture.html
mkdir -p "$build/pages" || die "cannot make the folder $build/pages"
run_logged "$build/logs/picture.log" "the run failed" "$root/scripts/run-in-wine.sh" "$build/bin/simulator.exe" \
    "$root/scenarios/audio-moves.scn" --plain --page "$page"
PYTHONPATH=$root/tests/simulator/page /usr/bin/python3 -B - "$page" "$root/docs/run-page.png" <<'END' || die "no picture"
import sys
from browser import Browser

browser = Browser()
browser.show(sys.argv[1], width=1280, height=880)
browser.run("""const entry = run.entries.find(e => e.kind === 'feature state' && e.text.includes(' on '));
               run.select(entry.index)""")
browser.drawn()
browser.driver.save_screenshot(sys.argv[2])
browser.quit()
END
say "made $root/docs/run-page.png"
