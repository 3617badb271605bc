#!/usr/bin/env python3
"""Prints a page of docs/ as doxygen should read it: what is written for a reader of the repository fits the site too.

Usage: pages.py PAGE               what doxygen calls for each page
       pages.py --check SITE       names the links of a built site that lead nowhere
"""
import html
import html.parser
import os
import re
import sys

EXAMPLE = re.compile(r"\.\./examples/(\d\d-[\w-]+)/main\.cpp$")
LINK = re.compile(r"\[([^\]]+)\]\(([^)\s]+)\)")
CODE = re.compile(r"(?<!`)(`+)(?!`)(.+?)(?<!`)\1(?!`)")


def label(page, heading):
    words = re.sub(r"[^\w\s-]", "", heading.lower()).split()
    return "-".join([os.path.splitext(os.path.basename(page))[0], *words])


def link(page, match):
    """A link to a page or a place in one, by name; what the site does not have, by its text."""
    text, target = match.groups()
    if "://" in target:
        return match.group(0)
    path, _, place = target.partition("#")
    example = EXAMPLE.match(path)
    if example:
        return f"[{text}](@ref {label('examples', example.group(1))})"
    beside = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
    if not beside.endswith(".md") or not os.path.isfile(beside) or not beside.startswith("docs"):
        return text
    return f"[{text}](@ref {label(beside, place.replace('-', ' '))})" if place else match.group(0)


def code(match):
    """A piece of code, as doxygen understands it: it takes a quote for the end, and shows what escapes a bar."""
    text = match.group(2)
    if "\\|" in text:
        shown = html.escape(text, quote=False).replace("\\|", "&#124;")
        return f"\\htmlonly<code>{shown}</code>\\endhtmlonly"
    return f"``{text}``" if "'" in text else match.group(0)


def example_of(line):
    """The code and the output of the example that a line of the page of examples is about."""
    match = re.match(r"\[[^\]]*\]\(\.\./examples/([\w-]+)/main\.cpp\)$", line)
    if not match:
        return None
    return f"\\include {match.group(1)}/main.cpp\n\nIt prints\n\n\\verbinclude {match.group(1)}/expected.txt"


def page(path):
    in_code = False
    with open(path, encoding="utf-8") as file:
        lines = file.read().split("\n")
    for number, line in enumerate(lines):
        if line.startswith("```"):
            in_code = not in_code
        if in_code or line.startswith("```"):
            print(line)
            continue
        if path.endswith("docs/examples.md") and example_of(line):
            print(example_of(line))
            continue
        if line.startswith("## ") or line.startswith("### "):
            line += " {#" + label(path, line.lstrip("# ")) + "}"
        line = LINK.sub(lambda match: link(os.path.relpath(path), match), line)
        print(CODE.sub(code, line))


class Site(html.parser.HTMLParser):
    """The places of a page, and where its links lead."""

    def __init__(self, path):
        super().__init__()
        self.places, self.links = set(), []
        with open(path, encoding="utf-8") as file:
            self.feed(file.read())

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("id", "name"):
                self.places.add(value)
            elif name in ("href", "src") and value and "://" not in value and not value.startswith(("javascript", "data:")):
                self.links.append(value)


def check(site):
    pages = {name: Site(os.path.join(site, name)) for name in sorted(os.listdir(site)) if name.endswith(".html")}
    wrong = []
    for name, found in pages.items():
        for target in found.links:
            path, _, place = target.partition("#")
            path = path or name
            if not os.path.exists(os.path.join(site, path)):
                wrong.append(f"{name}: {target} is not there")
            elif place and path in pages and place not in pages[path].places and place != "nested-classes":
                # (doxygen itself links to the list of nested classes when they are all private)
                wrong.append(f"{name}: {path} has no place {place}")
    print("\n".join(wrong) if wrong else f"every link of {len(pages)} pages leads somewhere")
    return 1 if wrong or not pages else 0


if __name__ == "__main__":
    if sys.argv[1] == "--check":
        sys.exit(check(sys.argv[2]))
    page(sys.argv[1])
