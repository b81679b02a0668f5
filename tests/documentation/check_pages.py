#!/usr/bin/env python3
"""Checks that the pages show code that is compiled, that their links lead somewhere, and that headers tell of threads.

usage: check_pages.py SOURCE_DIR

Each fenced C++ block of a page in docs/, and each example in a header, has to be one of the sections of the programs in
tests/documentation/, which stand between lines "// [[name]]" and "// [[end]]", without the indentation that all lines of a section
share. Blocks of components.md may also be lines of the host example. The README has one block, which is compiled by itself. A
section that nothing shows is a fault as well.

Each link inside the tree, also of the pages at its root, has to name a file or directory, and an anchor one of its headings.

Each public header that declares something says at its top which threads may use it.
"""
import re
import sys
import textwrap
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.append(str(Path(__file__).resolve().parents[2] / "docs/site"))
from filter import LINK, slug  # noqa: E402

BLOCK = re.compile(r"^```(?:cpp|c\+\+|C\+\+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
EXAMPLE = re.compile(r"^ */// @code\n(.*?)^ */// @endcode$", re.MULTILINE | re.DOTALL)
SECTION = re.compile(r"^[ \t]*// \[\[(?!end\]\])([^\]]+)\]\]\n(.*?)^[ \t]*// \[\[end\]\]$", re.MULTILINE | re.DOTALL)


def sections_of(text):
    """Yields name and code of each section."""
    for match in SECTION.finditer(text):
        yield match.group(1), textwrap.dedent(match.group(2))


def blocks_of(text):
    """Yields line number and code of each fenced C++ block."""
    for match in BLOCK.finditer(text):
        yield text.count("\n", 0, match.start()) + 1, match.group(1)


def examples_of(text):
    """Yields line number and code of each example in the comments of a header."""
    for match in EXAMPLE.finditer(text):
        yield text.count("\n", 0, match.start()) + 1, re.sub(r"^ */// ?", "", match.group(1), flags=re.MULTILINE)


def prose_of(text):
    """The text without its fenced blocks, and without code in its lines."""
    text = re.sub(r"^```.*?^```$", "", text, flags=re.MULTILINE | re.DOTALL)
    return re.sub(r"`[^`\n]*`", "code", text)


def anchors_of(text):
    headings = re.findall(r"^#+ (.*)$", re.sub(r"^```.*?^```$", "", text, flags=re.MULTILINE | re.DOTALL), re.MULTILINE)
    return {slug(heading) for heading in headings}


def check_links(root):
    """Gives the faults, and the number of links that were looked at."""
    faults, count = [], 0
    for page in sorted({*root.glob("*.md"), *root.glob("*/README.md"), *(root / "docs").rglob("*.md")}):
        for _, _, link in LINK.findall(prose_of(page.read_text())):
            if re.match(r"[a-z]+:", link):
                continue
            count += 1
            name, _, anchor = link.partition("#")
            target = page.parent / name if name else page
            if not target.exists():
                faults.append(f"{page.relative_to(root)}: {link} does not exist")
            elif anchor and (target.is_dir() or anchor not in anchors_of(target.read_text())):
                faults.append(f"{page.relative_to(root)}: {link} has no such heading")
    return faults, count


def check_code(root):
    """Gives the faults, and the number of blocks that were looked at."""
    faults, count = [], 0
    unseen = {}
    for program in sorted((root / "tests/documentation").glob("*.cpp")):
        text = program.read_text()
        found = list(sections_of(text))
        if len(found) * 2 != text.count("// [["):
            faults.append(f"{program.relative_to(root)}: a section has no end, or an end no section")
        for name, code in found:
            unseen[code] = f"{program.relative_to(root)}: section {name}"
    known = set(unseen)
    example = "\n".join(path.read_text() for path in sorted((root / "examples/host").rglob("*.[ch]*")))

    shown = [(page, blocks_of(page.read_text())) for page in sorted((root / "docs").glob("*.md"))]
    shown += [(header, examples_of(header.read_text())) for header in sorted((root / "include").rglob("*.h"))]
    for page, blocks in shown:
        for line, code in blocks:
            count += 1
            unseen.pop(code, None)
            if code not in known and not (page.name == "components.md" and code in example):
                faults.append(f"{page.relative_to(root)}:{line}: this code is no section of a program in tests/documentation")
    if len(list(blocks_of((root / "README.md").read_text()))) != 1:
        faults.append("README.md: one block is compiled, and there are more or none")
    faults += [f"{section} is shown by no page" for section in unseen.values()]
    return faults, count


def check_headers(root):
    """Gives the public headers that do not say at their top which threads may use what they declare."""
    for header in sorted((root / "include/ORVA").rglob("*.h")):
        text = header.read_text()
        head = text.partition("#pragma once")[0]
        if re.search(r"^namespace|^struct|^class", text, re.MULTILINE) and "hread-safety" not in head:
            yield f"{header.relative_to(root)}: nothing is said at the top about thread-safety"


def main():
    root = Path(sys.argv[1]).resolve()
    faults, blocks = check_code(root)
    wrong_links, links = check_links(root)
    faults += wrong_links
    faults += check_headers(root)
    if blocks == 0 or links == 0:
        faults.append("there are no blocks, or no links")
    for fault in faults:
        print(fault)
    print(f"{blocks} blocks, {links} links, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
