"""studio-workbench from outside: its sample, what it says of files it cannot use, and what it calls a difference.

Usage: workbench_test.py PROGRAM MANUAL
"""
import json
import os
import re
import subprocess
import sys
import tempfile

PROGRAM, MANUAL = map(os.path.abspath, sys.argv[1:3])
FAILED = []

EXPRESSIONS = '{"format":1,"expressions":[{"id":0,"expression":"a"},{"id":1,"expression":"!b.c"}]}'
SESSION = """{"format":1,"contexts":2,"initial":[["set",0,"a",1]],"initialValues":[1,true],
"steps":[{"ops":[["new",1],["set",1,"c",true],["link",0,"b",1]],"changed":[[1,false]]},
         {"ops":[["active",0,["x"]],["set",0,"a",1]],"changed":[]},
         {"ops":[["set",0,"a",null],["del",0,"b"],["drop",1]],"changed":[[0,null],[1,true]]}]}"""


def run(*arguments):
    """Exit code, output and errors of the program; paths are relative to the current folder."""
    done = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, stdin=subprocess.DEVNULL, timeout=120)
    return done.returncode, done.stdout, done.stderr


def expect(case, condition, shown=""):
    if not condition:
        FAILED.append(case)
        print(f"FAILED {case}\n{shown}")


def replay(expressions, session, *options):
    for name, text in (("e.json", expressions), ("s.json", session)):
        with open(name, "w", encoding="utf-8", newline="") as file:
            file.write(text)
    return run(*options, "e.json", "s.json")


# A text of SESSION (or of EXPRESSIONS), what takes its place, and the line that the program then prints.
UNUSABLE = [
    ("session", '{"format":1', '{"format":', 's.json: line 1, column 11: syntax error'),
    ("session", '[0,null]', '[0,nul]', 's.json: line 4, column 80: syntax error'),
    ("session", '"a",1]', '"a",1e999]', 's.json: line 1, column 50: number overflow'),
    ("session", '"a",1]', '"a",[]]', 's.json: /initial/0/3: expected a logical, a number, a text or null, found array'),
    ("session", '"format":1', '"format":2', 's.json: /format: only format 1 is known'),
    ("session", '"format":1,', '', 's.json: top level: "format" is missing'),
    ("session", '"contexts":2', '"contexts":3', 's.json: /contexts: there are 2 contexts by the end, the root included'),
    ("session", '"contexts":2', '"contexts":-2', 's.json: /contexts: expected a whole number, found number -2'),
    ("session", '[1,true]', '[1]', 's.json: /initialValues: recorded over 1 expressions, but there are 2'),
    ("session", '["new",1]', '["new",2]', 's.json: /steps/0/ops/0/1: the next new context is number 1'),
    ("session", '["new",1]', '["make",1]', 's.json: /steps/0/ops/0/0: unknown operation "make"'),
    ("session", '["new",1]', '["new"]', 's.json: /steps/0/ops/0: "new" takes 1 arguments, not 0'),
    ("session", '["new",1]', '[]', 's.json: /steps/0/ops/0: expected at least 1 items, found 0'),
    ("session", '["new",1]', 'true', 's.json: /steps/0/ops/0: expected a list, found boolean'),
    ("session", '["link",0,"b",1]', '["link",0,"b",7]', 's.json: /steps/0/ops/2/3: context 7 has not been made'),
    ("session", '["del",0,"b"],["drop",1]', '["drop",1],["link",0,"b",1]',
     's.json: /steps/2/ops/2/3: context 1 has been dropped'),
    ("session", '["drop",1]', '["drop",0]', 's.json: /steps/2/ops/2/1: the root stays'),
    ("session", '"c",true', '"c.d",true', 's.json: /steps/0/ops/1/2: the name of a property has no dot'),
    ("session", '["x"]', '[1]', 's.json: /steps/1/ops/0/2/0: expected a text, found number 1'),
    ("session", ',"changed":[]', '', 's.json: /steps/1: "changed" is missing'),
    ("session", '[[1,false]]', '[[2,false]]', 's.json: /steps/0/changed/0/0: there are only 2 expressions'),
    ("session", '[0,null],[1,true]', '[1,true],[0,null]', 's.json: /steps/2/changed/1/0: the expressions of a step stand'),
    ("expressions", '!b.c', '!b.c == 1',
     "e.json: /expressions/1/expression: does not parse: 1:6: '!' applies only to what follows it"),
    ("expressions", '"id":1', '"id":2', 'e.json: /expressions/1/id: expected 1'),
    ("expressions", '"id":1,', '"id":1,"source":"\\ud800",', 'e.json: line 1, column '),
    ("expressions", EXPRESSIONS, '', 'e.json: line 1, column 1: syntax error'),
    ("expressions", EXPRESSIONS, '[' * 100000, 'e.json: line 1, column 100001: syntax error'),
    ("expressions", EXPRESSIONS, '[]', 'e.json: top level: expected an object, found array'),
]


