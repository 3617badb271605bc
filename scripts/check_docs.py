#!/usr/bin/env python3
"""Compares README.md and the pages in docs/ with the code, and checks the docstrings of the code.

Usage: check_docs.py [--evaluate PROGRAM] [ROOT]. Prints `file:line: what is wrong`; exit code 1 if anything is.
- Every test named in a table's column "Test" exists in tests/, and every row there names one.
- Every ```cpp fragment occurs, up to its indentation, in a source under examples/ or tests/, a ```cmake one in a
  CMakeLists.txt there.
- Every docstring (///) can be read alone, as an editor shows it: it does not begin like a fragment or with a reference
  to its neighbour. The sentences that docs/conventions.py adds are checked, too.
- With --evaluate, and instead of the above: for each row of a table "Text | Value" or "Text | Refused with", PROGRAM
  prints that value or reason, given the texts as lines. The words of STUDIO_DATA_EMULATOR start a program that was built
  for another system.
"""
import importlib.util
import os
import re
import shlex
import subprocess
import sys
import textwrap

sys.dont_write_bytecode = True   # of docs/conventions.py

TEST = re.compile(r"\bTEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)")
CODE = re.compile(r"(?<!`)(`+)(?!`)(.+?)(?<!`)\1(?!`)")
FOLDERS = ["framework", "studio", "workbench", "tests", "examples", "benchmarks", "fuzz"]
# How a docstring begins that cannot be read without the one above it.
DEPENDENT = re.compile(
    r"(?:The same|Same|Takes (?:that|this|it) back|Where|Else|Otherwise|Also|Likewise|Ditto|(?:As|See) (?:above|below)|"
    r"As the \w+ (?:says|does)|And|Or|But|Then|Again|Too|This too|That|Those|These|Its?|They|Their)\b", re.IGNORECASE)


def files(root, folders, endings=(".h", ".cpp")):
    """(path from the root, text) of each file, in the order of their names."""
    for folder in folders:
        for where, below, names in os.walk(os.path.join(root, folder)):
            below.sort()
            for name in sorted(names):
                if name.endswith(endings):
                    path = os.path.join(where, name)
                    with open(path, encoding="utf-8") as file:
                        yield os.path.relpath(path, root), file.read()


def sources(root, folders, endings=(".h", ".cpp")):
    return (text for _, text in files(root, folders, endings))


def pages(root):
    with open(os.path.join(root, "README.md"), encoding="utf-8") as file:
        yield "README.md", file.read().splitlines()
    for where, below, names in os.walk(os.path.join(root, "docs")):
        below.sort()
        for name in sorted(names):
            if name.endswith(".md"):
                path = os.path.join(where, name)
                with open(path, encoding="utf-8") as file:
                    yield os.path.relpath(path, root), file.read().splitlines()


def cells(line):
    return [cell.strip().replace("\\|", "|") for cell in re.split(r"(?<!\\)\|", line.strip())[1:-1]]


def rows(lines):
    """(line number, cells by column name) of each table row outside of code blocks."""
    header, in_code = None, False
    for number, line in enumerate(lines, 1):
        if line.startswith("```"):
            in_code = not in_code
        if in_code or not line.startswith("|"):
            header = None
        elif header is None:
            header = cells(line)
        elif set(line) - set("|-: "):
            yield number, dict(zip(header, cells(line)))


def fragments(lines):
    """(line number, language, text) of each block of code."""
    start = None
    for number, line in enumerate(lines, 1):
        if line.startswith("```"):
            if start is not None:
                yield start, lines[start - 1][3:], "\n".join(lines[start:number - 1])
            start = number if start is None else None


def codes(cell):
    """The code spans of a cell. A span between spaces and several backticks loses one space on each side."""
    return [code[1:-1] if len(ticks) > 1 and code[0] == code[-1] == " " else code
            for ticks, code in CODE.findall(cell)]


def flat(text):
    return "\n".join(line.strip() for line in textwrap.dedent(text).splitlines())


