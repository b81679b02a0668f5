#!/usr/bin/env python3
"""What Doxygen reads of a page or a header, on standard output.

usage: filter.py FILE

The pages are written to be read as they are on a code host. For the site, headings get labels, links between pages go to the
pages of the site, links to what the site does not have become their text, and pictures become images of the site. In pages and
headers, backslashes are kept from being taken for commands.

A header tells at its top what holds for all of it: states, results, thread-safety, ownership. On the site a class has a page of its
own, so that it gets this too, behind its own description; what stands at namespace level besides is told its header. So the lines
that Doxygen tells in its warnings are not always those of the header.
"""
import html
import itertools
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
MAIN = ROOT / "docs/README.md"
LINK = re.compile(r"(!?)\[((?:[^\[\]`]|`[^`]*`)*)\]\(([^()\s]+)\)")
CODE = re.compile(r"(`+)(.+?)\1(?!`)")


def slug(heading):
    """The anchor that code hosts give to a heading."""
    text = re.sub(r"[^\w\- ]", "", heading.replace("`", "").strip().lower())
    return text.replace(" ", "-")


def label(page):
    return "page_" + page.stem.lower().replace("-", "_")


def is_of_the_site(path):
    return path.suffix == ".md" and path.is_file() and (path.parent == MAIN.parent or path.name in
                                                       ("SECURITY.md", "CONTRIBUTING.md", "CHANGELOG.md"))


def target_of(page, link):
    """Where a link goes on the site; None if the site does not have it."""
    if re.match(r"[a-z]+://", link):
        return link
    name, _, anchor = link.partition("#")
    to = (page.parent / name).resolve() if name else page
    if to == ROOT / "README.md":
        return "index.html"
    if not is_of_the_site(to):
        return None
    anchor = "#" + anchored(to, anchor) if anchor else ""
    return ("index.html" if to == MAIN else label(to) + ".html") + anchor


def anchored(page, anchor):
    return label(page) + "_" + anchor.replace("-", "_")


def as_code(text):
    """Code in which Doxygen sees no commands."""
    return "<code>" + html.escape(text).replace("\\", "\\\\") + "</code>"


def as_text(text):
    """Text whose backslashes Doxygen shows, which it does not between quotation marks."""
    quoted = re.sub(r'"([^"]*\\[^"]*)"', r"&quot;\1&quot;", text)
    return quoted.replace("\\", "\\\\")


def plain(line):
    """A line in which no backslash begins a command, in code or beside it."""
    if "\\" not in line:
        return line
    out, end = "", 0
    for match in CODE.finditer(line):
        out += as_text(line[end:match.start()])
        out += as_code(match.group(2)) if "\\" in match.group(2) else match.group(0)
        end = match.end()
    return out + as_text(line[end:])


def code_in_links(text):
    return re.sub(r"`([^`]*)`", lambda match: as_code(match.group(1)), text)


class Page:
    def __init__(self, path):
        self.path = path

    def link(self, match):
        picture, text, link = match.groups()
        if picture:
            return f'<img class="picture" src="{Path(link).name}" alt="{html.escape(text)}"/>'
        target = target_of(self.path, link)
        if target is None:
            return text
        return f'<a href="{target}">{code_in_links(text)}</a>'

    def heading(self, marks, text):
        if len(marks) == 1:
            return f"# {text} {{#{'mainpage' if self.path == MAIN else label(self.path)}}}"
        return f"{marks} {text} {{#{anchored(self.path, slug(text))}}}"

    def lines(self):
        fenced = False
        for line in self.path.read_text().splitlines():
            if line.startswith("```"):
                fenced = not fenced
            elif not fenced:
                heading = re.match(r"(#+) (.*)$", line)
                if heading:
                    line = self.heading(*heading.groups())
                else:
                    line = LINK.sub(self.link, plain(line))
            yield line


def lines_without_commands(path):
    example = False
    for line in path.read_text().splitlines():
        if "@code" in line or "@endcode" in line:
            example = "@code" in line
        code, mark, comment = line.partition("///")
        yield line if example else code + mark + plain(comment)


def is_comment(line):
    return line.startswith("///")


def what_holds_for_all(lines):
    """The comment of a header without its purpose, which is the first paragraph."""
    comment = list(itertools.takewhile(is_comment, lines))
    return comment[comment.index("///"):] if "///" in comment else []


def header_lines(path):
    """The lines of a header. Each comment of something at namespace level goes on with what holds for all."""
    lines = list(lines_without_commands(path))
    name = path.relative_to(ROOT / "include").as_posix() if ROOT / "include" in path.parents else path.name
    holds = what_holds_for_all(lines)
    for at, line in enumerate(lines):
        yield line
        ends_comment = is_comment(line) and at + 1 < len(lines) and not is_comment(lines[at + 1])
        if not ends_comment or re.match(r"///( @[{}]|<)", line):
            continue
        declared = next((each for each in lines[at + 1:] if not each.startswith("template <")), "")
        if re.match(r"(class|struct) [^;]*$", declared) and holds:
            yield from ("///", f"/// **All of {name}**", *holds)
        elif re.match(r"(ORVA_API|extern ORVA_API|inline|constexpr|enum|using|class|struct)\b", declared):
            yield from ("///", f"/// Header: {name}")


def main():
    path = Path(sys.argv[1]).resolve()
    lines = Page(path).lines() if path.suffix == ".md" else header_lines(path)
    print("\n".join(lines))


if __name__ == "__main__":
    main()