def unusable_files():
    for which, old, new, line in UNUSABLE:
        expressions = EXPRESSIONS.replace(old, new, 1) if which == "expressions" else EXPRESSIONS
        session = SESSION.replace(old, new, 1) if which == "session" else SESSION
        assert (expressions, session) != (EXPRESSIONS, SESSION), old
        code, out, err = replay(expressions, session)
        expect(f"{old} -> {new[:40]}", code == 2 and out == "" and err.startswith("studio-workbench: " + line)
               and err.count("\n") == 1, f"{code} {out}{err}")


USAGE = [
    (["--nonsense"], "unknown option --nonsense"),
    (["one.json"], "expected two files, expressions and session, or none; found 1"),
    (["a", "b", "c"], "expected two files, expressions and session, or none; found 3"),
    (["--save-sample"], "--save-sample needs a folder to write to"),
    (["--save-sample", ".", "e.json", "s.json"], "--save-sample takes no files"),
    (["--", "--check"], "expected two files, expressions and session, or none; found 1"),
    (["missing.json", "s.json"], "missing.json: cannot be opened: No such file or directory"),
    ([".", "s.json"], ".: cannot be read: Is a directory"),
    (["no\nsuch", "s.json"], "no such: cannot be opened: No such file or directory"),
    (["--save-sample", "missing"], "missing/expressions.json: cannot be written: No such file or directory"),
]


def usage():
    for arguments, line in USAGE:
        code, out, err = run(*arguments)
        expect(str(arguments), code == 2 and out == "" and err.startswith("studio-workbench: " + line)
               and err.count("\n") == 1, f"{code} {out}{err}")
    code, out, err = run("--help")
    expect("--help", code == 0 and out.startswith("Usage: studio-workbench") and err == "", f"{code} {out}{err}")
    with open(MANUAL, encoding="utf-8") as file:
        manual = file.read().replace("\\-", "-")
    options, codes = r"(?<![\w-])--?[a-z][a-z-]*", r"^(?:  |\.B )([0-9])\b"
    for what, pattern in (("options", options), ("exit codes", codes)):
        told, written = (set(re.findall(pattern, text, re.MULTILINE)) for text in (out, manual))
        expect(f"--help and the manual name the same {what}", told == written and told, told ^ written)
    code, out, err = run("--version")
    expect("--version", code == 0 and re.fullmatch(r"studio-workbench \d+\.\d+\.\d+\n", out), f"{code} {out}{err}")


# A recorded answer of SESSION, what takes its place, and the difference that --check then shows.
DIFFERENT = [
    ('[1,true],', '[2,true],', 'at the start, expression 0: expected 2, found 1   in a'),
    ('[1,true],', '[true,true],', 'at the start, expression 0: expected true, found 1   in a'),
    ('[[1,false]]', '[[1,0]]', 'step 1, expression 1: expected 0, found true -> false   in !b.c'),
    ('[[1,false]]', '[]', 'step 1, expression 1: expected no change, found true -> false   in !b.c'),
    ('"changed":[]', '"changed":[[0,2]]', 'step 2, expression 0: expected 2, found no change   in a'),
    ('[[0,null],[1,true]]', '[[1,true]]', 'step 3, expression 0: expected no change, found 1 -> undefined   in a'),
]


def differences():
    code, out, err = replay(EXPRESSIONS, SESSION, "--check", "--verify")
    expect("nothing differs", code == 0 and out.count(": 0 differences in 2 initial values and 3 steps") == 2, out + err)
    for old, new, line in DIFFERENT:
        assert SESSION.count(old) == 1, old
        code, out, err = replay(EXPRESSIONS, SESSION.replace(old, new), "--check", "--quiet")
        expect(f"{old} -> {new}", code == 1 and err == "" and out == "\nagainst the recorded answers: 1 difference in "
               f"2 initial values and 3 steps\n  {line}\n", f"{code} {out}{err}")
    code, out, err = replay(EXPRESSIONS, SESSION, "--trace")
    trace = [re.sub(r", [^)]*\)", ")", line) for line in out.split("\n\n")[1].splitlines()]
    expect("--trace", code == 0 and trace == [
        "step 1  (3 operations)", "      1  true -> false   in !b.c",
        "step 2  (2 operations): silent",
        "step 3  (3 operations)", "      0  1 -> undefined   in a", "      1  false -> true   in !b.c"], out)


def sample():
    code, out, err = run("--check")
    expect("the sample agrees with evaluating everything", code == 0 and "0 differences" in out and err == "", out + err)
    code, out, err = run("--quiet", "--verify")
    expect("--quiet has nothing to say", (code, out, err) == (0, "", ""), out + err)
    expect("no bar in a pipe", "\r" not in run()[1])

    code, out, err = run("--save-sample", ".")
    with open("expressions.json", encoding="utf-8") as file:
        expressions = json.load(file)["expressions"]
    with open("session.json", encoding="utf-8") as file:
        session = json.load(file)
    changed = {answer[0] for step in session["steps"] for answer in step["changed"]}
    expect("a sample worth its name", len(expressions) > 100 and len(session["steps"]) > 300 and
           changed == set(range(len(expressions))), f"never change: {set(range(len(expressions))) - changed}")
    code, out, err = run("--check", "expressions.json", "session.json")
    expect("the saved sample replays", code == 0 and ": 0 differences" in out, out + err)


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    unusable_files()
    usage()
    differences()
    sample()
    os.chdir("/")
sys.exit(1 if FAILED else 0)
