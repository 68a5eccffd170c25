"""Tests of how the dumps of clang and LLVM's tools are read."""

import unittest

import dumps

TABLES = """VFTable for 'Base' in 'Middle' in 'Most' (4 entries).
   0 | Most RTTI
   1 | Most::~Most() [scalar deleting]
       [this adjustment: vtordisp at -4, 0 non-virtual]
   2 | int Middle::Get() const [pure]
   3 | void Slots<7>::Unused(Slots<Last> *) [Last = 7] [pure]

Thunks for 'Most::~Most()' (1 entry).
   0 | [this adjustment: vtordisp at -4, 0 non-virtual]

VFTable for 'Other' (2 entries).
   0 | Other RTTI
   1 | void Other::Run()

VFTable indices for 'Most' (1 entry).
   0 | Most::~Most() [scalar deleting]
"""

RECORD = """
*** Dumping AST Record Layout
         0 | class Space::Thing
         0 |   class Base (primary base)
         0 |     (Base vftable pointer)
         8 |   struct std::atomic<_Bool> flag
         8 |     struct std::__atomic_base<_Bool, false> (base)
        16 |   class std::shared_ptr<class Thing> shared
        16 |     std::shared_ptr<class Thing>::element_type * __ptr_
        32 |   class Holder holder
        32 |     HANDLE handle_
        40 |   std::uint32_t[3] numbers
        56 |   class Guard guard
        56 |     class std::mutex mutex_
        56 |       std::__libcpp_mutex_t __m_
        64 |   enum Kind kind
        68 |   (vtordisp for vbase Root)
        72 |   class Root (virtual base)
        72 |     (Root vftable pointer)
           | [sizeof=80, align=8,
           |  nvsize=68, nvalign=8]

*** Dumping AST Record Layout
         0 | struct Plain
         0 |   std::int32_t number
         8 |   const char * text
           | [sizeof=16, align=8,
           |  nvsize=16, nvalign=8]
"""


class SlotsTest(unittest.TestCase):
    def test_operations_are_numbered_without_the_type_information(self):
        self.assertEqual(dumps.slots(TABLES, {"Most"}),
                         {"Most": {"Base": ["Most::~Most()", "int Middle::Get() const [pure]",
                                            "void Slots<7>::Unused(Slots<Last> *) [pure]"]}})

    def test_sources_may_repeat_a_table(self):
        found = dumps.slots(TABLES, {"Other"})
        self.assertEqual(dumps.slots(TABLES, {"Other"}, found), {"Other": {"Other": ["void Other::Run()"]}})

    def test_sources_may_not_differ_about_a_table(self):
        found = dumps.slots(TABLES, {"Other"})
        with self.assertRaisesRegex(dumps.DumpError, "Other is laid out in two ways"):
            dumps.slots(TABLES.replace("void Other::Run()", "int Other::Run()"), {"Other"}, found)


class RecordsTest(unittest.TestCase):
    def test_fields_are_known_up_to_the_first_whose_size_is_the_librarys(self):
        self.assertEqual(
            dumps.records(RECORD, {"Space::Thing"}),
            {"Space::Thing": [(0, "(base)", "Base"), (8, "flag", "std::atomic<bool>"),
                              (16, "shared", "std::shared_ptr<Thing>"), (32, "holder", "Holder"),
                              (40, "numbers", "std::uint32_t[3]"), (56, "guard", "Guard"), ("~", "kind", "Kind"),
                              ("~", "(virtual base)", "Root"), ("size", "~")]})

    def test_a_record_without_such_a_field_has_a_size(self):
        self.assertEqual(dumps.records(RECORD, {"Plain"}),
                         {"Plain": [(0, "number", "std::int32_t"), (8, "text", "const char *"), ("size", 16)]})

    def test_something_else_is_refused(self):
        with self.assertRaisesRegex(dumps.DumpError, "not a record's layout"):
            dumps.records("*** Dumping AST Record Layout\nnothing\n", {"Plain"})


class NamesTest(unittest.TestCase):
    def test_names_that_objects_export(self):
        self.assertEqual(dumps.exports('Directive(s):  /DEFAULTLIB:c++.lib /EXPORT:"?A@B@@QEAAXXZ"'
                                       ' /EXPORT:"??_7B@@6B@",DATA /EXPORT:Create /EXPORT:Data,DATA'),
                         {"?A@B@@QEAAXXZ", "??_7B@@6B@", "Create", "Data"})
