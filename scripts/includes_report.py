#!/usr/bin/env python3
"""Tells which files do not include what they use, and what they include without using it.

Usage: includes_report.py ROOT MAP PREFIX JOBS FILE... -- CLANG-FLAG...

Runs clang-include-cleaner over each file, header or source, as a file of its own. PREFIX is a header that includes those
of all libraries; PREFIX.pch is what it compiles to. The tool's answers are put right by the MAP, whose lines are
`PATTERN -> HEADER... | REASON`: what a header gives whose name matches the pattern is had through any of those to the
right of it, and needs no include when there is a `-`. The first pattern that matches counts. A source also has what its
own header includes: the one that it includes first, in quotes. Prints a line for each finding; fails when there is one.
"""

import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from fnmatch import fnmatchcase
from pathlib import Path

TOOL = "clang-include-cleaner-19"
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"][^>"]+[>"])', re.MULTILINE)
FINDING = re.compile(r'^([+-]) ([<"][^>"]+[>"])(?: @Line:(\d+))?$')


class Map:
    """What the headers of a library that are not to be included themselves are had through."""

    def __init__(self, path, prefix):
        self.rules = [(prefix, ["-"])]  # of headers that do not guard all of their text the tool names the includer
        for number, line in enumerate(path.read_text().splitlines(), 1):
            if not line.strip() or line.startswith("#"):
                continue
            match = re.fullmatch(r"(\S+)\s+->\s+(\S[^|]*?)\s*\|\s*(\S.*)", line)
            if not match:
                raise SystemExit(f"{path}:{number}: no pattern, header and reason in it")
            self.rules.append((match[1], match[2].split()))

    def providers(self, header):
        """Headers, spelled as they are included, any of which gives what `header` gives; the usual one first. Empty when
        none has to be included."""
        name = header[1:-1]
        for pattern, providers in self.rules:
            if fnmatchcase(name, pattern):
                return [] if providers == ["-"] else [f"<{provider}>" for provider in providers] + [header]
        return [header]


def includes(path):
    return INCLUDE.findall(path.read_text(encoding="utf-8"))


class Checker:
    def __init__(self, root, header_map, prefix, flags):
        self.root = root
        self.prefix = prefix
        self.map = header_map
        self.flags = flags

    def own_header(self, path, direct):
        """The header that a source belongs to, as far as it can be told; None for a header."""
        if path.suffix != ".cpp" or not direct or not direct[0].startswith('"'):
            return None
        for folder in (self.root, self.root / "hostsdk", path.parent):
            header = folder / direct[0][1:-1]
            if header.is_file():
                return header
        return None

    def is_fixture(self, path):
        """Whether it is a header of tests: such a one includes for the tests that include it first."""
        return path.suffix == ".h" and path.is_relative_to(self.root / "tests")

    def run_tool(self, path):
        """What the tool finds: headers to add, and headers to remove with their lines."""
        prefix = ["-include-pch", f"{self.prefix}.pch"]
        for flags in ([*prefix, *self.flags], self.flags):  # a name may clash with one of a header that it does without
            command = [TOOL, "--print=changes", str(path), "--", *flags]
            run = subprocess.run(command, cwd=self.root, capture_output=True, text=True, check=False)
            if run.returncode == 0:
                break
        else:
            raise RuntimeError(f"{TOOL} fails\n{run.stderr}")
        missing, unused = [], []
        for line in run.stdout.splitlines():
            match = FINDING.match(line)
            if match and match[1] == "+":
                missing.append(match[2])
            elif match:
                unused.append((match[2], int(match[3])))
        return missing, unused

    def check(self, path):
        """The findings of a file, as lines to print."""
        try:
            missing, unused = self.run_tool(path)
        except RuntimeError as error:
            return [f"{self.name(path)}: {error}"]
        direct = includes(path)
        own = self.own_header(path, direct)
        known = set(direct) | set(includes(own) if own else [])
        findings, used = [], set()
        for header in missing:
            providers = self.map.providers(header)
            had = known.intersection(providers)
            used |= had
            if providers and not had:
                findings.append(f"{self.name(path)}: does not include {providers[0]}")
        for header, line in unused:
            if header not in used and not self.is_fixture(path):
                findings.append(f"{self.name(path)}:{line}: includes {header} without using it")
        return sorted(set(findings))

    def name(self, path):
        return path.relative_to(self.root) if path.is_relative_to(self.root) else path


def main():
    split = sys.argv.index("--")
    root, header_map, prefix, jobs, *files = sys.argv[1:split]
    checker = Checker(Path(root), Map(Path(header_map), prefix), prefix, sys.argv[split + 1 :])
    found = 0
    with ThreadPoolExecutor(int(jobs)) as pool:
        for findings in pool.map(checker.check, [Path(file).resolve() for file in files]):
            for finding in findings:
                print(finding, flush=True)
            found += len(findings)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
