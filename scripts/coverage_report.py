#!/usr/bin/env python3
"""Tells which lines and branches of the product no test has reached, and why.

Usage: coverage_report.py ROOT REASONS LINES BRANCHES LEAST_BRANCH_PERCENT FOLDER..., where LINES is what
`llvm-cov export -format=lcov` gives and BRANCHES what `llvm-cov export` does. Prints lines and branches of each file and of all of them, then what has not been reached, each with its reason.
Fails when something has none, or when fewer branches than that have been reached.

A line of the file of reasons is `FILE | TEXT | REASON`. It explains what has not been reached on lines of that file that
contain the text, and unreached lines that follow within three lines of one that does; a text of `*` explains all of the
file. So the reasons stay right when lines move.
"""

import json
import sys
from pathlib import Path

LOOK_BACK = 3


class File:
    """One source file: how often each of its lines and branches has been reached."""

    def __init__(self, name, path):
        self.name = name
        self.text = path.read_text().splitlines()
        self.lines = {}
        self.branches = {}

    def correct_lines(self, segments):
        """A line counts as reached when anything on it is. LLVM leaves that out for one that follows a block, whose end
        it takes for a gap that nothing reaches, when the statement goes on with a count from before the block."""
        for number, _, count, has_count, _, is_gap, *_ in segments:
            if has_count and not is_gap and count and self.lines.get(number) == 0:
                self.lines[number] = count

    def add_branches(self, branches):
        """One branch may be there several times, once for each instance of a template: its counts are added up."""
        for line, column, _, _, taken, not_taken, *_ in branches:
            for side, count in (("true", taken), ("false", not_taken)):
                key = (line, column, side)
                self.branches[key] = self.branches.get(key, 0) + count

    def missed_lines(self):
        return sorted(number for number, count in self.lines.items() if count == 0)

    def missed_branches(self):
        return sorted(key for key, count in self.branches.items() if count == 0)

    def drop_constant_branches(self):
        """What is decided when it is compiled has no count on either side."""
        for key in [key for key in self.branches if "if constexpr" in self.text[key[0] - 1]]:
            del self.branches[key]


class Reasons:
    """The checked-in list; remembers which entries have been of use."""

    def __init__(self, path):
        self.entries = []
        self.used = set()
        for number, line in enumerate(path.read_text().splitlines(), 1):
            if line and not line.startswith("#"):
                parts = [part.strip() for part in line.split(" | ", 2)]
                if len(parts) != 3 or not all(parts):
                    sys.exit(f"{path}:{number}: not of the form FILE | TEXT | REASON")
                self.entries.append(parts)

    def find(self, file, number, look_back):
        lines = file.text[max(0, number - 1 - look_back) : number]
        for index, (name, text, reason) in enumerate(self.entries):
            if name == file.name and (text == "*" or any(text in line for line in lines)):
                self.used.add(index)
                return reason
        return None

    def out_of_date(self, files):
        """Entries whose text is nowhere in their file."""
        texts = {file.name: "\n".join(file.text) for file in files}
        return [
            (name, text) for name, text, _ in self.entries if text != "*" and text not in texts.get(name, "")
        ]

    def unused(self):
        return [entry for index, entry in enumerate(self.entries) if index not in self.used]


class Files(dict):
    """The files of the product, by their names."""

    def __init__(self, root, folders):
        super().__init__()
        self.root = root
        self.folders = folders

    def at(self, filename):
        """None for a file that is not of the product."""
        path = Path(filename).resolve()
        if not path.is_relative_to(self.root):
            return None
        name = str(path.relative_to(self.root))
        if name.split("/")[0] not in self.folders:
            return None
        return self.setdefault(name, File(name, path))

    def read_lines(self, lcov):
        file = None
        for line in lcov.splitlines():
            if line.startswith("SF:"):
                file = self.at(line[3:])
            elif line.startswith("DA:") and file:
                number, count = map(int, line[3:].split(",")[:2])
                file.lines[number] = file.lines.get(number, 0) + count

    def read_branches(self, export):
        for data in export["data"][0]["files"]:
            if file := self.at(data["filename"]):
                file.correct_lines(data["segments"])
                file.add_branches(data["branches"])
                file.drop_constant_branches()


def share(missed, total):
    return f"{100 * (total - missed) / total:6.2f} %" if total else "       -"


def print_table(files):
    print(f"{'file':44}{'lines':>7}{'missed':>8}{'':>10}{'branches':>10}{'missed':>8}")
    rows = [
        (f.name, len(f.lines), len(f.missed_lines()), len(f.branches), len(f.missed_branches())) for f in files
    ]
    total = ("all", *(sum(row[column] for row in rows) for column in range(1, 5)))
    for name, lines, missed_lines, branches, missed_branches in [*rows, total]:
        print(
            f"{name:44}{lines:7}{missed_lines:8}  {share(missed_lines, lines)}"
            f"{branches:10}{missed_branches:8}  {share(missed_branches, branches)}"
        )
    return 100 * (total[3] - total[4]) / total[3]


def print_missed(files, reasons):
    """Gives how many have no reason."""
    missed = []
    for file in files:
        for number in file.missed_lines():
            missed.append((file, number, "line", reasons.find(file, number, LOOK_BACK)))
        for number, column, side in file.missed_branches():
            missed.append((file, number, f"column {column} never {side}", reasons.find(file, number, 0)))
    print("\nnot reached, with the reason:")
    for file, number, what, reason in missed:
        if reason:
            print(f"  {file.name}:{number} ({what}): {file.text[number - 1].strip()}\n      {reason}")
    unexplained = [entry for entry in missed if not entry[3]]
    print(f"\nnot reached, without a reason: {len(unexplained) or 'none'}")
    for file, number, what, _ in unexplained:
        print(f"  {file.name}:{number} ({what}): {file.text[number - 1].strip()}")
    return len(unexplained)


def main():
    root, reasons_path, lines_path, branches_path, least, *folders = sys.argv[1:]
    by_name = Files(Path(root).resolve(), set(folders))
    by_name.read_lines(Path(lines_path).read_text())
    by_name.read_branches(json.loads(Path(branches_path).read_text()))
    files = sorted(by_name.values(), key=lambda file: file.name)
    if not files:
        sys.exit("the export tells of none of the product's files")
    branch_percent = print_table(files)
    reasons = Reasons(Path(reasons_path))
    unexplained = print_missed(files, reasons)
    for name, text in reasons.out_of_date(files):
        sys.exit(f"a reason is for what is not there any more: {name} | {text}")
    for name, text, _ in reasons.unused():
        print(f"reached this time, though it has a reason: {name} | {text}")
    if unexplained:
        sys.exit(f"{unexplained} lines or branches are neither reached nor explained")
    if branch_percent < float(least):
        sys.exit(f"{branch_percent:.2f} % of the branches are reached, fewer than {least} %")


if __name__ == "__main__":
    main()
