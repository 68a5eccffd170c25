"""Tests of the tables: how they are written, read and compared."""

import contextlib
import io
import tempfile
import unittest
from pathlib import Path

import tables

HERE = Path(__file__).resolve().parent

FIELDS = [(0, "(pointer)", "vftable"), (8, "first", "int"), (16, "second", "std::string"),
          ("~", "own", "bool"), ("~", "(virtual base)", "Base"), ("size", "~")]


class CheckedInTest(unittest.TestCase):
    """A table that vanishes would no longer be held against anything."""

    def names(self, folder):
        return sorted(path.stem for path in (HERE / "expected" / folder).iterdir())

    def test_every_class_has_its_slots(self):
        self.assertEqual(self.names("slots"), [
            "CMMNotificationClient", "HeadsetAdapterPlugin", "HeadsetAudioFeatureHandler", "HeadsetConnector",
            "IDefaultEndpointPolicy", "IDevConnecter", "IDevFeatureHandler", "IDevFinder", "IEndpointVisibilityPolicy",
            "IProvider", "IToolProvider", "TaskLoop", "VynProviderPlugin"])

    def test_every_class_and_record_has_its_fields(self):
        self.assertEqual(self.names("fields"), [
            "CMMNotificationClient", "CoopTask", "DevFeatureStateInfo", "DeviceBaseInfo", "EarEndpointInfo",
            "EndpointRecord", "HeadsetAdapterPlugin", "HeadsetAudioFeatureHandler", "HeadsetConnector", "IDevConnecter",
            "IDevFeatureHandler", "IDevFinder", "IProvider", "IToolProvider", "LoopTask", "OwnedHandle",
            "TagIPCMessageItem", "TaskLoop", "TaskQueue", "VynDevice", "VynProviderPlugin"])

    def test_no_table_is_empty(self):
        for path in (HERE / "expected").rglob("*.txt"):
            lines = [line for line in path.read_text().splitlines() if line and not line.startswith("#")]
            self.assertGreater(len(lines), 1, path.name)


class FileTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def test_a_rewritten_table_keeps_its_comment(self):
        path = self.folder / "A.txt"
        path.write_text("# one\n# two\n\nclass Space::A\n  0  old\n")
        tables.Table(path).write(["class Space::A", "", "  0  new"])
        self.assertEqual(path.read_text(), "# one\n# two\n\nclass Space::A\n\n  0  new\n")

    def test_tables_are_known_by_their_class(self):
        (self.folder / "A.txt").write_text("# one\n\nclass Space::A\n")
        self.assertEqual(list(tables.read_tables(self.folder)), ["Space::A"])

    def test_a_table_without_a_class_is_refused(self):
        (self.folder / "A.txt").write_text("  0  operation\n")
        with self.assertRaisesRegex(ValueError, "A.txt: the first line is not"):
            tables.read_tables(self.folder)


class ReportTest(unittest.TestCase):
    def test_a_difference_is_a_failure_that_shows_it(self):
        with self.assertRaises(SystemExit) as raised:
            tables.report("The module", ["A, slot 1: expected this, found that"])
        self.assertRegex(raised.exception.code, r"^The module differs .*\n  A, slot 1: expected this, found that$")

    def test_no_difference_is_none(self):
        with contextlib.redirect_stdout(io.StringIO()) as output:
            tables.report("The module", [])
        self.assertEqual(output.getvalue(), "The module agrees with the tables.\n")


class SlotsTest(unittest.TestCase):
    def test_what_is_written_is_read_back(self):
        found = {"A": ["int A::First()", "void A::Second(int)"], "B": ["A::~A()"]}
        lines = tables.slot_lines("A", found)
        self.assertEqual(lines, ["class A", "", "table A", "   0  int A::First()", "   1  void A::Second(int)", "",
                                 "table B", "   0  A::~A()"])
        self.assertEqual(tables.parse_slots([line for line in lines if line]), found)

    def test_slots_out_of_order_are_refused(self):
        with self.assertRaisesRegex(ValueError, "slot 2 stands where slot 1 should"):
            tables.parse_slots(["class A", "table A", "  0  int A::First()", "  2  int A::Second()"])

    def test_a_missing_table_is_told(self):
        self.assertEqual(tables.compare_slots("A", {"A": ["x"], "B": ["y"]}, {"A": ["x"]}),
                         ["A: a table for B is expected, and there is none"])

    def test_a_table_too_many_is_told(self):
        self.assertEqual(tables.compare_slots("A", {"A": ["x"]}, {"A": ["x"], "B": ["y"]}),
                         ["A: there is an unexpected table for B"])