def check_names(root):
    known = {f"{suite}.{name}" for text in sources(root, ["tests"]) for suite, name in TEST.findall(text)}
    for path, lines in pages(root):
        for number, row in rows(lines):
            if "Test" not in row:
                continue
            named = codes(row["Test"])
            if not named:
                yield f"{path}:{number}: names no test"
            for name in named:
                if name not in known:
                    yield f"{path}:{number}: no test is called {name}"


def check_fragments(root):
    code = {language: [flat(text) for text in sources(root, ["examples", "tests"], endings)]
            for language, endings in (("cpp", (".h", ".cpp")), ("cmake", ("CMakeLists.txt",)))}
    for path, lines in pages(root):
        for number, language, fragment in fragments(lines):
            if language in code and not any(flat(fragment) in text for text in code[language]):
                yield f"{path}:{number}: no example or test has this code"


def docstrings(text):
    """(line number, first line, whether it trails its member) of each docstring of a source."""
    continued = False
    for number, line in enumerate(text.splitlines(), 1):
        code, mark, words = line.partition("///")
        begins = mark and not words.startswith("/") and code.count('"') % 2 == 0
        if begins and not (continued and not code.strip()):
            yield number, words.lstrip("<").strip(), bool(code.strip())
        continued = begins and (not code.strip() or continued)


def fault_of(docstring, trails=False):
    """Why a docstring cannot be read alone, or None. One that trails its member continues it: `A, ///< first kind`."""
    if not docstring:
        return "its first line is empty"
    dependent = DEPENDENT.match(docstring)
    if dependent:
        return f'it begins with "{dependent.group()}" and so depends on its neighbour'
    if docstring[0].islower() and not trails:
        return f'it begins like a fragment, with "{docstring.split()[0]}"'
    return None


def conventions(root):
    """(place, sentence) of each sentence that docs/conventions.py adds to the reference."""
    path = os.path.join(root, "docs", "conventions.py")
    if os.path.isfile(path):
        spec = importlib.util.spec_from_file_location("conventions", path)
        module = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(module)
        with open(path, encoding="utf-8") as file:
            lines = file.read().splitlines()
        for sentence in [module.OVERLOAD, *(sentence for _, _, sentence in module.CONVENTIONS)]:
            found = (number for number, line in enumerate(lines, 1) if f'"{sentence[:40]}' in line)
            yield f"docs/conventions.py:{next(found, 1)}", sentence


def check_docstrings(root):
    found = [(f"{path}:{number}", *docstring) for path, text in files(root, FOLDERS)
             for number, *docstring in docstrings(text)]
    for place, *docstring in found + list(conventions(root)):
        fault = fault_of(*docstring)
        if fault:
            yield f"{place}: the docstring cannot be read alone: {fault}"


def check_values(root, program):
    expected = []   # (place, text, answer)
    for path, lines in pages(root):
        for number, row in rows(lines):
            answer = row.get("Value", row.get("Refused with"))
            if "Text" in row and answer is not None:
                expected.append((f"{path}:{number}", codes(row["Text"])[0], codes(answer)[0]))
    if not expected:
        yield "docs: no table of values"
    given = "".join(text + "\n" for _, text, _ in expected)
    command = [*shlex.split(os.environ.get("STUDIO_DATA_EMULATOR", "")), program]
    printed = subprocess.run(command, input=given, capture_output=True, encoding="utf-8", check=True).stdout
    answers = printed.splitlines()
    if len(answers) != len(expected):
        yield f"{program}: {len(answers)} answers to {len(expected)} texts"
    for (place, text, answer), got in zip(expected, answers):
        # The program prints a text as it is, without escapes.
        if got != re.sub(r"\\(.)", r"\1", answer):
            yield f"{place}: {text} gives {got}"


def main(arguments):
    program = None
    if arguments[:1] == ["--evaluate"]:
        program, arguments = arguments[1], arguments[2:]
    root = arguments[0] if arguments else os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    checks = [check_names, check_fragments, check_docstrings]
    wrong = list(check_values(root, program)) if program else [fault for check in checks for fault in check(root)]
    print("\n".join(wrong) if wrong else "the pages agree with the code, and every docstring can be read alone")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
