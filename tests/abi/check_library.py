#!/usr/bin/env python3
"""Compares the library that mingw-w64 makes with the tables of its exports and imports.

    check_library.py LIBRARY.dll [--update]

With --update the table of exports is rewritten to fit the library; that of imports is a list of what is allowed, and is
kept by hand."""

import argparse
import subprocess
from pathlib import Path

import pefile

import microsoft
import tables

EXPECTED = Path(__file__).resolve().parent / "expected"


class Library:
    """What a library exports and imports."""

    def __init__(self, path):
        with pefile.PE(str(path), fast_load=True) as image:
            image.parse_data_directories([pefile.DIRECTORY_ENTRY[f"IMAGE_DIRECTORY_ENTRY_{table}"]
                                          for table in ("EXPORT", "IMPORT", "DELAY_IMPORT")])
            self.exports = {symbol.name.decode() for symbol in image.DIRECTORY_ENTRY_EXPORT.symbols}
            taken = [*getattr(image, "DIRECTORY_ENTRY_IMPORT", []), *getattr(image, "DIRECTORY_ENTRY_DELAY_IMPORT", [])]
            self.imports = {entry.dll.decode(): set(map(_name, entry.imports)) for entry in taken}


def _name(symbol):
    """What an import is called; its number when it is imported by that."""
    return symbol.name.decode() if symbol.name else f"#{symbol.ordinal}"


def demangle(names):
    """What GCC's decorated names stand for, by name."""
    names = sorted(names)
    run = subprocess.run([microsoft.llvm_tool("llvm-cxxfilt")], input="\n".join(names) + "\n", capture_output=True,
                         text=True, check=True)
    return {name: text.replace("[abi:cxx11]", "") for name, text in zip(names, run.stdout.splitlines())}


def export_complaints(library, expected=EXPECTED / "exports/mingw-w64.txt"):
    names = tables.parse_names(tables.Table(expected).lines)
    return tables.compare_names("exports", names, library.exports, demangle)


def read_allowed(expected):
    """By the name of a library, in small letters: what may be taken from it, or nothing when that is all of it."""
    allowed = {}
    for line in tables.Table(expected).lines:
        name, _, symbols = line.partition(":")
        allowed[name.strip().lower()] = set(symbols.split())
    return allowed


def import_complaints(library, expected=EXPECTED / "imports/mingw-w64.txt"):
    """One line for each library that may not be taken from, with what is taken, and for each that is allowed in vain."""
    allowed = read_allowed(expected)
    complaints = []
    for name, symbols in sorted(library.imports.items()):
        if name.lower() not in allowed:
            complaints.append(f"imports: {name} is not allowed; it is taken for {', '.join(sorted(symbols)) or 'nothing'}")
        elif (names := allowed[name.lower()]) and symbols - names:
            complaints.append(f"imports: {name} is not allowed for {', '.join(sorted(symbols - names))}")
    taken = {name.lower() for name in library.imports}
    return complaints + [f"imports: {name} is allowed, and nothing is taken from it" for name in sorted(allowed)
                         if name not in taken]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("library", type=Path)
    parser.add_argument("--update", action="store_true")
    arguments = parser.parse_args()
    library = Library(arguments.library)
    if arguments.update:
        tables.Table(EXPECTED / "exports/mingw-w64.txt").write(tables.name_lines(demangle(library.exports)))
    tables.report("The library", export_complaints(library) + import_complaints(library))


if __name__ == "__main__":
    main()
