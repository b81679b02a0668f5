#!/usr/bin/env python3
"""The checks of the documentation find what they are there for.

usage: checks_test.py SOURCE_DIR
"""
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(sys.argv.pop(1)).resolve()


def run(*command):
    return subprocess.run([sys.executable, "-B", *map(str, command)], capture_output=True, text=True)


class Checks(unittest.TestCase):
    def setUp(self):
        self.place = tempfile.TemporaryDirectory()
        self.root = Path(self.place.name)
        self.stand_in(SOURCE, self.root, {"docs", "tests", "build", ".git"})
        (self.root / "tests").mkdir()
        self.stand_in(SOURCE / "tests", self.root / "tests", {"documentation"})
        for directory in ("docs", "tests/documentation"):
            shutil.copytree(SOURCE / directory, self.root / directory)

    @staticmethod
    def stand_in(source, place, copies):
        """Links to all that a test does not change."""
        for entry in source.iterdir():
            if entry.name not in copies:
                (place / entry.name).symlink_to(entry)

    def tearDown(self):
        self.place.cleanup()

    def change(self, name, old, new):
        text = (self.root / name).read_text()
        self.assertIn(old, text)
        (self.root / name).write_text(text.replace(old, new, 1))

    def expect(self, fault, *command):
        result = run(*command)
        self.assertIn(fault, result.stdout + result.stderr)
        self.assertEqual(result.returncode, 1 if fault else 0)

    def pages(self, fault):
        self.expect(fault, SOURCE / "tests/documentation/check_pages.py", self.root)

    def pictures(self, fault):
        self.expect(fault, self.root / "docs/pictures/draw.py", "--check")

    def test_tree_as_it_is_has_no_fault(self):
        self.pages("")
        self.pictures("")

    def test_code_that_was_changed_in_a_page(self):
        self.change("docs/memory-and-handles.md", "bytes.Alloc(64)", "bytes.Alloc(65)")
        self.pages("this code is no section")

    def test_code_that_was_changed_in_the_program(self):
        self.change("tests/documentation/numerics_test.cpp", "30000, 1001", "24000, 1001")
        self.pages("this code is no section")

    def test_example_of_a_header_that_is_not_compiled(self):
        (self.root / "include").unlink()
        shutil.copytree(SOURCE / "include", self.root / "include")
        self.change("include/ORVA/Files/DirectoryEnumerator.h", "size += entry", "size -= entry")
        self.pages("DirectoryEnumerator.h:4: this code is no section")

    def test_header_that_says_nothing_about_threads(self):
        (self.root / "include").unlink()
        shutil.copytree(SOURCE / "include", self.root / "include")
        self.change("include/ORVA/Core/Types.h", "/// Thread-safety: ", "/// Note: ")
        self.pages("include/ORVA/Core/Types.h: nothing is said at the top about thread-safety")

    def test_section_that_no_page_shows(self):
        self.change("tests/documentation/numerics_test.cpp", "// [[rational]]", "// [[empty]]\n// [[end]]\n// [[rational]]")
        self.pages("section empty is shown by no page")

    def test_section_without_an_end(self):
        self.change("tests/documentation/numerics_test.cpp", "// [[end]]", "")
        self.pages("a section has no end")

    def test_link_to_nothing(self):
        self.change("docs/numerics.md", "(random.md)", "(randomness.md)")
        self.pages("randomness.md does not exist")

    def test_anchor_without_a_heading(self):
        self.change("docs/numerics.md", "(#checks)", "(#cheques)")
        self.pages("#cheques has no such heading")

    def test_picture_older_than_its_source(self):
        self.change("docs/pictures/layers.dot", "fontsize=12", "fontsize=13")
        self.pictures("layers.svg is older than its source")

    def test_picture_changed_by_hand(self):
        self.change("docs/pictures/layers.svg", "Memory", "memory")
        self.pictures("layers.svg was changed by hand")

    def test_picture_that_is_missing(self):
        (self.root / "docs/pictures/locks.svg").unlink()
        self.pictures("locks.svg is missing")


class Links(unittest.TestCase):
    def test_broken_links_of_a_site(self):
        with tempfile.TemporaryDirectory() as place:
            (Path(place) / "a.html").write_text('<a id="x"></a><a href="b.html">b</a><a href="#x">x</a><a href="#y">y</a>'
                                                '<img src="https://example.org/p.png">')
            result = run(SOURCE / "tools/docs/check_links.py", place)
        self.assertEqual(result.returncode, 1)
        self.assertIn("a.html:1: b.html has no target", result.stdout)
        self.assertIn("a.html:1: #y has no anchor", result.stdout)
        self.assertIn("a.html:1: https://example.org/p.png leads to another place", result.stdout)
        self.assertIn("3 faults", result.stdout)


if __name__ == "__main__":
    unittest.main()
