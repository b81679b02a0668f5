#!/usr/bin/env python3
"""Tells what gcovr counted: coverage_report.py JSON LINES BRANCHES

Prints a table of the folders, and the lines of xplat/ that no test runs and that do not say why. Fails if less than
LINES percent of the lines or BRANCHES percent of the branches of xplat/ were run.
"""

import collections
import json
import pathlib
import re
import sys

REASON = re.compile(r"//\s*Not reached: \S")


class Figures:
    """Lines and branches: how many there are, and how many of them were run."""

    def __init__(self):
        self.lines = self.lines_run = self.branches = self.branches_run = 0

    def add(self, line):
        self.lines += 1
        self.lines_run += line["count"] > 0
        self.branches += len(line["branches"])
        self.branches_run += sum(branch["count"] > 0 for branch in line["branches"])

    def __iadd__(self, other):
        for name, value in vars(other).items():
            setattr(self, name, getattr(self, name) + value)
        return self

    def text(self):
        return (f"{self.lines_run:6}/{self.lines:<6}{percent(self.lines_run, self.lines):6.1f}%"
                f"{self.branches_run:8}/{self.branches:<6}{percent(self.branches_run, self.branches):6.1f}%")


def percent(part, whole):
    return 100.0 * part / whole if whole else 100.0


def folder_of(path):
    """xplat/source/ORVA/BaseOS/files/x.cpp is of xplat/source/ORVA/BaseOS/files."""
    return str(pathlib.PurePath(path).parent)


def unexplained(path, lines):
    """The lines that were not run, without those that a comment "Not reached: ..." explains: on the line, or above it
    with no line between them that was run."""
    source = pathlib.Path(path).read_text(encoding="utf-8").splitlines()
    counts = {line["line_number"]: line["count"] for line in lines}
    result = []
    explained = False
    for number, text in enumerate(source, 1):
        if counts.get(number, 0) > 0:
            explained = False
        if REASON.search(text):
            explained = True
        if counts.get(number) == 0 and not explained:
            result.append((number, text.strip()))
    return result


def main(result, least_lines, least_branches):
    folders = collections.defaultdict(Figures)
    totals = {"xplat": Figures(), "include": Figures()}
    gaps = []
    for file in json.loads(pathlib.Path(result).read_text(encoding="utf-8"))["files"]:
        path = file["file"]
        lines = [line for line in file["lines"] if not line["gcovr/noncode"]]
        figures = Figures()
        for line in lines:
            figures.add(line)
        folders[folder_of(path)] += figures
        top = pathlib.PurePath(path).parts[0]
        totals[top] += figures
        if top == "xplat":
            gaps += [(path, *gap) for gap in unexplained(path, lines)]

    print(f"{'folder':56}{'lines':>13}{'branches':>22}")
    for folder in sorted(folders):
        print(f"{folder:56}{folders[folder].text()}")
    print(f"{'xplat: the sources':56}{totals['xplat'].text()}")
    print(f"{'include: inline functions and templates':56}{totals['include'].text()}")
    print("Branches that only the compiler makes are left out: the ways of exceptions, and those on lines without code.\n"
          "Where gcov does not mark them, as at vector instructions, they count as not run.")
    not_run = totals["xplat"].lines - totals["xplat"].lines_run
    print(f"{not_run} lines of xplat are not run; {not_run - len(gaps)} of them say why, {len(gaps)} do not:"
          if gaps else f"{not_run} lines of xplat are not run, and each says why.")
    for path, number, text in gaps:
        print(f"  {path}:{number}: {text}")

    sources = totals["xplat"]
    failed = False
    for name, part, whole, least in (("lines", sources.lines_run, sources.lines, least_lines),
                                     ("branches", sources.branches_run, sources.branches, least_branches)):
        if whole == 0 or percent(part, whole) < least:
            print(f"dev: {percent(part, whole) if whole else 0:.1f}% of the {name} of xplat are run, "
                  f"and at least {least:g}% must be", file=sys.stderr)
            failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], float(sys.argv[2]), float(sys.argv[3])))
