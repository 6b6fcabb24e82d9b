#!/usr/bin/env python3
"""Prints libzelfdb(3), made from the comments of the public header.

usage: make-library-manual.py HEADER VERSION > docs/libzelfdb.3
"""
import re
import sys


def escaped(text):
    """Text as the formatter must get it."""
    text = text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq")
    return "\\&" + text if text.startswith(".") else text


def comment_lines(comment):
    """The lines of a comment without its stars."""
    body = re.sub(r"^/\*+|\*/$", "", comment.strip())
    lines = [re.sub(r"^\s*\*( |$)", "", line).rstrip() for line in body.split("\n")]
    return [line.strip() if i == 0 else line for i, line in enumerate(lines)]


def paragraphs(lines):
    """Text that belongs together, in one line; what is indented goes on the line before."""
    found = []
    for line in lines:
        if not line.strip():
            found.append("")
        elif not found or found[-1] == "":
            found.append(line.strip())
        else:
            found[-1] += " " + line.strip()
    return [text for text in found if text]


class Page:
    def __init__(self):
        self.lines = []

    def put(self, *lines):
        self.lines += lines

    def section(self, title):
        self.put('.SH "%s"' % title.upper())

    def subsection(self, title):
        self.put('.SS "%s"' % title)

    def paragraph(self, text):
        self.put(".PP", escaped(text))

    def item(self, term, text):
        self.put(".TP", "\\fB%s\\fR" % escaped(term), escaped(text or "\\&") if text else "\\&")

    def prototype(self, text):
        self.put(".PP", ".nf", "\\fB%s\\fR" % escaped(text.strip()), ".fi")


def print_text(page, lines):
    """A comment with its tags: sentences as paragraphs, @param and @return as items."""
    text = "\n".join(lines)
    parts = re.split(r"(?m)(?:^|(?<=\s))@(param|return)\s", text)
    for paragraph in paragraphs(parts[0].split("\n")):
        page.paragraph(paragraph)
    for tag, body in zip(parts[1::2], parts[2::2]):
        blocks = re.split(r"\n(?=\S)", body.strip("\n"))
        first = " ".join(blocks[0].split())
        if tag == "return":
            page.item("Returns", first)
        else:
            names, _, rest = re.match(r"((?:\w+,\s*)*\w+)(\s+|$)(.*)", first, re.S).groups()
            page.item(names, rest)
        # What follows at the left margin is about the whole operation again.
        for block in blocks[1:]:
            page.paragraph(" ".join(block.split()))


def print_overview(page, comment):
    """The header's own comment: its paragraphs, and rules as items."""
    lines = comment_lines(comment)
    for block in "\n".join(lines).strip().split("\n\n"):
        head, *rest = block.split("\n")
        title = re.match(r"(Results|Descriptors|Locks|Privilege|Identifiers)\. (.*)", head)
        if title:
            page.section(title.group(1))
            head = title.group(2)
        text = []
        for line in [head] + rest:
            rule = re.match(r"  (on failure|preset|final|none)\s+(.*)", line)
            if rule:
                if text:
                    page.paragraph(" ".join(text))
                text = []
                page.item(rule.group(1), rule.group(2))
            elif line.startswith("  ") and page.lines[-1] != ".PP":
                page.lines[-1] += " " + escaped(line.strip())
            else:
                text.append(line.strip())
        if text:
            page.paragraph(" ".join(text))


def print_codes(page, header):
    page.section("Detail codes")
    body = re.search(r"enum zelfdb_code \{(.*?)\};", header, re.S).group(1)
    for name, number, text in re.findall(r"(ZELFDB_\w+) = (\d+),?\s*(?:/\* (.*?) \*/)?", body):
        page.item("%s  %s" % (number, name), (text or "done") + ".")


def print_operations(page, header):
    """Every operation in the header's order, under the header's own headings."""
    token = re.compile(
        r"/\* ==== (?P<section>.*?) =+ \*/"
        r"|/\* ---- (?P<group>.*?) ---- \*/"
        r"|(?P<comment>/\*.*?\*/)"
        r"|(?P<operation>ZELFDB_API .*?;)",
        re.S,
    )
    start = header.index("/* ==== Set-up and descriptors")
    pending = None
    for match in token.finditer(header, start):
        if match["section"]:
            page.section(match["section"])
        elif match["group"]:
            page.subsection(match["group"].capitalize())
        elif match["comment"]:
            lines = comment_lines(match["comment"])
            if match["comment"].startswith("/**"):
                pending = lines
            else:
                print_text(page, lines)
        else:
            text = " ".join(match["operation"].replace("ZELFDB_API", "").split())
            page.subsection(re.search(r"(\w+)\(", text).group(1))
            page.prototype(text)
            if pending is None:
                sys.exit("an operation without a comment: " + text)
            print_text(page, pending)
            pending = None


def main():
    path, version = sys.argv[1:]
    with open(path, encoding="utf-8") as file:
        header = file.read()
    page = Page()
    page.put('.TH LIBZELFDB 3 "" "zelfdb %s" "Library Functions"' % version)
    page.put('.\\" Made by tools/dev/make-library-manual.py.')
    page.section("Name")
    page.put("libzelfdb \\- bridge configuration and forwarding database of a switch in shared memory")
    page.section("Synopsis")
    page.put(".nf", ".B #include <zelfdb/zelfdb.h>", ".fi", ".PP", "Link with \\fI\\-lzelfdb\\fR.")
    page.section("Description")
    print_overview(page, re.match(r"/\*.*?\*/", header, re.S).group(0))
    print_operations(page, header)
    print_codes(page, header)
    page.section("See also")
    page.put(".BR zelfctl (1),", ".BR zelfctl\\-commands (7)")
    print("\n".join(page.lines))


main()
