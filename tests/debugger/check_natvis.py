#!/usr/bin/env python3
"""Checks tools/orva.natvis as far as that goes without a debugger that takes it.

usage: check_natvis.py SOURCES

It has to be well-formed, and each class and field that it names has to be in a public header.
"""
import re
import sys
import xml.etree.ElementTree as tree
from pathlib import Path

# Fields of the locks below the library, and words of the expressions.
NOT_OURS = {"is_locked", "owner", "count", "state", "exclusive", "shared_count", "sizeof", "unsigned", "char", "char16_t",
            "wchar_t", "long", "void"}
# A view shows these with the format behind the comma.
FORMATS = re.compile(r",\s*(?:s8|s32|su|s|x|nvoXb)\b")


def expressions(view):
    """The expressions of a view's elements, with those in the braces of its lines."""
    for element in view.iter():
        condition = element.get("Condition")
        if condition:
            yield condition
        if element.tag == "DisplayString":
            yield from re.findall(r"\{([^}]*)\}", element.text or "")
        elif element.text and element.text.strip():
            yield element.text


def main():
    root = Path(sys.argv[1])
    known = set(re.findall(r"\w+", "".join(path.read_text() for path in (root / "include").rglob("*.h"))))
    views = [element for element in tree.parse(root / "tools/orva.natvis").getroot() if element.tag.endswith("Type")]
    faults = []
    for view in views:
        for element in view.iter():
            element.tag = element.tag.rpartition("}")[2]
        names = [view.get("Name")] + [each.get("Name") for each in view.iter("AlternativeType")]
        words = re.findall(r"\b[A-Za-z_]\w+", " ".join(name.partition("<")[0] for name in names))
        for expression in expressions(view):
            words += re.findall(r"(?<![$\w])[A-Za-z_]\w+", FORMATS.sub("", expression))
        faults += ["%s: %s is in no public header" % (names[0], word) for word in words
                   if word not in known and word not in NOT_OURS]
    for fault in faults:
        print(fault)
    print("%d views, %d faults" % (len(views), len(faults)))
    return 1 if faults or len(views) < 15 else 0


if __name__ == "__main__":
    sys.exit(main())
