#!/usr/bin/env python3
"""Compares the files of the tree with the lists in its CMakeLists.txt: each is named once, and each name is a file.

Usage: check_lists.py [ROOT]. Prints a line for each that is not; exit code 1 if there is one.
"""
import os
import re
import sys

# Where a list stands -> the folders whose files it names, and which files those are.
LISTS = {
    "framework": (["framework"], (".h", ".cpp")),
    "studio/data": (["studio/data"], (".h", ".cpp")),
    "studio/host": (["studio/host"], (".h", ".cpp")),
    "studio/inspect": (["studio/inspect"], (".h", ".cpp")),
    "studio/commands": (["studio/commands"], (".h", ".cpp")),
    "tests": (["tests/framework", "tests/studio", "tests/flows", "tests/shell"], (".cpp",)),
    "workbench": (["workbench"], (".h", ".cpp")),
    "shell": (["shell"], (".h", ".cpp")),
    "benchmarks": (["benchmarks"], (".h", ".cpp")),
}


def named(root, folder):
    """Every file name in the CMakeLists.txt of a folder, from the root of the tree, in order."""
    names = []
    with open(os.path.join(root, folder, "CMakeLists.txt"), encoding="utf-8") as lines:
        for line in lines:
            code = line.split("#")[0]
            names += [f"{folder}/{name}" for name in re.findall(r"(?<![\w./$}-])[\w./-]+\.(?:h|cpp)\b", code)]
    return names


def present(root, folders, endings):
    found = set()
    for folder in folders:
        for where, _, names in os.walk(os.path.join(root, folder)):
            found |= {os.path.relpath(os.path.join(where, name), root) for name in names if name.endswith(endings)}
    return found


def check(root):
    problems = []
    for folder, (folders, endings) in LISTS.items():
        names = named(root, folder)
        files = present(root, folders, endings)
        problems += [f"{name}: not named in {folder}/CMakeLists.txt" for name in sorted(files - set(names))]
        problems += [f"{folder}/CMakeLists.txt: {name} is named but not there"
                     for name in sorted(set(names)) if not os.path.isfile(os.path.join(root, name))]
        problems += [f"{folder}/CMakeLists.txt: {name} is named twice"
                     for name in sorted({name for name in names if names.count(name) > 1})]
    return problems


def main(arguments):
    root = arguments[0] if arguments else os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    problems = check(root)
    print("\n".join(problems) if problems else "every file is named once")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
