#!/usr/bin/env python3
"""Drives gdb over a program and compares what it shows of values, elements and providers.

Usage: gdb_test.py [--plain] GDB PROGRAM PRINTERS      the printers from the tree
       gdb_test.py [--plain] GDB PROGRAM --installed CMAKE BUILD PREFIX   installs, and lets gdb find them by itself

--plain: the library has no debug information, so gdb knows only what the program's own has.
"""
import os
import re
import subprocess
import sys

from shown import ANY, FIRST, ONLY_WITH_THE_LIBRARY, PLAIN, SECOND, UNMADE

RANDOM = re.compile(r"\([0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\)")


def line(shown):
    """How gdb writes it: Text = {name = value, value}."""
    if not shown.inside:
        return shown.text
    inside = ", ".join(f"{name} = {value}" for name, value in shown.inside.items())
    return f"{shown.text} = {{{inside}}}" if shown.text else f"{{{inside}}}"


def commands(expressions):
    for name in expressions:
        yield f"echo {name}: \\n"
        yield f"output {name}"
        yield "echo \\n"


def shown(gdb, program, setup, environment=None):
    """What gdb shows of each expression."""
    script = ["set pagination off", "set width 0", "set disable-randomization off", *setup, "break lookHere", "run",
              "up", *commands([*FIRST, *UNMADE]), "continue", "up", *commands(SECOND)]
    arguments = [word for line in script for word in ("-ex", line)]
    done = subprocess.run([gdb, "--batch", "-nx", *arguments, program], capture_output=True, encoding="utf-8",
                          env={**os.environ, **(environment or {})}, timeout=240, check=False)
    found = dict(re.findall(r"^(\w+): \n(.*)$", done.stdout, re.MULTILINE))
    return found, done.stdout + done.stderr


def install(cmake, build, prefix):
    subprocess.run([cmake, "--install", build, "--prefix", prefix], check=True, stdout=subprocess.DEVNULL)
    folder = next(where for where, _, names in os.walk(prefix)
                  if "libstudio_data.so" in names and "auto-load" not in where)
    scripts = os.path.join(prefix, "share/gdb/auto-load")
    setup = [f"add-auto-load-safe-path {prefix}", f"add-auto-load-scripts-directory {scripts}"]
    return setup, {"LD_LIBRARY_PATH": folder}


def main(*arguments):
    is_plain = arguments[0] == "--plain"
    gdb, program, *printers = arguments[is_plain:]
    if printers[0] == "--installed":
        found, everything = shown(gdb, program, *install(*printers[1:]))
    else:
        found, everything = shown(gdb, program, [f"source {printers[0]}"])
    wrong = []
    every = {name: line(shown) for name, shown in {**FIRST, **SECOND}.items()}
    if is_plain:
        every = {name: text for name, text in {**every, **PLAIN}.items() if name not in ONLY_WITH_THE_LIBRARY}
    for name, expected in every.items():
        got = found.get(name, "nothing")
        if expected.endswith(" 0x"):
            got = re.sub("0x[0-9a-f]+$", "0x", got)
        if ANY in expected:
            got = RANDOM.sub(ANY, got)
        if got != expected:
            wrong.append(f"{name}\n    should be {expected}\n    gdb shows {got}")
    if "Traceback" in everything or "Python Exception" in everything:
        wrong.append("the printers complained")
    print("\n".join([*wrong, everything]) if wrong else "gdb shows everything as a person reads it")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
