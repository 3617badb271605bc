#!/usr/bin/env python3
"""Checks the formatters for Visual Studio as far as that is possible without it.

Usage: natvis_test.py [--plain] GDB PROGRAM NATVIS LLDB_FORMATTERS SOURCES

The file is well-formed XML; it has the kinds of shown.py, and for each row a text that can look like it; what its expressions
name exists in the debug information of PROGRAM. The formatters for lldb name every handle class of the headers.

--plain: the library has no debug information, so expressions are not checked.
"""
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

from shown import FIRST, KINDS, SECOND

NAMESPACE = "{http://schemas.microsoft.com/vstudio/debugger/natvis/2010}"
FIELD = re.compile(r"\{([^{}]+)\}")
# Visual Studio shows the class of an element below a handle of any class.
ONLY_BELOW = ["plain"]
# Members of Microsoft's standard library, and those of libstdc++ that stand there for the same.
STANDARD = [
    (r"\._Mypair\._Myval2\._Myfirst", "._M_impl._M_start"),
    (r"\._Mypair\._Myval2\._Mylast", "._M_impl._M_finish"),
    (r"\._Which\b", "._M_index"),
    (r"((?:\._Tail)*)\._Head\b", lambda tails: "._M_u" + "._M_rest" * tails[1].count("_Tail") + "._M_first._M_storage"),
]
WORD = re.compile(r"\([\w:]+(?: \w+)*\*\)"   # a cast, which stays
                  r"|(?:(?:\.|->|::)\s*)?[A-Za-z_]\w*")


def fields(text):
    """The expressions in braces, without their format."""
    return [re.sub(r",\w+$", "", field) for field in FIELD.findall(text)]


def expressions(kind):
    """Every expression of a kind, with its calls and variables replaced by what they stand for."""
    calls, variables = {}, {}
    for node in kind.iter():
        tag, condition = node.tag.removeprefix(NAMESPACE), node.get("Condition")
        found = [condition] if condition else []
        if tag == "Intrinsic":
            calls[node.get("Name")] = node.get("Expression")
            continue
        if tag == "Variable":
            variables[node.get("Name")] = node.get("InitialValue")
            found.append(node.get("InitialValue"))
        elif tag == "DisplayString":
            found += fields(node.text)
        elif tag in ("Item", "ExpandedItem", "StringView", "Exec"):
            found += [node.text, *fields(node.get("Name", ""))]
        for text in found:
            for name, meant in calls.items():
                text = re.sub(rf"\b{name}\((\d*)\)", lambda call, meant=meant: f"({meant.replace('index', call[1])})", text)
            for name, meant in variables.items():
                text = re.sub(rf"\b{name}\b", f"({meant})", text)
            yield text


def for_gdb(expression, kind):
    """The expression as gdb reads it, on an object of that kind somewhere."""
    this = f"(({kind}*)0)"

    def complete(word):
        if word[0].startswith(("(", ".", "->", "::")):
            return word[0]
        return this if word[0] == "this" else f"{this}->{word[0]}"

    text = WORD.sub(complete, expression)
    for pattern, replacement in STANDARD:
        text = re.sub(pattern, replacement, text)
    return text


def unknown(gdb, program, kinds):
    """The expressions that name something that is not there, with what gdb says."""
    wanted = [(name, expression, for_gdb(expression, name)) for name, kind in kinds.items() for expression in expressions(kind)]
    script = ["import gdb", "def check(text):", "    try:", "        gdb.execute('whatis ' + text, to_string=True)",
              "    except gdb.error as error:", "        print('unknown:', text, '--', error)"]
    script += [f"check({text!r})" for _, _, text in wanted] + [f"print('checked {len(wanted)}')"]
    with tempfile.NamedTemporaryFile("w", suffix=".py", encoding="utf-8") as file:
        file.write("\n".join(script))
        file.flush()
        commands = ["set pagination off", "set disable-randomization off", "break lookHere", "run", f"source {file.name}"]
        done = subprocess.run([gdb, "--batch", "-nx", *(word for line in commands for word in ("-ex", line)), program],
                              capture_output=True, encoding="utf-8", timeout=240, check=False)
    if f"checked {len(wanted)}" not in done.stdout:
        yield f"gdb did not check the expressions:\n{done.stdout}{done.stderr}"
    yield from re.findall(r"^unknown: .*", done.stdout, re.MULTILINE)


def can_show(kind, text):
    """True if the text can come of one of the kind's, whatever its fields are."""
    patterns = (re.escape(FIELD.sub("\0", node.text)).replace("\0", ".+") for node in kind.iter(f"{NAMESPACE}DisplayString"))
    return any(re.fullmatch(pattern, text, re.DOTALL) for pattern in patterns)


def handle_classes(sources):
    """The handle classes of the headers."""
    found = {"tarn::zero::ModelElement"}
    with open(os.path.join(sources, "framework/tarn/zero/meta/MetaHandle.h"), encoding="utf-8") as header:
        listed = re.search(r"KernelClasses = HandleList<ModelElement, ([^>]*)>", header.read())[1]
    found |= {f"tarn::zero::meta::{name.strip()}" for name in listed.split(",")}
    for name in os.listdir(os.path.join(sources, "studio/data/model")):
        with open(os.path.join(sources, "studio/data/model", name), encoding="utf-8") as header:
            names = re.findall(r"^class STUDIO_DATA_EXPORT (\w+) : public tarn::zero::ModelElement", header.read(), re.MULTILINE)
            found |= {f"studio::data::{name}" for name in names}
    return found


def handles_in_lldb(path):
    with open(path, encoding="utf-8") as file:
        code = file.read()
    lists = re.findall(r"^(?:META = \(|HANDLES = \[).*?[)\]]$", code, re.MULTILINE | re.DOTALL)
    names = {}
    exec("\n".join(lists), names)   # the rest of the file needs lldb
    return set(names["HANDLES"])


def main(*arguments):
    is_plain = arguments[0] == "--plain"
    gdb, program, natvis, formatters, sources = arguments[is_plain:]
    kinds = {kind.get("Name"): kind for kind in xml.etree.ElementTree.parse(natvis).getroot().findall(f"{NAMESPACE}Type")}
    wrong = [f"natvis only: {name}" for name in sorted(kinds.keys() - KINDS)]
    wrong += [f"not in natvis: {name}" for name in sorted(KINDS - kinds.keys())]
    for name, shown in {**FIRST, **SECOND}.items():
        if shown.kind in kinds and name not in ONLY_BELOW and not can_show(kinds[shown.kind], shown.text):
            wrong.append(f"{name}: no text of {shown.kind} can be {shown.text}")
    if not is_plain:
        wrong += unknown(gdb, program, kinds)
    different = handle_classes(sources) ^ handles_in_lldb(formatters)
    wrong += [f"lldb does not know the handle {name}, or it is none" for name in sorted(different)]
    print("\n".join(wrong) or f"{len(kinds)} kinds, as in the table" + (", without their expressions" if is_plain else ""))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
