#!/usr/bin/env python3
"""Runs every scenario with two builds of the simulator, and compares what happened.

    compare_timelines.py RUN-PROGRAM SIMULATOR.exe SCENARIOS-FOLDER

The other build is in the folder that MINGW_BUILD_DIR names; without it nothing is compared (exit status 77). What
happened is the same when each thread has the same lines; times, and the order of lines of different threads, are left
out. Where threads race, as in a scenario that stops in the middle, two runs of one build differ as well: so each scenario
runs several times with each, until a run of the one is as a run of the other."""

import os
import re
import subprocess
import sys
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

RUNS = 5
LINE = re.compile(r"^ *\d+\.\d{3}  (\S.{11,}?)  (\S+) +(.*)$")


def run(emulator, simulator, scenario):
    """The lines of each thread of a run."""
    done = subprocess.run([emulator, simulator, scenario, "--plain", "--limit", "120"], capture_output=True, text=True,
                          errors="replace")
    if done.returncode:
        sys.exit(f"{scenario} ends with {done.returncode} in {simulator}:\n{done.stdout[-3000:]}")
    threads = {}
    for line in done.stdout.splitlines():
        if found := LINE.match(line):
            thread, who, what = found.groups()
            threads.setdefault(thread.strip(), []).append(f"{who} {what}")
    return threads


def differences(left, right):
    """What one run has and the other has not, thread by thread."""
    found = []
    for thread in sorted(left.keys() | right.keys()):
        one, other = Counter(left.get(thread, [])), Counter(right.get(thread, []))
        found += [f"{thread}: {count} less of: {line}" for line, count in (one - other).items()]
        found += [f"{thread}: {count} more of: {line}" for line, count in (other - one).items()]
    return found


def main():
    emulator, simulator, folder = sys.argv[1:]
    other = Path(os.environ.get("MINGW_BUILD_DIR", "")) / "bin/simulator.exe"
    if not other.is_file():
        print(f"there is no other build to compare with: {other}")
        sys.exit(77)
    scenarios = sorted(Path(folder).glob("*.scn"))

    def compare(scenario):
        """The differences of the two runs that differ least."""
        ours, others, least = [], [], None
        for _ in range(RUNS):
            ours.append(run(emulator, simulator, scenario))
            others.append(run(emulator, other, scenario))
            newest = [(left, ours[-1]) for left in others] + [(others[-1], right) for right in ours[:-1]]
            least = min([*([] if least is None else [least]), *(differences(*pair) for pair in newest)], key=len)
            if not least:
                break
        return least

    with ThreadPoolExecutor(4) as pool:
        results = dict(zip(scenarios, pool.map(compare, scenarios)))
    for scenario, found in results.items():
        print(f"{scenario.name}: {'the same' if not found else ''}", *found, sep="\n  " if found else "")
    if any(results.values()):
        sys.exit("the builds differ")


if __name__ == "__main__":
    main()
