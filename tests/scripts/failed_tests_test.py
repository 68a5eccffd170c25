"""Tests of what is told after a run in which tests failed."""

import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import failed_tests  # noqa: E402

LOG = """Start testing: Nov 21 20:00 UTC
----------------------------------------------------------
1/3 Testing: loop_test.part1of2
1/3 Test: loop_test.part1of2
[ RUN      ] Loop.Starts
[       OK ] Loop.Starts (0 ms)
[ RUN      ] Threads/Loop.Stops/Two
LoopTest.cpp:12: Failure
[  FAILED  ] Threads/Loop.Stops/Two, where GetParam() = 2 (0 ms)
[ RUN      ] Loop.Waits
[       OK ] Loop.Waits (3 ms)
[  FAILED  ] 1 test, listed below:
[  FAILED  ] Threads/Loop.Stops/Two, where GetParam() = 2
2/3 Testing: loop_test.part2of2
[ RUN      ] Loop.Runs
[       OK ] Loop.Runs (0 ms)
[ RUN      ] Loop.Crashes
3/3 Testing: lint
a.cpp: warning
"""


class FailedTests(unittest.TestCase):
    def commands(self, *names):
        return list(failed_tests.commands(names, failed_tests.outputs(LOG), "scripts/test.sh"))

    def test_a_failing_test_of_a_part_is_named_once_and_can_be_run_alone_or_as_it_was(self):
        self.assertEqual(self.commands("loop_test.part1of2"), [
            r"scripts/test.sh -R '^loop_test\.Threads/Loop\.Stops/Two$'",
            r"scripts/test.sh --together -R '^loop_test\.part1of2$'  # with those that share its process"])

    def test_the_test_in_which_the_process_ended_is_named(self):
        self.assertEqual(self.commands("loop_test.part2of2")[0], r"scripts/test.sh -R '^loop_test\.Loop\.Crashes$'")

    def test_another_test_has_its_own_name(self):
        self.assertEqual(self.commands("lint"), ["scripts/test.sh -R '^lint$'"])

    def test_a_test_without_output_is_still_named(self):
        self.assertEqual(self.commands("gone_test.part1of1"), [
            r"scripts/test.sh --together -R '^gone_test\.part1of1$'  # with those that share its process"])


if __name__ == "__main__":
    unittest.main()
