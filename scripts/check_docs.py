#!/usr/bin/env python3
"""Holds README.md and the pages in docs/ to what the code says.

Usage: check_docs.py [--evaluate PROGRAM] [ROOT]. Prints `file:line: what is wrong`; exit code 1 if anything is.
- Every test named in a table's column "Test" exists in tests/, and every row there names one.
- Every ```cpp fragment stands, up to its indentation, in a source under examples/ or tests/, a ```cmake one in a
  CMakeLists.txt there.
- With --evaluate: every row of a table "Text | Value" or "Text | Refused with" is what PROGRAM, given the texts as
  lines, answers.
"""
import os
import re
import subprocess
import sys
import textwrap

TEST = re.compile(r"\bTEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)")
CODE = re.compile(r"(?<!`)(`+)(?!`)(.+?)(?<!`)\1(?!`)")


def sources(root, folders, endings=(".h", ".cpp")):
    for folder in folders:
        for where, _, names in os.walk(os.path.join(root, folder)):
            for name in sorted(names):
                if name.endswith(endings):
                    with open(os.path.join(where, name), encoding="utf-8") as file:
                        yield file.read()


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
    printed = subprocess.run([program], input=given, capture_output=True, encoding="utf-8", check=True).stdout
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
    wrong = list(check_values(root, program)) if program else [*check_names(root), *check_fragments(root)]
    print("\n".join(wrong) if wrong else "the pages say what the code does")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
