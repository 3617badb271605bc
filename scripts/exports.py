#!/usr/bin/env python3
"""Writes the module definition file of a DLL: exactly the names that are listed for it, as its objects spell them.

Usage: exports.py NM LIST OBJECTS OUT. LIST is one of cmake/exports; OBJECTS is a file that names an object a line. Beside a
listed name go the vtable and the type information of its class, where an object has them, and those of every class that a
header marks for export. A listed name that no object defines is an error: the library would lack it.
"""
import os
import re
import subprocess
import sys

from check_symbols import OF, alike, bare, namespaces, read_list

# What a class has without its source naming it: vtable, VTT, type information and its name.
OF_A_CLASS = re.compile(r"_ZT[VTIS]")
MARKED = re.compile(r"\b(?:class|struct) STUDIO_\w*EXPORT (?:\w+::)*(\w+)")


def defined(nm, objects):
    """Every external symbol of the objects: mangled name -> True for data."""
    symbols = {}
    with open(objects, encoding="utf-8") as file:
        paths = file.read().split("\n")
    lines = subprocess.run([nm, "--defined-only", "--extern-only", *filter(None, paths)], capture_output=True,
                           encoding="utf-8", check=True).stdout.splitlines()
    for line in lines:
        words = line.split()
        if len(words) == 3 and words[2].startswith("_Z"):
            symbols[words[2]] = words[1] in "BDRVSG"
    return symbols


def marked(root):
    """The names, without what they are in, of all classes that a header marks for export."""
    found = set()
    for folder in ("framework", "studio"):
        for path, _, files in os.walk(os.path.join(root, folder)):
            for header in (name for name in files if name.endswith(".h")):
                with open(os.path.join(path, header), encoding="utf-8") as file:
                    found.update(MARKED.findall(file.read()))
    return found


def main(nm, list_path, objects, out):
    symbols = defined(nm, objects)
    text = "".join(symbol + "\n" for symbol in symbols)
    names = subprocess.run(["c++filt", "--no-verbose"], input=text, capture_output=True, encoding="utf-8", check=True).stdout.splitlines()
    names = dict(zip(symbols, map(alike, names)))
    listed = read_list(list_path)
    missing = listed - set(names.values())
    if missing:
        print(f"{os.path.basename(list_path)} lists what no object defines:\n  " + "\n  ".join(sorted(missing)))
        return 1
    classes = {bare(name).rpartition("::")[0] for name in listed}
    own = namespaces(os.path.basename(list_path).removesuffix(".txt"))
    marks = marked(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

    def is_exported(name):
        return name in classes or (name.startswith(own) and "detail::" not in name
                                   and name.rpartition("::")[2] in marks)

    lines = [symbol + " DATA" * data for symbol, data in symbols.items()
             if names[symbol] in listed or (OF_A_CLASS.match(symbol) and is_exported(OF.sub("", names[symbol])))]
    with open(out, "w", encoding="utf-8") as file:
        file.writelines(["EXPORTS\n"] + [f"    {line}\n" for line in sorted(lines)])
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
