#!/usr/bin/env python3
"""Compares the module, compiled for Microsoft's ABI, with the tables of the binary contract.

    check_module.py TARGETS --work FOLDER [--update [CLASS...]]

TARGETS is the folder in which CMake describes the module's targets. Every source has to compile without a warning.
With --update the tables are rewritten to fit the module: all of them, or those of the classes that are named; `exports`
names the table of exports."""

import argparse
import sys
from pathlib import Path

import dumps
import microsoft
import tables

EXPECTED = Path(__file__).resolve().parent / "expected"


class Module:
    """What the compiler makes of the module: the layouts that the tables are compared with."""

    def __init__(self, targets, work, contract):
        compiler = microsoft.Compiler(work)
        objects, table_dumps = compiler.compile_all(targets)
        self.slots = {}
        for dump in table_dumps:
            dumps.slots(dump, contract.slots, self.slots)
        self.records = dumps.records(compiler.dump_records(targets[-1]), contract.fields) if contract.fields else {}
        self.exports = dumps.exports(microsoft.directives(objects))


class Contract:
    """The tables; of those of classes only some, if asked for."""

    def __init__(self, folder=EXPECTED, slots=None, fields=None, exports=True):
        self.slots = _chosen(tables.read_tables(folder / "slots"), slots)
        self.fields = _chosen(tables.read_tables(folder / "fields"), fields)
        self.exports = tables.Table(folder / "exports/microsoft.txt") if exports else None

    def complaints(self, module):
        """Every difference between module and tables, one line each."""
        found = [f"{name}: the module has no such class, or no source makes its virtual tables"
                 for name in self.slots if name not in module.slots]
        found += [f"{name}: the module has no such record, or tests/abi/probe.cpp leaves it out"
                  for name in self.fields if name not in module.records]
        for name, layout in sorted(module.slots.items()):
            found += tables.compare_slots(name, tables.parse_slots(self.slots[name].lines), layout)
        for name, layout in sorted(module.records.items()):
            found += tables.compare_fields(name, self.fields[name].lines, layout)
        if self.exports:
            names = tables.parse_names(self.exports.lines)
            found += tables.compare_names("exports", names, module.exports, microsoft.undecorate)
        return found

    def rewrite(self, module, only):
        """Makes the tables fit the module, of those classes only if some are named. Tables that allow further members
        go on naming as many as they did; tables of what the module lacks stay as they are."""
        unknown = set(only) - {*self.slots, *self.fields, "exports"}
        if unknown:
            sys.exit(f"there is no table of {', '.join(sorted(unknown))}")

        def chosen(name):
            return not only or name in only

        for name in filter(chosen, module.slots):
            self.slots[name].write(tables.slot_lines(name, module.slots[name]))
        for name in filter(chosen, module.records):
            table = self.fields[name]
            lines = tables.field_lines(name, module.records[name], tables.listed_fields(table.lines))
            head, *fields = tables.with_known_numbers(lines, table.lines)
            table.write([head, "", *fields])
        if chosen("exports"):
            self.exports.write(tables.name_lines(microsoft.undecorate(module.exports)))


def _chosen(found, only):
    return found if only is None else {name: found[name] for name in only}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("targets", type=Path)
    parser.add_argument("--work", type=Path, required=True, help="folder for what the compiler makes")
    parser.add_argument("--update", nargs="*", metavar="CLASS")
    arguments = parser.parse_args()
    try:
        contract = Contract()
        module = Module(microsoft.read_targets(arguments.targets), arguments.work, contract)
        if arguments.update is not None:
            contract.rewrite(module, arguments.update)
            contract = Contract()
    except microsoft.CompileError as error:
        sys.exit(str(error))
    tables.report("The module", contract.complaints(module))


if __name__ == "__main__":
    main()
