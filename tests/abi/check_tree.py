#!/usr/bin/env python3
"""Compiles the sources of the tree for Microsoft's ABI, with clang 19 and libc++ 19; a warning is an error.

    check_tree.py COMPILE_COMMANDS.json [--part module|simulator|tests] [SOURCE...]

Nothing is kept: it is about what only another compiler or another standard library has. What only mingw-w64's own headers
have would compile here too, since they are the platform's, so it is looked for by name. The host SDK's headers, which
belong to the part `module`, are compiled one by one. With sources, those alone."""

import argparse
import functools
import json
import os
import re
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
COMPILER = "/usr/lib/llvm-19/bin/clang++"
PLATFORM = "/usr/x86_64-w64-mingw32/include"

PARTS = {
    "module": ("plugin", "connector", "taskloop", "feature", "audio", "hostsdk"),
    "simulator": ("simulator",),
    "tests": ("tests", "bench", "examples"),
}

# What clang-cl makes of the options in cmake/warnings.cmake.
WARNINGS = ("-Wall", "-Wextra", "-Wconversion", "-Wshadow", "-Werror")


# What this library lacks, and Microsoft's and GCC's have.
BEYOND_THE_LIBRARY = {"simulator/program/scenario/TokenReader.cpp": "std::from_chars of a double"}

# Only in mingw-w64's headers, or of another system. One line may say why it is there all the same.
FOREIGN = re.compile(r"\b(WINBOOL|__MINGW\w+|__CRT_UUID_DECL\(|unistd\.h|sys/time\.h|pthread\.h|__mingw_\w+)")
EXPLAINED = re.compile(r"#\s*if|// mingw-w64's")


def part_of(source):
    """The part that a source belongs to; none when it is not of the tree, or built by the build."""
    if not source.is_relative_to(ROOT):
        return None
    top = source.relative_to(ROOT).parts[0]
    return next((part for part, folders in PARTS.items() if top in folders), None)


def read_sources(commands):
    """The C++ sources of the build that belong to the tree: {source: its definitions and folders}."""
    found = {}
    for entry in json.loads(Path(commands).read_text()):
        compiled = Path(os.path.normpath(Path(entry["directory"]) / entry["file"]))
        for source in _compiled_as_one(compiled) if compiled.parent.name == "Unity" else [compiled]:
            if source.suffix == ".cpp" and part_of(source) and str(source.relative_to(ROOT)) not in BEYOND_THE_LIBRARY:
                found.setdefault(source, list(_relevant(shlex.split(entry["command"]), Path(entry["directory"]))))
    return found


def _compiled_as_one(unity):
    """The sources that CMake has put together into one."""
    return map(Path, re.findall(r'^#include "(.+)"$', unity.read_text(), flags=re.MULTILINE))


def _relevant(words, folder):
    for word, following in zip(words, [*words[1:], ""]):
        if word.startswith("-D"):
            yield word
        elif word.startswith("-I"):
            yield f"-I{folder / word[2:]}"
        elif word == "-isystem":
            yield f"-isystem{folder / following}"


def headers_of_the_sdk(sources):
    """The host SDK's headers as sources of their own, compiled as the module is."""
    module = next(options for source, options in sources.items() if source.is_relative_to(ROOT / "plugin"))
    return {header: [*module, "-Wno-pragma-once-outside-header"] for header in sorted((ROOT / "hostsdk").rglob("*.h"))}


class Compiler:
    def __init__(self, libcxx):
        self.words = [COMPILER, "--target=x86_64-pc-windows-msvc", "-std=c++20", "-fsyntax-only", "-nostdinc++",
                      "-isystem", str(libcxx), "-isystem", str(ROOT / "microsoft/platform"), "-isystem", PLATFORM,
                      "-fms-extensions", "-fgnuc-version=4.2.1",
                      "-D_LIBCPP_NO_VCRUNTIME", "-D_LIBCPP_WCHAR_H_HAS_CONST_OVERLOADS=1", "-D_UCRT",
                      "-D__MSVCRT_VERSION__=0xE00", "-include", str(HERE / "prelude.h"), *WARNINGS]

    def complaints(self, source, options):
        """What is to be said of a source, and what the compiler says; nothing when all is well."""
        if found := foreign_names(source):
            return found
        run = subprocess.run([*self.words, *options, "-xc++", str(source)], capture_output=True, text=True,
                             errors="replace")
        return run.stderr if run.returncode or run.stderr else ""


def foreign_names(source):
    """The lines with names that only one platform has; not those of a test that other builds leave out."""
    if source.name in left_out():
        return ""
    return "".join(f"{source}:{number}: only mingw-w64 has this: {line.strip()}\n"
                   for number, line in enumerate(source.read_text().splitlines(), 1)
                   if FOREIGN.search(line) and not EXPLAINED.search(line))


@functools.cache
def left_out():
    """The sources of tests that a build with Microsoft's library leaves out."""
    rows = (ROOT / "tests/microsoft/excluded-sources.txt").read_text().splitlines()
    watchers = {"LockSpy.cpp", *(path.name for path in (ROOT / "tests/lockorder").glob("*.cpp"))}
    return {row.split()[1] for row in rows if row.strip() and not row.startswith("#")} | watchers


def libcxx(commands):
    """libc++'s headers: installed, or unpacked in the build folder, since two versions cannot be installed."""
    folders = [Path("/usr"), commands.parent / "packages/libc++-19-dev/usr"]
    found = [folder / "lib/llvm-19/include/c++/v1" for folder in folders]
    return next((folder for folder in found if (folder / "__config").is_file()), None)


def chosen(sources, part, names):
    if names:
        wanted = {Path(name).resolve() for name in names}
        missing = wanted - sources.keys()
        if missing:
            sys.exit(f"not a source of the build: {', '.join(map(str, sorted(missing)))}")
        return {source: options for source, options in sources.items() if source in wanted}
    return {source: options for source, options in sources.items() if part in (None, part_of(source))}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("commands", type=Path)
    parser.add_argument("--part", choices=PARTS)
    parser.add_argument("sources", nargs="*")
    arguments = parser.parse_args()
    library = libcxx(arguments.commands.resolve())
    if not library:
        sys.exit("libc++ 19 is missing: scripts/test.sh unpacks the package libc++-19-dev in the build folder")
    sources = read_sources(arguments.commands)
    sources = chosen({**sources, **headers_of_the_sdk(sources)}, arguments.part, arguments.sources)
    if not sources:
        sys.exit("there are no sources")
    compiler = Compiler(library)
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        found = list(filter(None, pool.map(compiler.complaints, sources.keys(), sources.values())))
    print("".join(found), end="")
    if found:
        sys.exit(f"{len(found)} of {len(sources)} sources do not compile for Microsoft's ABI without a warning")
    print(f"{len(sources)} sources compile for Microsoft's ABI")


if __name__ == "__main__":
    main()
