#!/usr/bin/env python3
"""Runs a check unless it passed before and nothing that it reads has changed since.

    unchanged.py NOTE [--also FILE...] [--below FOLDER...] [--with TEXT] [--reads COMMAND] -- CHECK...

NOTE is a file that remembers what the check read when it passed. It reads each FILE, every file below a FOLDER, and what
COMMAND prints, as a rule for make (as `clang++ -MM` does of one source). TEXT, such as the version of a tool, has to be
the same too.
What fails is run again each time."""

import argparse
import hashlib
import json
import re
import shlex
import subprocess
import sys
from pathlib import Path


def digest(path):
    return hashlib.sha256(Path(path).read_bytes()).hexdigest()


def files_of(rule):
    """The files that a rule for make names on its right."""
    text = rule.partition(": ")[2].replace("\\\n", " ")
    return [name.replace("\\ ", " ") for name in re.findall(r"(?:\\.|\S)+", text)]


def passed_before(note, check):
    """Whether the note tells of that check, and all files are as they were."""
    try:
        known = json.loads(Path(note).read_text())
        return known["check"] == check and all(digest(path) == was for path, was in known["files"].items())
    except (OSError, ValueError, KeyError):
        return False


def remember(note, check, files):
    note.parent.mkdir(parents=True, exist_ok=True)
    note.write_text(json.dumps({"check": check, "files": files}))


def files_below(folders):
    return [path for folder in folders for path in Path(folder).rglob("*") if path.is_file()]


def unless_passed(note, check, reads, also, run):
    """Calls `run`, which does the check, unless it passed before; returns what that returns, or True."""
    note = Path(note)
    if passed_before(note, check):
        return True
    note.unlink(missing_ok=True)
    # As they are before the check reads them: one that is changed meanwhile differs from the note.
    read = []
    if reads:
        rule = subprocess.run(reads, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=False)
        read = files_of(rule.stdout) if rule.returncode == 0 else []
    files = {str(path): digest(path) for path in [*read, *also]}
    passed = run()
    if passed and (read or not reads):
        remember(note, check, files)
    return passed


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("note", type=Path)
    parser.add_argument("--also", nargs="*", default=[])
    parser.add_argument("--below", nargs="*", default=[])
    parser.add_argument("--with", dest="text", default="")
    parser.add_argument("--reads", type=shlex.split)
    split = sys.argv.index("--")
    arguments, command = parser.parse_args(sys.argv[1:split]), sys.argv[split + 1:]
    below = files_below(arguments.below)
    passed = unless_passed(arguments.note, [arguments.text, *map(str, sorted(below)), *command], arguments.reads,
                           [*arguments.also, *below], lambda: subprocess.run(command, check=False).returncode == 0)
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
