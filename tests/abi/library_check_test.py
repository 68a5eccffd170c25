#!/usr/bin/env python3
"""Tests of the check of the library: it is compared with tables that were tampered with.

    library_check_test.py LIBRARY.dll [UNITTEST-ARGUMENT...]"""

import sys
import tempfile
import unittest
from pathlib import Path

import check_library

EXPORTS = check_library.EXPECTED / "exports/mingw-w64.txt"
IMPORTS = check_library.EXPECTED / "imports/mingw-w64.txt"


class LibraryCheckTest(unittest.TestCase):
    library = None

    def tampered(self, table, old, new):
        """A copy of the table in which a line is another."""
        text = table.read_text()
        self.assertEqual(text.count(f"\n{old}\n"), 1, f"{old} in {table}")
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        path = Path(folder.name) / table.name
        path.write_text(text.replace(f"\n{old}\n", f"\n{new}\n" if new else "\n"))
        return path

    def test_an_export_that_is_not_expected(self):
        table = self.tampered(EXPORTS, "_ZN8TaskLoop6WakeUpEv", "")
        self.assertEqual(check_library.export_complaints(self.library, table),
                         ["exports: found, and not expected: TaskLoop::WakeUp()  [_ZN8TaskLoop6WakeUpEv]"])

    def test_an_export_that_is_missing(self):
        table = self.tampered(EXPORTS, "Create_HeadsetAdapterPlugin",
                              "Create_HeadsetAdapterPlugin\n_ZN8TaskLoop5PauseEv")
        self.assertEqual(check_library.export_complaints(self.library, table),
                         ["exports: expected, and missing: TaskLoop::Pause()  [_ZN8TaskLoop5PauseEv]"])

    def test_an_export_of_another_signature(self):
        table = self.tampered(EXPORTS, "_ZN8TaskLoop9StartLoopEb", "_ZN8TaskLoop9StartLoopEi")
        self.assertEqual(check_library.export_complaints(self.library, table),
                         ["exports: expected, and missing: TaskLoop::StartLoop(int)  [_ZN8TaskLoop9StartLoopEi]",
                          "exports: found, and not expected: TaskLoop::StartLoop(bool)  [_ZN8TaskLoop9StartLoopEb]"])

    def test_a_library_that_may_not_be_taken_from(self):
        table = self.tampered(IMPORTS, "SETUPAPI.dll", "")
        found = check_library.import_complaints(self.library, table)
        self.assertEqual(len(found), 1)
        self.assertRegex(found[0],
                         r"^imports: SETUPAPI\.dll is not allowed; it is taken for .*\bSetupDiEnumDeviceInfo\b")

    def test_a_libraries_name_has_no_case(self):
        table = self.tampered(IMPORTS, "SETUPAPI.dll", "SetupApi.DLL")
        self.assertEqual(check_library.import_complaints(self.library, table), [])

    def test_a_function_that_may_not_be_taken(self):
        table = self.tampered(IMPORTS, "ADVAPI32.dll: CryptAcquireContextA CryptGenRandom CryptReleaseContext",
                              "ADVAPI32.dll: CryptAcquireContextA CryptReleaseContext")
        self.assertEqual(check_library.import_complaints(self.library, table),
                         ["imports: ADVAPI32.dll is not allowed for CryptGenRandom"])

    def test_a_library_that_is_allowed_in_vain(self):
        table = self.tampered(IMPORTS, "SETUPAPI.dll", "SETUPAPI.dll\nws2_32.dll")
        self.assertEqual(check_library.import_complaints(self.library, table),
                         ["imports: ws2_32.dll is allowed, and nothing is taken from it"])

    def test_the_library_is_told_from_another(self):
        other = check_library.Library(Path(sys.argv[1]).with_name("QvLogger.dll"))
        self.assertIn("exports: expected, and missing: Create_HeadsetAdapterPlugin",
                      check_library.export_complaints(other))


if __name__ == "__main__":
    LibraryCheckTest.library = check_library.Library(sys.argv[1])
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
