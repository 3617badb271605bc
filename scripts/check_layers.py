#!/usr/bin/env python3
"""Compares every #include of the tree with the layer table in layers.txt.

Usage: check_layers.py [ROOT]. Prints `file:line: include: rule` for each violation; exit code 1 if there is one.
"""
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
FOLDERS = ("framework", "studio", "tests", "examples", "workbench", "benchmarks", "fuzz", "shell")


class Table:
    """What layers.txt says."""

    def __init__(self, path):
        self.rooms = []      # (path prefix, room)
        self.levels = {}     # room -> level
        self.up = set()      # (room, header of a higher one that its sources may name)
        self.private = set()
        self.external = {}   # header prefix -> where it may stand
        self.hidden = ()
        with open(path, encoding="utf-8") as lines:
            for line in lines:
                words = line.split("#")[0].split()
                if words:
                    getattr(self, "read_" + words[0])(*words[1:])

    def read_room(self, level, name, *prefixes):
        self.levels[name] = float(level)
        self.rooms += [(prefix, name) for prefix in prefixes]

    def read_up(self, room, *headers):
        self.up |= {(room, header) for header in headers}

    def read_private(self, *paths):
        self.private = set(paths)

    def read_external(self, header, *prefixes):
        self.external[header] = prefixes

    def read_hidden(self, *headers):
        self.hidden = headers

    def room(self, path):
        fits = [(len(prefix), name) for prefix, name in self.rooms if path.startswith(prefix)]
        return max(fits)[1] if fits else None

    def is_private(self, path):
        return path in self.private or "/detail/" in path


def home(path):
    """The folder whose business a file is: detail/ belongs to the folder around it."""
    return re.sub(r"/detail(/.*)?$", "", os.path.dirname(path))


def resolve(root, path, name):
    """The file of the tree that an include names, or None."""
    for base in (os.path.dirname(path), "framework", "", "tests"):
        candidate = os.path.normpath(os.path.join(base, name))
        if os.path.isfile(os.path.join(root, candidate)):
            return candidate
    return None


def third_party(table, path, name, installed):
    for header, places in table.external.items():
        if name.startswith(header) and not path.startswith(places):
            return f"only {' '.join(places)} may name it"
    if installed and name.startswith(table.hidden):
        return "an installed header must not name it"
    return None


def within(table, path, target, installed):
    """The rule that an include of the tree's own file breaks, or None."""
    mine, other = table.room(path), table.room(target)
    if mine is None or other is None:
        return f"{path if mine is None else target} has no room in layers.txt"
    if table.is_private(target):
        if installed:
            return "an installed header must not name a private one"
        if mine not in ("unit", "machine") and home(path) != home(target):
            return f"private to {home(target)}/"
    if mine == other:
        return None
    if os.path.basename(target) == "Fwd.h" and table.levels[mine] // 1 == table.levels[other] // 1:
        return None
    if (mine, target) in table.up and (path.endswith(".cpp") or table.is_private(path)):
        return None
    if table.levels[other] < table.levels[mine]:
        return None
    return f"{mine} (level {table.levels[mine]:g}) must not know {other} (level {table.levels[other]:g})"


def check(root):
    table = Table(os.path.join(os.path.dirname(os.path.abspath(__file__)), "layers.txt"))
    found = []
    for folder in FOLDERS:
        for where, below, names in os.walk(os.path.join(root, folder)):
            below.sort()
            for name in sorted(names):
                if name.endswith((".h", ".cpp")):
                    path = os.path.relpath(os.path.join(where, name), root)
                    found += check_file(table, root, path)
    return found


def check_file(table, root, path):
    installed = path.endswith(".h") and path.startswith(("framework/", "studio/")) and not table.is_private(path)
    found = []
    with open(os.path.join(root, path), encoding="utf-8") as lines:
        for number, line in enumerate(lines, 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            quoted, name = match[1] == '"', match[2]
            target = resolve(root, path, name) if quoted else None
            if target:
                broken = within(table, path, target, installed)
            elif quoted:
                broken = "names no file of the tree; other libraries' headers stand in <>"
            else:
                broken = third_party(table, path, name, installed)
            if broken:
                found.append(f"{path}:{number}: {name}: {broken}")
    return found


def main(arguments):
    root = arguments[0] if arguments else os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    found = check(root)
    print("\n".join(found) if found else "every include points down")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
