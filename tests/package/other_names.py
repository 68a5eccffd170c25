#!/usr/bin/env python3
"""Gives every value of every enumeration in the headers of a folder another name, wherever it is mentioned.

    other_names.py FOLDER"""

import re
import sys
from pathlib import Path

ENUMERATION = re.compile(r"\benum\s+(class\s+)?(\w+)[^{;]*\{([^}]*)\}")
VALUE = re.compile(r"^\s*(\w+)\s*(?:=|,|$)", re.MULTILINE)


def other(name):
    return f"Other_{name}"


def renamings(text):
    """Patterns of the mentions of each value, and what they become."""
    for scope, enumeration, body in ENUMERATION.findall(text):
        for name in VALUE.findall(body):
            mention = rf"\b{enumeration}::{name}\b" if scope else rf"\b{name}\b"
            yield re.compile(mention), (f"{enumeration}::" if scope else "") + other(name)


def with_other_names(enumeration):
    """A scoped enumeration's own text; the values of the others are renamed as mentions."""
    if not enumeration[1]:
        return enumeration[0]
    body = VALUE.sub(lambda value: value[0].replace(value[1], other(value[1]), 1), enumeration[3])
    return enumeration[0].replace(enumeration[3], body)


def main():
    headers = {path: path.read_text() for path in sorted(Path(sys.argv[1]).rglob("*.h"))}
    renames = [renaming for text in headers.values() for renaming in renamings(text)]
    for path, text in headers.items():
        text = ENUMERATION.sub(with_other_names, text)
        for mention, name in renames:
            text = mention.sub(name, text)
        path.write_text(text)
    print(f"{len(renames)} values of enumerations have other names")
    return 0 if renames else 1


if __name__ == "__main__":
    sys.exit(main())
