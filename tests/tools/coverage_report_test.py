#!/usr/bin/env python3
"""Tests of tools/dev/coverage_report.py: that it fails where it should, above all."""

import contextlib
import io
import json
import os
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools" / "dev"))

import coverage_report

SOURCE = "xplat/source/ORVA/a.cpp"


def line(number, count, branches=()):
    return {"line_number": number, "count": count, "gcovr/noncode": False,
            "branches": [{"count": count} for count in branches]}


class CoverageReport(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(directory.name)
        pathlib.Path(SOURCE).parent.mkdir(parents=True)

    def report(self, source, lines, least_lines=0, least_branches=0, path=SOURCE):
        """The result and the output of a report on one file."""
        pathlib.Path(SOURCE).write_text(source, encoding="utf-8")
        files = [{"file": path, "lines": lines}] if lines is not None else []
        pathlib.Path("counted.json").write_text(json.dumps({"files": files}), encoding="utf-8")
        output = io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
            result = coverage_report.main("counted.json", least_lines, least_branches)
        return result, output.getvalue()

    def test_fails_below_the_least_share_of_lines(self):
        lines = [line(1, 3, [1]), line(2, 0), line(3, 1), line(4, 1)]
        self.assertEqual(self.report("\n" * 4, lines, 75)[0], 0)
        self.assertEqual(self.report("\n" * 4, lines, 75.1)[0], 1)

    def test_fails_below_the_least_share_of_branches(self):
        lines = [line(1, 3, [1, 0, 5, 6])]
        self.assertEqual(self.report("\n", lines, 100, 75)[0], 0)
        self.assertEqual(self.report("\n", lines, 100, 75.1)[0], 1)

    def test_fails_without_anything_counted(self):
        self.assertEqual(self.report("", None)[0], 1)

    def test_fails_if_only_headers_are_counted(self):
        self.assertEqual(self.report("", [line(1, 1, [1])], path="include/ORVA/A.h")[0], 1)

    def test_lists_lines_that_do_not_say_why_they_are_not_run(self):
        output = self.report("first();\nsecond();\n", [line(1, 1), line(2, 0)])[1]
        self.assertIn(f"  {SOURCE}:2: second();\n", output)
        self.assertIn("1 do not", output)

    def test_leaves_out_lines_that_say_why(self):
        for source in ("first();\nsecond(); // Not reached: never.\n", "first();\n// Not reached: never.\nsecond();\n",
                       "first();\n// Not reached: never.\ncatch (...)\n{\nsecond();\n"):
            count = source.count("\n")
            output = self.report(source, [line(1, 1), line(count, 0)])[1]
            self.assertIn("1 lines of xplat are not run, and each says why", output)

    def test_a_reason_ends_at_the_next_line_that_was_run(self):
        output = self.report("// Not reached: never.\nfirst();\nsecond();\n", [line(2, 1), line(3, 0)])[1]
        self.assertIn(f"  {SOURCE}:3: second();\n", output)

    def test_a_comment_without_a_reason_is_none(self):
        output = self.report("first(); // Not reached:\n", [line(1, 0)])[1]
        self.assertIn("1 do not", output)

    def test_a_line_with_a_reason_counts_as_not_run(self):
        self.assertEqual(self.report("first(); // Not reached: never.\n", [line(1, 0, [1])], 1)[0], 1)


if __name__ == "__main__":
    unittest.main()
