#!/usr/bin/env python3
"""Runs lldb on a program and compares what it shows of values, elements and providers with the table in shown.py.

Usage: lldb_test.py [--plain] LLDB PROGRAM FORMATTERS

--plain: the library has no debug information, so lldb knows only what the program's own has.
"""
import glob
import os
import re
import shutil
import subprocess
import sys

from shown import ANY, FIRST, KINDS, ONLY_WITH_THE_LIBRARY, PLAIN, SECOND, UNMADE

RANDOM = re.compile(r"\([0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\)")
VARIABLE = re.compile(r"^\((?:const )?(.*?)(?: &)?\) (\w+) = (?:0x[0-9a-f]{16} )?(.*(?:\n[ }].*)*)", re.MULTILINE)


def line(shown):
    """How lldb writes it, put on one line: Text {name = value, name = value}."""
    inside = ", ".join(f"{name} = {value}" for name, value in shown.inside.items())
    return f"{shown.text} {{{inside}}}".lstrip() if inside else shown.text


def one_line(text):
    text = re.sub(r":? ?\{\n +", " {", text).lstrip()
    return re.sub(r"\n +", ", ", text).replace("\n}", "}")


def environment(lldb):
    """Where lldb finds its Python, which is the one beside it, and its own package, which that of Debian 12 does not."""
    lldb = shutil.which(lldb) or lldb
    folders = glob.glob(os.path.join(os.path.dirname(os.path.realpath(lldb)), "../lib/python3*/*-packages"))
    found = [folder for folder in folders if os.path.isfile(os.path.join(folder, "lldb", "embedded_interpreter.py"))]
    path = os.path.dirname(lldb) + ":" + os.environ.get("PATH", "")
    return {**os.environ, "PATH": path, **({"PYTHONPATH": found[0]} if found else {})}


def shown(lldb, program, formatters):
    """The class and the text that lldb shows of each expression."""
    variables = [f"frame variable {name}" for name in (*FIRST, *UNMADE)]
    script = ["settings set target.disable-aslr false", f"command script import {formatters}",
              "breakpoint set --name lookHere", "run", "up", *variables,
              "continue", "up", *(f"frame variable {name}" for name in SECOND)]
    arguments = [word for command in script for word in ("-o", command)]
    done = subprocess.run([lldb, "--batch", "--no-lldbinit", *arguments, program], capture_output=True, encoding="utf-8",
                          env=environment(lldb), timeout=240, check=False)
    found = {name: (kind, one_line(text)) for kind, name, text in VARIABLE.findall(done.stdout)}
    return found, done.stdout + done.stderr


def main(*arguments):
    is_plain = arguments[0] == "--plain"
    found, everything = shown(*arguments[is_plain:])
    wrong = []
    every = {name: line(shown) for name, shown in {**FIRST, **SECOND}.items()}
    if is_plain:
        every = {name: text for name, text in {**every, **PLAIN}.items() if name not in ONLY_WITH_THE_LIBRARY}
    for name, expected in every.items():
        kind, got = found.get(name, ("", "nothing"))
        if expected.endswith(" 0x"):
            got = re.sub("0x[0-9a-f]+$", "0x", got)
        if ANY in expected:
            got = RANDOM.sub(ANY, got)
        if got != expected:
            wrong.append(f"{name}\n    should be {expected}\n    lldb shows {got}")
        if kind != {**FIRST, **SECOND}[name].kind and kind in KINDS:
            wrong.append(f"{name} is a {kind}")
    wrong += [f"no variable is a {kind}" for kind in KINDS - {kind for kind, _ in found.values()}]
    wrong += [f"{name} is not shown" for name in UNMADE if name not in found]
    if "Traceback" in everything or "NameError" in everything:
        wrong.append("the formatters complained")
    print("\n".join([*wrong, everything]) if wrong else "lldb shows everything as a person reads it")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