class FieldsTest(unittest.TestCase):
    def test_all_fields_are_listed_with_the_size(self):
        self.assertEqual(tables.field_lines("A", FIELDS),
                         ["class A", "", "     0  (pointer)               vftable",
                          "     8  first                   int",
                          "    16  second                  std::string", "     ~  own                     bool",
                          "     ~  (virtual base)          Base", "size ~"])

    def test_some_fields_are_listed_without_the_size(self):
        self.assertEqual(tables.field_lines("A", FIELDS, listed=3),
                         ["class A", "", "     0  (pointer)               vftable",
                          "     8  first                   int",
                          "    16  second                  std::string", "   ...",
                          "     ~  (virtual base)          Base"])

    def test_how_many_are_listed(self):
        self.assertEqual(tables.listed_fields(["class A", "  0  first  int", "   ...", "  ~  (virtual base)  Base"]), 1)
        self.assertIsNone(tables.listed_fields(["class A", "  0  first  int", "size 4"]))

    def test_members_after_the_listed_ones_are_free(self):
        expected = ["class A", "0 (pointer) vftable", "8 first int", "...", "~ (virtual base) Base"]
        self.assertEqual(tables.compare_fields("A", expected, FIELDS), [])

    def test_what_is_not_known_of_a_layout_agrees_with_any_number(self):
        rows = ["class A", "0 (pointer) vftable", "8 first int", "16 second std::string", "48 own bool"]
        self.assertEqual(tables.compare_fields("A", [*rows, "64 (virtual base) Base", "size 88"], FIELDS), [])
        self.assertEqual(tables.compare_fields("A", [*rows, "64 (virtual base) Other", "size 88"], FIELDS),
                         ["A, member 4: expected `64 (virtual base) Other`, found `~ (virtual base) Base`"])

    def test_what_is_known_agrees_with_its_own_number_alone(self):
        rows = [(0, "first", "int"), ("size", 4)]
        self.assertEqual(tables.compare_fields("A", ["class A", "8 first int", "size ~"], rows),
                         ["A, member 0: expected `8 first int`, found `0 first int`",
                          "A, member 1: expected `size ~`, found `size 4`"])

    def test_numbers_that_are_known_stay_up_to_the_first_change(self):
        table = ["class A", "     0  (pointer)               vftable", "     8  first                   int",
                 "    16  second                  std::string", "    48  own                     bool",
                 "    64  (virtual base)          Base", "size 88"]
        self.assertEqual(tables.with_known_numbers(tables.field_lines("A", FIELDS), table), table)
        self.assertEqual(tables.with_known_numbers(tables.field_lines("A", [*FIELDS[:3], *FIELDS[4:]]), table),
                         [*table[:4], "     ~  (virtual base)          Base", "size ~"])

    def test_the_base_behind_them_is_not(self):
        expected = ["class A", "0 (pointer) vftable", "8 first int", "...", "~ (virtual base) Other"]
        self.assertEqual(tables.compare_fields("A", expected, FIELDS),
                         ["A, member 3: expected `~ (virtual base) Other`, found `~ (virtual base) Base`"])

    def test_a_listed_one_may_not_be_missing(self):
        expected = ["class A", "0 (pointer) vftable", "8 first int", "16 second std::string", "~ own bool",
                    "~ more int", "...", "~ (virtual base) Base"]
        found = tables.compare_fields("A", expected, FIELDS)
        self.assertEqual(found[0], "A, member 4: expected `~ more int`, found `...`")


class NamesTest(unittest.TestCase):
    def test_c_names_come_first_and_then_class_by_class(self):
        lines = tables.name_lines({"?B": "public: void X::B(int)", "?A": "private: int Y<int>::A(void)", "C": "C",
                                   "?D": "const X::`vftable'{for `Y'}"})
        self.assertEqual(lines, ["C", "?B", "    public: void X::B(int)", "?D", "    const X::`vftable'{for `Y'}", "?A",
                                 "    private: int Y<int>::A(void)"])
        self.assertEqual(tables.parse_names(lines), {"C", "?A", "?B", "?D"})

    def test_a_difference_is_told_by_what_the_name_stands_for(self):
        def meaning(names):
            return {name: {"?A": "X::A()"}.get(name, name) for name in names}

        self.assertEqual(tables.compare_names("exports", {"?A", "same"}, {"B", "same"}, meaning),
                         ["exports: expected, and missing: X::A()  [?A]", "exports: found, and not expected: B"])
