"""Tests of when a check that passed is left out."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts/unchanged.py"


class Unchanged(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="with blanks ")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        (self.folder / "a source.cpp").write_text("source")
        (self.folder / "header.h").write_text("header")
        (self.folder / "settings").write_text("settings")
        (self.folder / "rule").write_text("source.o: a\\ source.cpp \\\n  header.h\n")

    def runs(self, text="1", status=0):
        """Whether the check is run; its exit status has to be passed on."""
        ran = self.folder / "ran"
        ran.unlink(missing_ok=True)
        run = subprocess.run([sys.executable, "-B", SCRIPT, "notes/source", "--also", "settings", "--with", text, "--reads",
                              "cat rule", "--", "sh", "-c", f"touch ran; exit {status}"], cwd=self.folder, check=False)
        self.assertEqual(run.returncode, status)
        return ran.exists()

    def test_what_passed_is_left_out_until_a_file_changes(self):
        self.assertTrue(self.runs())
        self.assertFalse(self.runs())
        for name in ("a source.cpp", "header.h", "settings"):
            (self.folder / name).write_text("changed")
            self.assertTrue(self.runs(), name)
            self.assertFalse(self.runs(), name)

    def test_the_time_of_a_file_does_not_matter(self):
        self.assertTrue(self.runs())
        os.utime(self.folder / "header.h", (1, 1))
        self.assertFalse(self.runs())

    def test_another_tool_runs_it(self):
        self.assertTrue(self.runs())
        self.assertTrue(self.runs(text="2"))

    def test_what_failed_is_run_again(self):
        self.assertTrue(self.runs(status=1))
        self.assertTrue(self.runs(status=1))
        self.assertTrue(self.runs())

    def test_a_file_that_is_new_below_a_folder_runs_it(self):
        (self.folder / "below/further").mkdir(parents=True)
        (self.folder / "below/further/old").write_text("old")
        command = [sys.executable, "-B", SCRIPT, "note", "--below", "below", "--", "sh", "-c", "echo ran"]

        def runs():
            return subprocess.run(command, cwd=self.folder, check=True, capture_output=True, text=True).stdout == "ran\n"

        self.assertTrue(runs())
        self.assertFalse(runs())
        (self.folder / "below/new").write_text("new")
        self.assertTrue(runs())
        self.assertFalse(runs())
        (self.folder / "below/further/old").write_text("changed")
        self.assertTrue(runs())

    def test_a_file_that_has_gone_runs_it(self):
        self.assertTrue(self.runs())
        (self.folder / "rule").write_text("source.o: a\\ source.cpp\n")
        (self.folder / "header.h").unlink()
        self.assertTrue(self.runs())
        self.assertFalse(self.runs())

    def test_nothing_is_remembered_when_what_it_reads_is_not_known(self):
        for rule in ("source.o:\n", None):
            if rule is None:
                (self.folder / "rule").unlink()
            else:
                (self.folder / "rule").write_text(rule)
            self.assertTrue(self.runs())
            self.assertTrue(self.runs())


if __name__ == "__main__":
    unittest.main()
