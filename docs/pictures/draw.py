#!/usr/bin/env python3
"""Draws the pictures of docs/pictures: NAME.svg of NAME.dot, with Graphviz.

usage: draw.py [--check]

A picture keeps the checksums of its source and of itself, so --check can tell without Graphviz whether it is up to date: a picture
that was drawn by another version of Graphviz is as good.
"""
import hashlib
import re
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
MARK = re.compile(r"<!-- Drawn by draw\.py: source (\w+), picture (\w+)\. -->\n")


def checksum(text):
    return hashlib.sha256(text.encode()).hexdigest()[:16]


def draw(source):
    picture = subprocess.run(["dot", "-Tsvg", str(source)], check=True, capture_output=True, text=True).stdout
    picture = picture[picture.index("<svg"):]
    picture = re.sub(r"<!--.*?-->\n?", "", picture, flags=re.DOTALL)
    return f"<!-- Drawn by draw.py: source {checksum(source.read_text())}, picture {checksum(picture)}. -->\n" + picture


def fault_of(source):
    """What is wrong with the picture of a source; None if nothing is."""
    picture = source.with_suffix(".svg")
    if not picture.is_file():
        return f"{picture.name} is missing"
    text = picture.read_text()
    mark = MARK.match(text)
    if not mark:
        return f"{picture.name} was not drawn by draw.py"
    if mark.group(1) != checksum(source.read_text()):
        return f"{picture.name} is older than its source"
    if mark.group(2) != checksum(text[mark.end():]):
        return f"{picture.name} was changed by hand"
    return None


def main():
    sources = sorted(HERE.glob("*.dot"))
    if sys.argv[1:] != ["--check"]:
        for source in sources:
            source.with_suffix(".svg").write_text(draw(source))
        return 0
    faults = [fault for fault in map(fault_of, sources) if fault]
    faults += [f"{picture.name} has no source" for picture in sorted(HERE.glob("*.svg"))
               if not picture.with_suffix(".dot").is_file()]
    for fault in faults or ([] if sources else ["there are no pictures"]):
        print(fault)
    return 1 if faults or not sources else 0


if __name__ == "__main__":
    sys.exit(main())
