#!/usr/bin/env python3
"""Tells what failed in ctest's last run, and for each the command that runs just that.

    failed_tests.py BUILD-FOLDER TEST-COMMAND

Where several tests of GoogleTest shared a process, those are named that failed, or in which the process ended."""

import re
import sys
from pathlib import Path

PART = re.compile(r"(.+)\.part\d+of\d+$")


def outputs(log):
    """What each test of ctest's put out, by its name."""
    sections = re.split(r"^\d+/\d+ Testing: (.*)$", log, flags=re.MULTILINE)
    return dict(zip(sections[1::2], sections[2::2]))


def failed_in(output):
    """The tests of GoogleTest that failed; the one that was under way when the process ended too."""
    failed = []
    running = None
    for event, test in re.findall(r"^\[ *(RUN|OK|FAILED|SKIPPED) *\] ([^\s,]+\.[^\s,]+)", output, flags=re.MULTILINE):
        running = test if event == "RUN" else None
        if event == "FAILED" and test not in failed:
            failed.append(test)
    return failed + ([running] if running else [])


def pattern(name):
    """A regular expression, as ctest knows them, for that name alone."""
    return "^" + re.sub(r"([.+*?()\[\]^$|\\])", r"\\\1", name) + "$"


def commands(names, output_of, command):
    """A line for each test that failed."""
    for name in names:
        part = PART.match(name)
        failed = failed_in(output_of.get(name, "")) if part else []
        for test in failed:
            yield f"{command} -R '{pattern(f'{part[1]}.{test}')}'"
        if part:
            yield f"{command} --together -R '{pattern(name)}'  # with those that share its process"
        else:
            yield f"{command} -R '{pattern(name)}'"


def main():
    folder = Path(sys.argv[1]) / "Testing/Temporary"
    try:
        names = [line.partition(":")[2] for line in (folder / "LastTestsFailed.log").read_text().splitlines()]
        log = (folder / "LastTest.log").read_text(errors="replace")
    except FileNotFoundError:
        return # ctest itself failed, and has said why
    print("\nWhat failed, by itself:")
    for line in commands(names, outputs(log), sys.argv[2]):
        print(f"    {line}")


if __name__ == "__main__":
    main()
