#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Breaks one agreement at a time between code, decisions and tests."""

import unittest

from scratch_tree import ScratchTree

ENTRIES = """# Decisions

Oddities that stay.

## D-001: The first

It happens so, and scripts rely on it.

Test: Heap.FailsTwice

## D-014: The second

It happens otherwise.

Test: Array.EndsEarly, Array.EndsLate
Test: `ArrayRow.HoldsFor`
"""

SOUND = {
    "docs/decisions.md": ENTRIES,
    "include/tavrin/Heap.h": "// D-001: it stays.\n",
    "src/containers/Array.cpp": "// D-014: and so does this; see D-001.\n",
    "tests/runtime/HeapTest.cpp": "TEST(Heap, FailsTwice)\n{\n}\n",
    "tests/containers/ArrayTest.cpp": "TEST_F(Array, EndsEarly)\nTYPED_TEST( Array,\n EndsLate )\n"
                                      "TEST_P(ArrayRow, HoldsFor)\n",
}


class CheckDecisions(unittest.TestCase):
    def check(self, **changes):
        with ScratchTree({**SOUND, **changes.get("files", {})}) as tree:
            return tree.run("check_decisions")

    def expect_problem(self, files, message):
        status, output = self.check(files=files)
        self.assertEqual(status, 1, output)
        self.assertIn(message, output)

    def expect_entry_problem(self, old, new, message):
        self.assertIn(old, ENTRIES)
        self.expect_problem({"docs/decisions.md": ENTRIES.replace(old, new)}, message)

    def test_sound_tree_passes(self):
        status, output = self.check()
        self.assertEqual(status, 0, output)
        self.assertIn("2 entries, 0 problems", output)

    def test_number_without_entry_is_reported_where_it_is_used(self):
        self.expect_problem({"src/text/String.cpp": "\n// D-030: odd.\n"},
                            "src/text/String.cpp:2: D-030 has no entry")
        self.expect_problem({"engine/Console.cpp": "// D-900: odd.\n"},
                            "engine/Console.cpp:1: D-900 has no entry")

    def test_entry_that_no_code_uses_is_reported(self):
        self.expect_problem({"src/containers/Array.cpp": "\n"}, "D-014 is used nowhere")

    def test_entry_without_test_is_reported(self):
        self.expect_entry_problem("Test: Heap.FailsTwice\n", "", "D-001 names no test")

    def test_test_that_does_not_exist_is_reported(self):
        self.expect_entry_problem("FailsTwice", "FailsThrice",
                                  "D-001 names no existing test: Heap.FailsThrice")
        self.expect_entry_problem("Array.EndsLate", "Array.EndsNever", "Array.EndsNever")
        self.expect_entry_problem("Heap.FailsTwice", "it is obvious", "it is obvious")

    def test_entry_without_reason_is_reported(self):
        self.expect_entry_problem("It happens otherwise.\n", "", "D-014 does not say")

    def test_order_and_uniqueness_are_kept(self):
        self.expect_entry_problem("D-001: The first", "D-015: The first", "D-014 stands out of")
        self.expect_entry_problem("D-014: The second", "D-001: The second", "a second entry")

    def test_malformed_heading_is_reported(self):
        self.expect_entry_problem("## D-014: The", "## D-14: The", "not of the form")
        self.expect_entry_problem("## D-014: The second", "## The second", "not of the form")

    def test_missing_list_fails_when_numbers_are_in_use(self):
        files = {name: text for name, text in SOUND.items() if not name.startswith("docs/")}
        with ScratchTree(files) as tree:
            status, output = tree.run("check_decisions")
        self.assertEqual(status, 1, output)


if __name__ == "__main__":
    unittest.main()
