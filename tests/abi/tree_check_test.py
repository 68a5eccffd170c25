#!/usr/bin/env python3
"""Tests of the check of the tree itself: what only one compiler or library has must be complained of.

    tree_check_test.py COMPILE_COMMANDS.json [UNITTEST-ARGUMENT...]"""

import sys
import tempfile
import unittest
from pathlib import Path

import check_tree


class TreeCheckTest(unittest.TestCase):
    commands = None

    def complaints(self, text):
        with tempfile.TemporaryDirectory() as folder:
            source = Path(folder) / "Source.cpp"
            source.write_text(text)
            return check_tree.Compiler(check_tree.libcxx(self.commands)).complaints(source, [])

    def test_what_all_have_passes(self):
        self.assertEqual(self.complaints("#include <windows.h>\n#include <string>\nBOOL b; std::string s;\n"), "")

    def test_a_header_that_only_another_library_brings_along(self):
        self.assertIn("basic_ostringstream", self.complaints("#include <string>\nstd::ostringstream text;\n"))

    def test_a_name_that_only_one_platform_has(self):
        self.assertIn("Source.cpp:2: only mingw-w64 has this: WINBOOL b;",
                      self.complaints("#include <windows.h>\nWINBOOL b;\n"))

    def test_a_warning(self):
        self.assertIn("unused", self.complaints("static int nobodyNeedsIt = 0;\n"))

    def test_what_the_calls_are_bound_to(self):
        self.assertIn("error", self.complaints("static_assert(sizeof(long) == 8);\n"))  # 4 on this platform

    def test_the_build_names_sources_of_every_part(self):
        sources = check_tree.read_sources(self.commands)
        self.assertEqual({check_tree.part_of(source) for source in sources}, set(check_tree.PARTS))


if __name__ == "__main__":
    TreeCheckTest.commands = Path(sys.argv[1]).resolve()
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
