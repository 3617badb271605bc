#!/usr/bin/env python3
"""Makes the pages of docs/, which are written for a reader of the repository, into a book on the site.

Usage: pages.py PAGE               prints a page as doxygen should read it; doxygen calls this for each page
       pages.py --layout FILE      writes doxygen's layout: the pages in reading order, then the reference
       pages.py --check SITE       prints the broken links of a built site
"""
import glob
import html
import html.parser
import os
import re
import sys
from xml.sax.saxutils import quoteattr

# The reading order. Decisions follow, under one entry.
ORDER = ["overview", "getting-started", "examples", "host", "host-threads", "contexts", "expressions", "views", "property-services",
<<<<<<< HEAD
         "embedding", "when-an-expression-does-not-update", "explanations", "commands", "debugging", "guarantees", "performance", "architecture", "testing", "licences"]
=======
         "embedding", "when-an-expression-does-not-update", "explanations", "commands", "debugging", "guarantees", "performance", "architecture", "abi", "testing"]
>>>>>>> debuggers
EXAMPLE = re.compile(r"\.\./examples/(\d\d-[\w-]+)/main\.cpp$")
LINK = re.compile(r"\[([^\]]+)\]\(([^)\s]+)\)")
CODE = re.compile(r"(?<!`)(`+)(?!`)(.+?)(?<!`)\1(?!`)")


def label(page, heading):
    words = re.sub(r"[^\w\s-]", "", heading.lower()).split()
    name = os.path.splitext(os.path.basename(page))[0]
    return "-".join(["decision" if name[0].isdigit() else "", name, *words]).lstrip("-")   # begins with a letter


def link(page, match):
    """A link to a page or a section, by name; for a target that the site does not have, its text."""
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
    """A code span for doxygen, which takes a quote for its end and would show the backslash before a bar."""
    text = match.group(2)
    if "\\|" in text:
        shown = html.escape(text, quote=False).replace("\\|", "&#124;")
        return f"\\htmlonly<code>{shown}</code>\\endhtmlonly"
    return f"``{text}``" if "'" in text else match.group(0)


def example_of(line):
    """The code and the output of the example that a line of the page of examples links to, or None."""
    match = re.match(r"\[[^\]]*\]\(\.\./examples/([\w-]+)/main\.cpp\)$", line)
    if not match:
        return None
    return f"\\include {match.group(1)}/main.cpp\n\nIt prints\n\n\\verbinclude {match.group(1)}/expected.txt"


def chapters():
    """The paths of all pages from the root of the tree, in reading order."""
    paths = [f"docs/{name}.md" for name in ORDER]
    strange = set(glob.glob("docs/*.md")) ^ set(paths)
    if strange:
        sys.exit(f"docs/pages.py: ORDER and the files differ: {', '.join(sorted(strange))}")
    return paths + sorted(glob.glob("docs/decisions/*.md"))


def title_of(path):
    with open(path, encoding="utf-8") as file:
        return file.readline().lstrip("# ").strip()


def layout(output):
    def tab(path):
        name = "md_" + re.sub(r"[/-]", "_", path[:-len(".md")])
        return f'<tab type="user" url="@ref {name}" title={quoteattr(title_of(path))}/>'

    overview, *pages = chapters()
    decisions = [path for path in pages if path.startswith("docs/decisions/")]
    lines = [
        '<doxygenlayout version="1.0"><navindex>', '<tab type="mainpage" title="Overview"/>',
        *(tab(path) for path in pages if path not in decisions),
        '<tab type="usergroup" title="Decisions">', *map(tab, decisions), "</tab>",
        '<tab type="usergroup" title="Reference">',
        '<tab type="classlist" title="Classes"/>', '<tab type="hierarchy" title="Class hierarchy"/>',
        '<tab type="namespacelist" title="Namespaces"/>', '<tab type="namespacemembers" title="Free functions and types"/>',
        "</tab>", "</navindex></doxygenlayout>", ""]
    with open(output, "w", encoding="utf-8") as file:
        file.write("\n".join(lines))


def next_of(path):
    """The line that ends a page: a link to the next one."""
    for page_here, following in zip(chapters(), chapters()[1:]):
        if page_here == path:
            return ["---", "", f"Next: [{title_of(following)}]({os.path.relpath(following, os.path.dirname(path))})"]
    return []


def page(path):
    in_code = False
    with open(path, encoding="utf-8") as file:
        lines = file.read().split("\n")
    lines += next_of(os.path.relpath(path))
    for number, line in enumerate(lines):
        if line.startswith("```"):
            in_code = not in_code
        if in_code or line.startswith("```"):
            print(line)
            continue
        if path.endswith("docs/examples.md") and example_of(line):
            print(example_of(line))
            continue
        if line.startswith("## ") and path.endswith("docs/overview.md"):
            line = f"<h2>{line[3:]}</h2>"   # a label would put the section among the pages in the tree
        elif line.startswith("## ") or line.startswith("### "):
            line += " {#" + label(path, line.lstrip("# ")) + "}"
        line = LINK.sub(lambda match: link(os.path.relpath(path), match), line)
        print(CODE.sub(code, line))


class Site(html.parser.HTMLParser):
    """The anchors and the links of a page."""

    def __init__(self, path):
        super().__init__()
        self.places, self.links = set(), []
        with open(path, encoding="utf-8") as file:
            self.feed(file.read())

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("id", "name"):
                self.places.add(value)
            elif name in ("href", "src") and value and not re.match(r"\w+:", value):
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
                wrong.append(f"{name}: {path} has no anchor {place}")
    print("\n".join(wrong) if wrong else f"{len(pages)} pages have no broken link")
    return 1 if wrong or not pages else 0


if __name__ == "__main__":
    if sys.argv[1] == "--check":
        sys.exit(check(sys.argv[2]))
    layout(sys.argv[2]) if sys.argv[1] == "--layout" else page(sys.argv[1])
