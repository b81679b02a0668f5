#!/usr/bin/env python3
"""Checks that every link inside the site has its target.

usage: check_links.py DIRECTORY

Looks at links, images, scripts and style sheets of all pages: the file has to be there, and the anchor in it. Links to other places
are not followed; there are none but those that are listed.
"""
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit

ELSEWHERE = ("https://www.doxygen.org/",)


class Page(HTMLParser):
    def __init__(self, path):
        super().__init__(convert_charrefs=True)
        self.links, self.anchors = [], set()
        self.feed(path.read_text())

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name == "id" or (tag == "a" and name == "name"):
                self.anchors.add(value)
            elif name in ("href", "src", "data") and value:
                self.links.append((self.getpos()[0], value))


def faults_of(pages):
    for path, page in pages.items():
        for line, link in page.links:
            parts = urlsplit(link)
            if parts.scheme == "javascript" or link.startswith(ELSEWHERE):
                continue
            if parts.scheme or parts.netloc:
                yield path, line, link, "leads to another place"
                continue
            target = (path.parent / unquote(parts.path)).resolve() if parts.path else path
            if not target.is_file():
                yield path, line, link, "has no target"
            elif parts.fragment and target in pages and unquote(parts.fragment) not in pages[target].anchors:
                yield path, line, link, "has no anchor"


def main():
    root = Path(sys.argv[1]).resolve()
    pages = {path: Page(path) for path in sorted(root.rglob("*.html"))}
    faults = list(faults_of(pages))
    for path, line, link, reason in faults:
        print(f"{path.relative_to(root)}:{line}: {link} {reason}")
    count = sum(len(page.links) for page in pages.values())
    print(f"{len(pages)} pages, {count} links, {len(faults)} faults")
    return 1 if faults or len(pages) < 100 or count < 1000 else 0


if __name__ == "__main__":
    sys.exit(main())
