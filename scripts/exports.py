#!/usr/bin/env python3
"""Writes the module definition file of a DLL: exactly the names that are listed for it, as its objects spell them.

Usage: exports.py NM LIST OBJECTS OUT. LIST is one of cmake/exports; OBJECTS is a file that names an object a line. Beside a
listed name go the vtable and the type information of its class, where an object has them. A listed name that no object
defines is an error: the library would lack it.
"""
import os
import re
import subprocess
import sys

from check_symbols import OF, alike, bare, read_list

# What a class has without its source naming it: vtable, VTT, type information and its name.
OF_A_CLASS = re.compile(r"_ZT[VTIS]")


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
    lines = [symbol + " DATA" * data for symbol, data in symbols.items()
             if names[symbol] in listed or (OF_A_CLASS.match(symbol) and OF.sub("", names[symbol]) in classes)]
    with open(out, "w", encoding="utf-8") as file:
        file.writelines(["EXPORTS\n"] + [f"    {line}\n" for line in sorted(lines)])
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
