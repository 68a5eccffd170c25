"""Tests of the check of guarded fields: a lock that is left out is found.

guarded_fields_test.py TARGETS WORK: the described targets, and a folder for a copy of the module.
"""

import shutil
import sys
import unittest
from pathlib import Path

import guarded_fields
import microsoft  # noqa: E402  guarded_fields has made it known

FOLDERS = ("audio", "connector", "feature", "hostsdk", "plugin", "taskloop")
targets, work = sys.argv[1:3]


class GuardedFields(unittest.TestCase):
    def setUp(self):
        target = next(t for t in microsoft.read_targets(targets) if len(t.sources) > 1)
        copy = Path(work) / self._testMethodName
        for folder in FOLDERS:
            shutil.copytree(target.root / folder, copy / folder, dirs_exist_ok=True)
        self.target = target.moved_to(copy)

    def findings_without(self, file, lock, before=""):
        """What is found when the first lock of that kind, before that text, is left out."""
        path = self.target.root / file
        text = path.read_text()
        self.assertIn(lock + before, text)
        path.write_text(text.replace(lock + before, before, 1))
        return guarded_fields.findings(self.target, path)

    def test_nothing_is_found_in_the_module_as_it_is(self):
        path = self.target.root / "feature/Cooperation.cpp"
        self.assertEqual(guarded_fields.findings(self.target, path), "")

    def test_a_missing_lock_of_the_queue_is_found(self):
        found = self.findings_without("feature/Cooperation.cpp", "        const std::scoped_lock lock(coopMutex);\n")
        self.assertRegex(found, "requires holding mutex 'coopMutex'")

    def test_a_missing_lock_of_the_task_queue_is_found(self):
        found = self.findings_without("taskloop/TaskLoop.cpp", "    const std::scoped_lock lock(queueMutex);\n",
                                      "    if (taskQueue.empty())\n")
        self.assertRegex(found, "requires holding mutex 'queueMutex'")

    def test_a_missing_lock_of_the_endpoints_is_found(self):
        found = self.findings_without("audio/EarphoneEndpoints.cpp",
                                      "    const std::scoped_lock lock(endpoints.endpointMutex);\n")
        self.assertRegex(found, "requires holding mutex 'endpoints.endpointMutex'")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
