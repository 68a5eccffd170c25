#!/usr/bin/env python3
"""Makes an import library of what a DLL exports.

    import-library.py DLL LIBRARY.lib --tools FOLDER"""

import argparse
import re
import subprocess
from pathlib import Path


def exported_names(dll, tools):
    text = subprocess.run([tools / "llvm-readobj", "--coff-exports", dll], capture_output=True, text=True,
                          check=True).stdout
    return [name for name in re.findall(r"^  Name: (\S+)$", text, re.MULTILINE)]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("dll", type=Path)
    parser.add_argument("library", type=Path)
    parser.add_argument("--tools", type=Path, required=True)
    arguments = parser.parse_args()
    names = exported_names(arguments.dll, arguments.tools)
    if not names:
        parser.error(f"{arguments.dll} exports nothing by name")
    definition = arguments.library.with_suffix(".def")
    lines = "".join(f'    "{name}"\n' for name in names)
    definition.write_text(f"LIBRARY {arguments.dll.name}\nEXPORTS\n{lines}")
    subprocess.run([arguments.tools / "llvm-dlltool", "-m", "i386:x86-64", "-d", definition, "-l", arguments.library],
                   check=True)


if __name__ == "__main__":
    main()
