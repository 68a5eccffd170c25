#!/usr/bin/env python3
"""Compares the fields of the contract's records, laid out with Microsoft's standard library, with the tables.

    check_fields.py ROOT COMPILE_COMMANDS.json [--update]

The commands are those of a build in Microsoft's ABI: the records are compiled as its module is. With --update the tables
are rewritten to fit."""

import argparse
import json
import shlex
import subprocess
import sys
from pathlib import Path

import dumps
import tables

HERE = Path(__file__).resolve().parent


def command_of(root, commands):
    """How the build compiles the module, and where; without what says which source, and where the object goes."""
    for entry in json.loads(commands.read_text()):
        if Path(entry["file"]) == root / "plugin/HeadsetAdapterPlugin.cpp":
            words = shlex.split(entry["command"])
            words = words[:words.index("-c")]
            return [word for word in words if not word.startswith(("/Fo", "/Fd"))], entry["directory"]
    sys.exit(f"{commands} does not tell how the module is compiled")


def dump(root, commands):
    command, folder = command_of(root, commands)
    run = subprocess.run([*command, "-Xclang", "-fdump-record-layouts", "-c", f"/Fo{Path(folder)}/probe.obj", "--",
                          str(HERE / "probe.cpp")], cwd=folder, capture_output=True, text=True)
    if run.returncode:
        sys.exit(f"the records do not compile:\n{run.stderr}")
    return run.stdout


def named_as_in(table, rows):
    """The rows with the table's names of types, where the compiler leaves a namespace out."""
    kinds = {words[1]: words[2] for line in table.lines if len(words := line.split(maxsplit=2)) == 3}
    return [row if len(row) < 3 or not kinds.get(row[1], "").endswith(f"::{row[2]}") else (*row[:2], kinds[row[1]])
            for row in rows]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("root", type=Path)
    parser.add_argument("commands", type=Path)
    parser.add_argument("--update", action="store_true")
    arguments = parser.parse_args()
    expected = tables.read_tables(HERE / "expected/fields")
    found = dumps.records(dump(arguments.root, arguments.commands), expected, microsofts_library=True)
    complaints = [f"{name}: there is no such record" for name in expected if name not in found]
    for name, rows in sorted(found.items()):
        rows = named_as_in(expected[name], rows)
        if arguments.update:
            expected[name].write(tables.field_lines(name, rows, tables.listed_fields(expected[name].lines)))
        complaints += tables.compare_fields(name, tables.Table(expected[name].path).lines, rows)
    tables.report("The module with Microsoft's library", complaints)


if __name__ == "__main__":
    main()
