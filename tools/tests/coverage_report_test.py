#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Feeds summaries above and below the bounds to coverage_report."""

import json
import unittest

from scratch_tree import ScratchTree


def counts(count, covered):
    return {"count": count, "covered": covered}


SOUND = {
    "src/runtime/Heap.cpp": {"lines": counts(100, 97), "branches": counts(100, 95)},
    "src/text/String.cpp": {"lines": counts(100, 97), "branches": counts(20, 20)},
    "src/containers/SparseArray.cpp": {"lines": counts(100, 97), "branches": counts(40, 38)},
    "src/platform/posix/Clock.cpp": {"lines": counts(100, 97), "branches": counts(10, 0)},
    "include/tavrin/Heap.h": {"lines": counts(100, 0), "branches": counts(0, 0)},
}


class CoverageReport(unittest.TestCase):
    def report(self, **changes):
        with ScratchTree({}) as tree:
            root = tree.root.resolve()
            entries = [{"filename": str(root / name), "summary": summary}
                       for name, summary in {**SOUND, **changes}.items()]
            path = root / "summary.json"
            path.write_text(json.dumps({"data": [{"files": entries}]}), encoding="utf-8")
            return tree.run("coverage_report", path)

    def test_bounds_that_are_just_met_pass(self):
        status, output = self.report()
        self.assertEqual(status, 0, output)
        self.assertIn("lines of src: 97.00 % of 400, at least 97 % met", output)

    def test_lines_below_the_bound_fail(self):
        status, output = self.report(**{
            "src/units/Units.cpp": {"lines": counts(1, 0), "branches": counts(0, 0)}})
        self.assertEqual(status, 1)
        self.assertIn("lines of src: 96.76 % of 401, at least 97 % NOT MET", output)

    def test_branches_below_the_bound_fail(self):
        for name, area in (("src/runtime/HeapInline.h", "the heap"),
                           ("src/text/StringSearch.cpp", "String"),
                           ("src/containers/SimpleArray.cpp", "the containers")):
            status, output = self.report(**{
                name: {"lines": counts(0, 0), "branches": counts(10, 4)}})
            self.assertEqual(status, 1)
            self.assertRegex(output, rf"branches of {area}: .* NOT MET")

    def test_area_without_branches_fails(self):
        status, output = self.report(**{
            "src/text/String.cpp": {"lines": counts(100, 100), "branches": counts(0, 0)}})
        self.assertEqual(status, 1)
        self.assertRegex(output, "branches of String: .* NOT MET")


if __name__ == "__main__":
    unittest.main()
