"""The tables of the contract: plain text, one for each class or list. They are read, written and compared here.

A table begins with lines of comment, `#`, which an update keeps. `...` among a record's fields stands for any number of
private members of the module's own. Lines that are indented further than the entries of a list explain, and are not
compared."""

import re
import sys
from pathlib import Path

ANY = "..."


class Table:
    """A table's comment and lines. The first line of a class's table names it: `class NAME`."""

    def __init__(self, path):
        self.path = Path(path)
        lines = self.path.read_text().splitlines()
        self.comment = [line for line in lines if line.startswith("#")]
        self.lines = [line for line in lines if line.strip() and not line.startswith("#")]

    @property
    def class_name(self):
        word, _, name = (self.lines[0] if self.lines else "").partition(" ")
        if word != "class" or not name:
            raise ValueError(f"{self.path}: the first line is not `class NAME`")
        return name

    def write(self, lines):
        self.path.write_text("\n".join([*self.comment, "", *lines]) + "\n")


def read_tables(folder):
    """All tables of a folder, by class."""
    tables = [Table(path) for path in sorted(Path(folder).glob("*.txt"))]
    return {table.class_name: table for table in tables}


def report(what, complaints):
    """Ends the program with the differences, if there are any; says so if there are none."""
    if complaints:
        sys.exit("\n".join([f"{what} differs from the tables in tests/abi/expected (see docs/binary-contract.md):",
                            *(f"  {line}" for line in complaints)]))
    print(f"{what} agrees with the tables.")


# --- slots ---


def slot_lines(name, tables):
    """The lines of a class's table: its virtual tables, each headed by the base that it is for."""
    lines = [f"class {name}"]
    for base, operations in tables.items():
        lines += ["", f"table {base}", *(f"  {slot:2}  {text}" for slot, text in enumerate(operations))]
    return lines


def parse_slots(lines):
    tables = {}
    for line in lines[1:]:
        if line.startswith("table "):
            rows = tables.setdefault(line.removeprefix("table "), [])
            continue
        slot, text = line.split(maxsplit=1)
        if int(slot) != len(rows):
            raise ValueError(f"slot {slot} stands where slot {len(rows)} should: {line}")
        rows.append(text)
    return tables


def compare_slots(name, expected, found):
    """The differences, one line each, every one of which names class and operation."""
    missing, more = expected.keys() - found.keys(), found.keys() - expected.keys()
    complaints = [f"{name}: a table for {base} is expected, and there is none" for base in sorted(missing)]
    complaints += [f"{name}: there is an unexpected table for {base}" for base in sorted(more)]
    for base in [base for base in expected if base in found]:
        where = name if base == name else f"{name} (table {base})"
        for slot in range(max(len(expected[base]), len(found[base]))):
            wanted, got = _at(expected[base], slot), _at(found[base], slot)
            if wanted != got:
                complaints.append(f"{where}, slot {slot}: expected {wanted}, found {got}")
    return complaints


def _at(rows, index):
    return rows[index] if index < len(rows) else "no operation"


# --- fields ---


def field_lines(name, rows, listed=None):
    """The lines of a record's table. With `listed` fields only so many are named, and others may follow."""
    virtual = [row for row in rows if row[1] == "(virtual base)"]
    fields = [row for row in rows[:-1] if row not in virtual]
    if listed is None:
        texts = [*map(_field, fields), *map(_field, virtual), f"size {rows[-1][1]}"]
    else:
        texts = [*map(_field, fields[:listed]), f"   {ANY}", *(_field(("~", *row[1:])) for row in virtual)]
    return [f"class {name}", "", *texts]


def with_known_numbers(lines, table):
    """The lines of a record, with the table's numbers in the place of those that are not known, up to the first member
    that is another one than the table's."""
    kept = []
    fields = [line for line in lines if line.strip()]
    for index, line in enumerate(fields):
        same = index < len(table) and _with_number_of(*_words([line, table[index]])) == _words([table[index]])[0]
        if not same:
            return [*kept, *fields[index:]]
        kept.append(table[index])
    return kept


def listed_fields(lines):
    """How many fields a table names before it allows others; None when it allows none."""
    words = _words(lines[1:])
    return words.index(ANY) if ANY in words else None


def _field(row):
    offset, name, kind = row
    return f"{offset:>6}  {name:<22}  {kind}"


def _words(lines):
    return [" ".join(line.split()) for line in lines]


def compare_fields(name, expected, rows):
    """The differences between a record's table and its layout, one line each, that name record and member. What is not
    known of the layout agrees with any number."""
    wanted = _words(expected[1:])
    found = _words(field_lines(name, rows, listed_fields(expected))[2:])
    complaints = []
    for index in range(max(len(wanted), len(found))):
        left, right = _row(wanted, index), _row(found, index)
        if left != right and left != _with_number_of(right, left):
            complaints.append(f"{name}, member {index}: expected `{left}`, found `{right}`")
    return complaints


def _with_number_of(row, other):
    """The row with the other's offset or size in the place of one that is not known."""
    if row == "size ~":
        return other if re.fullmatch(r"size \d+", other) else row
    number = re.match(r"\d+ ", other)
    return number.group() + row[2:] if row.startswith("~ ") and number else row


def _row(rows, index):
    return rows[index] if index < len(rows) else "none"


# --- lists of names ---


def name_lines(texts):
    """The lines of a list: each name, and under it what it stands for; C names first, then class by class."""
    lines = []
    for name in sorted(texts, key=lambda name: (_owner(texts[name]), name)):
        lines += [name] if texts[name] == name else [name, f"    {texts[name]}"]
    return lines


def _owner(text):
    """The class, of what a name stands for; nothing, of a C name."""
    while "<" in text:
        text, count = re.subn(r"<[^<>]*>", "", text)
        if not count:
            break
    head = text.split("::`")[0] if "::`" in text else text.split("(")[0].rpartition("::")[0]
    return head.rpartition(" ")[2]


def parse_names(lines):
    return {line for line in lines if not line.startswith(" ")}


def compare_names(what, expected, found, meaning):
    """The differences, one line each; `meaning` gives what names stand for."""
    explain = meaning(expected ^ found)

    def text(name):
        return name if explain[name] == name else f"{explain[name]}  [{name}]"

    return ([f"{what}: expected, and missing: {text(name)}" for name in sorted(expected - found)]
            + [f"{what}: found, and not expected: {text(name)}" for name in sorted(found - expected)])
