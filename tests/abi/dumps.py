"""Makes tables of what clang and LLVM's tools print."""

import re

# Types of the standard library that are as large in libc++ as in Microsoft's library. The sizes of the others differ,
# and so do the offsets of what comes after them.
SAME_SIZE = re.compile(r"std::(shared_ptr|weak_ptr|unique_ptr|atomic|enable_shared_from_this)<|std::u?int\d+_t\b")

UNKNOWN = "~"  # an offset or a size that depends on the standard library


class DumpError(Exception):
    """What was printed is not what was expected of the tool, or contradicts itself."""


def _keep(tables, key, rows):
    if tables.setdefault(key, rows) != rows:
        raise DumpError(f"{key} is laid out in two ways:\n{tables[key]}\n{rows}")


def slots(dump, wanted, found=None):
    """The virtual tables of the wanted classes: {class: {base that the table is for: [operation in slot 0, ...]}}.

    Adds to `found`, if given; two sources must not differ about a class."""
    found = {} if found is None else found
    for head, body in re.findall(r"^VFTable for ('.*) \(\d+ entr(?:y|ies)\)\.\n((?:.+\n)*)", dump, re.M):
        classes = re.findall(r"'([^']*)'", head)
        if classes[-1] not in wanted:
            continue
        rows = [_operation(text) for _, text in re.findall(r"^ +(\d+) \| (.*)$", body, re.M)]
        if not rows or not rows[0].endswith(" RTTI"):
            raise DumpError(f"the table of {head} does not begin with the class's type information")
        _keep(found.setdefault(classes[-1], {}), classes[0], rows[1:])
    return found


def _operation(text):
    return re.sub(r" \[scalar deleting\]| \[\w+ = [^]]*\]", "", text)


def records(dump, wanted, microsofts_library=False):
    """The fields of the wanted records: {record: [(offset, name, type), ..., ("size", size)]}; bases stand among
    them, in parentheses. Offsets and sizes are numbers, or UNKNOWN where another library than Microsoft's decides."""
    found = {}
    for layout in dump.split("*** Dumping AST Record Layout\n")[1:]:
        lines = [(int(offset), len(indent) // 2, text)
                 for offset, indent, text in re.findall(r"^ *(\d+) \| ((?:  )*)(\S.*)$", layout, re.M)]
        size = re.search(r"\[sizeof=(\d+)", layout)
        if not lines or not size:
            raise DumpError(f"not a record's layout:\n{layout}")
        name = _plain(lines[0][2])
        if name in wanted:
            members = _members(lines[1:], 1)
            _keep(found, name, _fields(members, int(size.group(1)), microsofts_library))
    return found


def _members(lines, depth):
    """The members that stand at this depth: [(offset, text, members of the member), ...]."""
    starts = [index for index, line in enumerate(lines) if line[1] == depth]
    ends = starts[1:] + [len(lines)]
    return [(lines[start][0], lines[start][2], _members(lines[start + 1:end], depth + 1))
            for start, end in zip(starts, ends)]


def _fields(members, size, microsofts_library):
    rows, is_known = [], True
    for offset, text, parts in members:
        if text.startswith("(vtordisp"):  # the compiler's own; no member
            continue
        rows.append((offset if is_known else UNKNOWN, *_name_and_type(text)))
        is_known = is_known and (microsofts_library or _is_same_size(text, parts))
    return [*rows, ("size", size if is_known else UNKNOWN)]


def _plain(text):
    """A type without the words that C++ does not ask for."""
    text = re.sub(r"\b(class|struct|union|enum) ", "", text)
    text = re.sub(r"\b_Bool\b", "bool", text.replace(" (empty)", "").replace("> >", ">>")).strip()
    return text.replace("std::basic_string<char>", "std::string").replace("std::basic_string<wchar_t>", "std::wstring")


def _name_and_type(text):
    text = _plain(text)
    base = re.fullmatch(r"(.*) \((?:primary )?((?:virtual )?base)\)", text)
    if base:
        return f"({base.group(2)})", base.group(1)
    if re.fullmatch(r"\(.* pointer\)", text):
        return "(pointer)", text[1:-len(" pointer)")].split(" ", 1)[1]
    kind, _, name = text.rpartition(" ")
    return name, kind


def _is_same_size(text, parts):
    """Whether the member is as large with Microsoft's standard library as with the one it was compiled with."""
    kind = _name_and_type(text)[1]
    if kind.endswith("*") or SAME_SIZE.match(kind):
        return True
    return not kind.startswith("std::") and all(_is_same_size(part, inner) for _, part, inner in parts)


def exports(text):
    """The names that objects have the linker export."""
    return {quoted or bare for quoted, bare in re.findall(r'/EXPORT:(?:"([^"]*)"|([^\s,"]+))', text)}
