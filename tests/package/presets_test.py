#!/usr/bin/env python3
"""The presets of toolchains that do not run here refer to what exists, and every toolchain has what it should have."""
import json
import re
import subprocess
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PRESETS = json.loads((ROOT / "CMakePresets.json").read_text())
CONFIGURE = {preset["name"]: preset for preset in PRESETS["configurePresets"]}
VISIBLE = {name for name, preset in CONFIGURE.items() if not preset.get("hidden")}  # but for the included ones


def parents(name):
    """The presets that one inherits from, those that count first in front."""
    names = CONFIGURE[name].get("inherits", [])
    return [names] if isinstance(names, str) else names


def inherited(name, key):
    """The value of a field that is a text, taken from the preset or from those that it inherits from."""
    found = (inherited(parent, key) for parent in parents(name))
    return CONFIGURE[name].get(key) or next(filter(None, found), None)


def variables(name):
    found = {}
    for parent in reversed(parents(name)):
        found |= variables(parent)
    return found | CONFIGURE[name].get("cacheVariables", {})


class Presets(unittest.TestCase):
    def test_cmake_reads_them_and_offers_those_of_this_system(self):
        listed = subprocess.run(["cmake", "--list-presets"], cwd=ROOT, text=True, capture_output=True, check=True)
        names = set(re.findall(r'^ *"([^"]*)"', listed.stdout, re.MULTILINE))
        self.assertLessEqual({"mingw-debug", "mingw-release", "native"}, names)
        self.assertFalse([name for name in names if name.startswith(("msvc", "clang-cl"))])

    def test_every_toolchain_has_debug_and_release(self):
        self.assertEqual(VISIBLE, {"mingw-debug", "mingw-release", "msvc-debug", "msvc-release",
                                   "clang-cl-debug", "clang-cl-release"})
        for name in VISIBLE:
            self.assertEqual(variables(name)["CMAKE_BUILD_TYPE"].lower(), name.rsplit("-", 1)[1], name)

    def test_toolchain_files_exist(self):
        self.assertEqual(inherited("mingw-release", "toolchainFile"), "${sourceDir}/cmake/mingw-w64.cmake")
        for name in VISIBLE:
            file = inherited(name, "toolchainFile")
            if file and "$env" not in file:
                self.assertTrue((ROOT / file.replace("${sourceDir}/", "")).is_file(), f"{name}: {file}")

    def test_compilers_are_named_where_no_toolchain_file_does(self):
        self.assertEqual(variables("msvc-release")["CMAKE_CXX_COMPILER"], "cl")
        self.assertEqual(variables("clang-cl-release")["CMAKE_CXX_COMPILER"], "clang-cl")

    def test_what_builds_tests_on_windows_has_vcpkg_and_can_run_them(self):
        for name in VISIBLE - {"mingw-debug", "mingw-release"}:
            with_tests = variables(name).get("BUILD_TESTING") != "OFF"
            self.assertEqual(with_tests, name.endswith("-debug"), name)
            self.assertEqual("vcpkg" in (inherited(name, "toolchainFile") or ""), with_tests, name)
            self.assertEqual(name in {preset["name"] for preset in PRESETS["testPresets"]}, with_tests, name)
        manifest = json.loads((ROOT / "vcpkg.json").read_text())
        self.assertIn("gtest", manifest["dependencies"])

    def test_variables_are_cmakes_or_the_projects_own(self):
        text = (ROOT / "CMakeLists.txt").read_text()
        own = set(re.findall(r'option\((\w+)', text)) | set(re.findall(r'set\((\w+)[^)]*\bCACHE\b', text))
        self.assertIn("HOST_SDK_DIR", own)
        known = {"CMAKE_BUILD_TYPE", "CMAKE_CXX_COMPILER", "VCPKG_TARGET_TRIPLET"} | own
        for name in VISIBLE:
            self.assertLessEqual(variables(name).keys(), known, name)

    def test_what_is_binding_is_set_for_targets_and_not_in_presets(self):
        for name in VISIBLE:
            self.assertFalse([variable for variable in variables(name) if "FLAGS" in variable], name)

    def test_the_other_presets_refer_to_configure_presets(self):
        for kind in ("buildPresets", "testPresets", "packagePresets"):
            for preset in PRESETS[kind]:
                self.assertIn(preset["configurePreset"], VISIBLE, preset["name"])
        self.assertEqual({preset["name"] for preset in PRESETS["buildPresets"]}, VISIBLE)


if __name__ == "__main__":
    unittest.main()
