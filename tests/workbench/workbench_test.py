"""studio-workbench from outside: files and arguments that it refuses, what it calls a difference, its output on a terminal
and where none can be written, and its sample.

Usage: workbench_test.py PROGRAM MANUAL

The words of STUDIO_DATA_EMULATOR start a program that was built for another system. Of a program for Windows, what it does on a
terminal and with streams that a shell of POSIX closes is left out.
"""
import json
import os
import re
import shlex
import struct
import subprocess
import sys
import tempfile
import threading

PROGRAM, MANUAL = map(os.path.abspath, sys.argv[1:3])
COMMAND = [*shlex.split(os.environ.get("STUDIO_DATA_EMULATOR", "")), PROGRAM]
IS_WINDOWS = PROGRAM.endswith(".exe")
if not IS_WINDOWS:
    import fcntl
    import pty
    import termios
with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "commands.txt"), encoding="utf-8") as shown:
    DAY = shown.read()   # what --commands prints
FAILED = []

EXPRESSIONS = '{"format":1,"expressions":[{"id":0,"expression":"a"},{"id":1,"expression":"!b.c"}]}'
SESSION = """{"format":1,"contexts":2,"initial":[["set",0,"a",1]],"initialValues":[1,true],
"steps":[{"ops":[["new",1],["set",1,"c",true],["link",0,"b",1]],"changed":[[1,false]]},
         {"ops":[["active",0,["x"]],["set",0,"a",1]],"changed":[]},
         {"ops":[["set",0,"a",null],["del",0,"b"],["drop",1]],"changed":[[0,null],[1,true]]}]}"""


def run(*arguments):
    """Exit code, output and errors of the program; paths are relative to the current folder."""
    done = subprocess.run([*COMMAND, *arguments], capture_output=True, encoding="utf-8", stdin=subprocess.DEVNULL,
                          timeout=120, check=False)
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
    ("session", '"a",1]', '"a",[]]', 's.json: initial[0][3]: expected a logical, a number, a text or null, found array'),
    ("session", '"format":1', '"format":2', 's.json: format: only format 1 is known'),
    ("session", '"format":1,', '', 's.json: top level: "format" is missing'),
    ("session", '"contexts":2', '"contexts":3', 's.json: contexts: there are 2 contexts by the end, the root included'),
    ("session", '"contexts":2', '"contexts":-2', 's.json: contexts: expected a whole number, at least 0, found number -2'),
    ("session", '[1,true]', '[1]', 's.json: initialValues: recorded over 1 expression, but there are 2 expressions'),
    ("session", '["new",1]', '["new",2]', 's.json: steps[0].ops[0][1]: the next new context is number 1'),
    ("session", '["new",1]', '["make",1]', 's.json: steps[0].ops[0][0]: unknown operation "make"'),
    ("session", '["new",1]', '["new"]', 's.json: steps[0].ops[0]: "new" takes 1 argument, not 0'),
    ("session", '["new",1]', '[]', 's.json: steps[0].ops[0]: expected at least 1 item, found 0'),
    ("session", '["new",1]', 'true', 's.json: steps[0].ops[0]: expected a list, found boolean'),
    ("session", '["link",0,"b",1]', '["link",0,"b",7]', 's.json: steps[0].ops[2][3]: context 7 has not been made'),
    ("session", '["del",0,"b"],["drop",1]', '["drop",1],["link",0,"b",1]',
     's.json: steps[2].ops[2][3]: context 1 has been dropped'),
    ("session", '["drop",1]', '["drop",0]', 's.json: steps[2].ops[2][1]: the root stays'),
    ("session", '"c",true', '"c.d",true', 's.json: steps[0].ops[1][2]: the name of a property has no dot'),
    ("session", '["x"]', '[1]', 's.json: steps[1].ops[0][2][0]: expected a text, found number 1'),
    ("session", '"ops":[["new",1]', '"op":[["new",1]', 's.json: steps[0]: unknown key "op"; the keys here are ops, changed'),
    ("session", '{"ops":[["active",0,["x"]],["set",0,"a",1]],', '{', 's.json: steps[1]: "ops" is missing'),
    ("session", '"initialValues"', '"initialvalues"', 's.json: top level: unknown key "initialvalues"; the keys here are'),
    ("session", '"changed":[]', '"changd":[]', 's.json: steps[1]: unknown key "changd"'),
    ("session", '"changed":[]', '"changed":[],"changed":[]', 's.json: steps[1]: the key "changed" stands twice'),
    ("session", '"contexts":2', '"contexts":2,"contexts":2', 's.json: top level: the key "contexts" stands twice'),
    ("session", '"contexts":2', '"contexts":2,"\\u001b[2J\\n":2', 's.json: top level: unknown key " [2J "'),
    ("session", '"contexts":2', '"contexts":2,"seed":"x"', 's.json: seed: expected a whole number'),
    ("session", '"changed":[]', '"changed":[],"during":1', 's.json: steps[1].during: expected a text, found number 1'),
    ("session", '"changed":[]', '"changed":null', 's.json: steps[1].changed: expected a list, found null'),
    ("session", '[0,null]', '[0,null,1]', 's.json: steps[2].changed[0]: an answer is the number of an expression and its'),
    ("session", '"contexts":2,"initial":[', '"contexts":1,"initial":[["new",1],', 's.json: steps[0].ops[0][1]: the next new'),
    ("session", '["new",1],["set",1,"c",true],["link",0,"b",1]', '', 's.json: steps[2].ops[2][1]: context 1 has not been made'),
    ("session", '["set",0,"a",1]', '["set",18446744073709551616,"a",1]',
     's.json: initial[0][1]: expected a whole number, at least 0, found number 1.8446744073709552e+19'),
    ("session", '[[1,false]]', '[[2,false]]', 's.json: steps[0].changed[0][0]: there are 2 expressions, counted from 0'),
    ("session", '[0,null],[1,true]', '[1,true],[0,null]', 's.json: steps[2].changed[1][0]: the expressions of a step stand'),
    ("expressions", '!b.c', '!b.c == 1',
     "e.json: expressions[1].expression: does not parse: 1:6: '!' applies only to what follows it"),
    ("expressions", '"id":1', '"id":2', 'e.json: expressions[1].id: expected 1'),
    ("expressions", '"id":1,', '"id":1,"source":"\\ud800",', 'e.json: line 1, column '),
    ("expressions", EXPRESSIONS, '', 'e.json: line 1, column 1: syntax error'),
    ("expressions", EXPRESSIONS, '[' * 100000, 'e.json: line 1, column 100001: syntax error'),
    ("expressions", '"id":1,', '"id":1,"id":1,', 'e.json: expressions[1]: the key "id" stands twice'),
    ("expressions", '"id":1,', '"id":1,"sauce":"x",', 'e.json: expressions[1]: unknown key "sauce"; the keys here are id,'),
    ("expressions", '"id":1,', '"id":1,"source":2,', 'e.json: expressions[1].source: expected a text, found number 2'),
    ("expressions", '"format":1,', '"format":1,"refused":[{"k":1,"k":2}],', 'e.json: refused[0]: the key "k" stands twice'),
    ("expressions", '"format":1,', '"format":1,"sources":' + '[' * 100000 + ']' * 99999 + ',',
     'e.json: line 1, column 200036: syntax error'),
    ("expressions", ',{"id":1,"expression":"!b.c"}', '', 's.json: initialValues: recorded over 2 expressions, but there is 1 '),
    ("expressions", EXPRESSIONS, EXPRESSIONS[:40], 'e.json: line 1, column 41: syntax error'),
    ("expressions", EXPRESSIONS, EXPRESSIONS + 'x', 'e.json: line 1, column 84: syntax error'),
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


FILES = "expected a file of expressions and at least one session, or neither; found 1 file"
USAGE = [
    (["--nonsense"], "unknown option --nonsense"),
    (["-x", "--check"], "unknown option -x"),
    (["one.json"], FILES),
    (["--", "--check"], FILES),
    (["", ""], "the name of a file is empty"),
    (["e.json", ""], "the name of a file is empty"),
    (["--check", "e.json", "s.json", ""], "the name of a file is empty"),
    (["--save-sample"], "--save-sample needs a folder to write to"),
    (["--save-sample", ""], "--save-sample needs a folder to write to"),
    (["--save-sample", "--force"], "--save-sample needs a folder to write to"),
    (["--save-sample", ".", "--save-sample", "x"], "--save-sample is given twice"),
    (["--save-sample", ".", "e.json", "s.json"], "--save-sample takes no files"),
    (["--check", "--save-sample", "."], "--save-sample does not go with --check"),
    (["--force", "--check"], "--force goes with --save-sample only"),
    (["--policy", "when"], "--policy goes with --check-commands only"),
    (["--policy"], "--policy is either when or enabled"),
    (["--check-commands", "e.json", "s.json"], "--check-commands takes files of rules, menus, a session and answers"),
    (["--check-commands", "--trace"], "--check-commands does not go with --trace"),
    (["--commands", "e.json", "s.json"], "--commands takes no files"),
    (["--commands", "--trace"], "--commands does not go with --trace"),
    (["--explain"], "--explain needs the numbers of an expression and a step, such as 2@10"),
    (["--explain", "1@x"], "--explain needs the numbers of an expression and a step, such as 2@10"),
    (["--explain", "1@2@3"], "--explain needs the numbers of an expression and a step, such as 2@10"),
    (["--explain", "1@1", "--explain", "1@1"], "--explain is given twice"),
    (["--explain", "1@1", "--trace"], "--explain does not go with --trace"),
    (["--explain", "1@1", "--save-sample", "."], "--explain does not go with --save-sample"),
    (["--explain", "1@1", "e.json", "s.json", "s.json"], "--explain takes one session"),
    (["--explain", "2@1", "e.json", "s.json"], "--explain: there are 2 expressions, counted from 0"),
    (["--explain", "1@4", "e.json", "s.json"], "--explain: the session has 3 steps"),
    (["missing.json", "s.json"], "missing.json: cannot be opened: No such file or directory"),
    (["--check", "e.json", "s.json", "missing.json"], "missing.json: cannot be opened: No such file or directory"),
    (["--save-sample", "missing"], "missing/expressions.json: cannot be written: No such file or directory"),
    (["--save-sample", "e.json"], "e.json/expressions.json: cannot be written: "),
] + ([
    ([".", "s.json"], ".: cannot be opened: Is a directory"),
    (["no\nsuch", "s.json"], "no such: cannot be opened: Invalid argument"),
] if IS_WINDOWS else [
    ([".", "s.json"], ".: cannot be read: Is a directory"),
    (["/dev/zero", "s.json"], "/dev/zero: cannot be read: larger than 256 MiB"),
    (["no\nsuch", "s.json"], "no such: cannot be opened: No such file or directory"),
    ([b"\xff\x9b", "s.json"], "\ufffd\ufffd: cannot be opened: No such file or directory"),
])


def usage():
    replay(EXPRESSIONS, SESSION)
    for arguments, line in USAGE:
        code, out, err = run(*arguments)
        expect(str(arguments), code == 2 and out == "" and err.startswith("studio-workbench: " + line)
               and err.count("\n") == 1, f"{code} {out}{err}")
    for step, line in (("0", "!b.c is true\n"), ("1", "!b.c is false\n"), ("3", "!b.c is true\n")):
        code, out, err = run("--explain", "1@" + step, "e.json", "s.json")
        expect("--explain after step " + step, code == 0 and out.startswith(line) and err == "", f"{code} {out}{err}")
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


# What takes the place of texts of SESSION, the exit code of --check, and the end of what it prints. An answer is compared
# wherever one is recorded, and nothing else passes for a comparison.
INITIAL, FIRST, SECOND, THIRD = ('"initialValues":[1,true],', ',"changed":[[1,false]]', ',"changed":[]',
                                 ',"changed":[[0,null],[1,true]]')
RECORDED = [
    ([], 0, "s.json, against the recorded answers: 0 differences in 2 initial values and 3 steps\n"),
    ([(INITIAL, "")], 0, "s.json, against the recorded answers: 0 differences in 3 steps\n"),
    ([(INITIAL, ""), (FIRST, ',"changed":[]')], 1,
     "1 difference in 3 steps\n  step 1, expression 1: expected no change, found true -> false   in !b.c\n"),
    ([(SECOND, "")], 0, ": 0 differences in 2 initial values and 2 of 3 steps\n"),
    ([(INITIAL, ""), (FIRST, ""), (SECOND, "")], 0, ": 0 differences in 1 of 3 steps\n"),
    ([(FIRST, ""), (SECOND, ""), (THIRD, "")], 0, ": 0 differences in 2 initial values and 0 of 3 steps\n"),
    ([(INITIAL, ""), (FIRST, ""), (SECOND, ""), (THIRD, "")], 2,
     "s.json: no recorded answers: --check has nothing to compare; --verify needs none\n"),
]


def differences():
    code, out, err = replay(EXPRESSIONS, SESSION, "--check", "--verify")
    expect("nothing differs", code == 0 and out.count(": 0 differences in 2 initial values and 3 steps") == 2, out + err)
    for old, new, line in DIFFERENT:
        assert SESSION.count(old) == 1, old
        code, out, err = replay(EXPRESSIONS, SESSION.replace(old, new), "--check", "--quiet")
        expect(f"{old} -> {new}", code == 1 and err == "" and out == "\ns.json, against the recorded answers: 1 difference "
               f"in 2 initial values and 3 steps\n  {line}\n", f"{code} {out}{err}")
    for changes, wanted, end in RECORDED:
        session = SESSION
        for old, new in changes:
            assert session.count(old) == 1, old
            session = session.replace(old, new)
        code, out, err = replay(EXPRESSIONS, session, "--check")
        expect(f"recorded: {changes}", code == wanted and (out + err).endswith(end), f"{code} {out}{err}")
    code, out, err = replay('{"format":1,"expressions":[]}', SESSION.replace("[0,null],[1,true]", "").replace("[1,true]", "[]")
                            .replace("[1,false]", ""), "--check")
    expect("nothing to compare without expressions", code == 2 and "no recorded answers" in err, f"{code} {out}{err}")
    code, out, err = replay(EXPRESSIONS, SESSION, "--trace")
    trace = [re.sub(r", [^)]*\)", ")", line) for line in out.split("\n\n")[1].splitlines()]
    expect("--trace", code == 0 and trace == [
        "step 1  (3 operations)", "      1  true -> false   in !b.c",
        "step 2  (2 operations): silent",
        "step 3  (3 operations)", "      0  1 -> undefined   in a", "      1  false -> true   in !b.c"], out)


# Sessions after one file of expressions, the exit code of --check --quiet, and what it prints last.
SEVERAL = [
    (["s.json", "s.json", "s.json"], 0, ""),
    (["bad.json", "s.json"], 1, "\n2 sessions: 1 without differences, 1 with: bad.json\n"),
    (["s.json", "s.json", "bad.json"], 1, "\n3 sessions: 2 without differences, 1 with: bad.json\n"),
    (["bad.json", "s.json", "bad.json"], 1, "\n3 sessions: 1 without differences, 2 with: bad.json, bad.json\n"),
    (["bad.json", "silent.json"], 2, "silent.json: no recorded answers: --check has nothing to compare; --verify needs none\n"),
    (["bad.json", "e.json"], 2, "e.json: expressions: expected a text, found array\n"),
]


def several():
    silent = SESSION.replace(INITIAL, "").replace(FIRST, "").replace(SECOND, "").replace(THIRD, "")
    for name, text in (("bad.json", SESSION.replace("[[1,false]]", "[]")), ("silent.json", silent)):
        with open(name, "w", encoding="utf-8") as file:
            file.write(text)
    replay(EXPRESSIONS, SESSION)
    for sessions, wanted, end in SEVERAL:
        code, out, err = run("--quiet", "e.json", *sessions, "--check")
        expect(f"several: {sessions}", code == wanted and (out + err).endswith(end) and (end or not out + err)
               and (wanted != 1 or out.count("bad.json, against the recorded answers: 1 difference") ==
                    sessions.count("bad.json")), f"{code} {out}{err}")
    out = run("--check", "e.json", "s.json", "s.json")[1]
    expect("several, in words", out.endswith("\n2 sessions: 2 without differences, 0 with\n"), out)


def on_terminal(*arguments, columns=0, answer="", **variables):
    """Exit code and output of the program on a terminal so many columns wide; `answer` is what is typed."""
    terminal, own = pty.openpty()
    fcntl.ioctl(own, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
    os.write(terminal, answer.encode())
    out = bytearray()

    def read():
        while not out.endswith(b"\0"):
            out.extend(os.read(terminal, 65536))

    reader = threading.Thread(target=read, daemon=True)
    reader.start()
    environment = {name: value for name, value in os.environ.items() if name != "COLUMNS"}
    code = subprocess.run([*COMMAND, *arguments], stdin=own, stdout=own, stderr=own, env={**environment, **variables},
                          check=False).returncode
    # Some systems drop what has not been read when the last process closes the terminal. So it stays open here, and a
    # null byte marks the end.
    os.write(own, b"\0")
    reader.join()
    os.close(own)
    os.close(terminal)
    return code, out[:-1].decode().replace("\r\n", "\n")


# Of the terminal: its columns and the variable COLUMNS; then the line that --trace shows of a change of an expression.
# Its characters take two columns each.
WIDE = "\u6f22" * 40
WIDTHS = [
    (60, {}, f'      0  undefined -> "{WIDE[:17]}...'),
    (62, {}, f'      0  undefined -> "{WIDE[:18]}...'),
    (60, {"COLUMNS": "30"}, f'      0  undefined -> "{WIDE[:2]}...'),
    (60, {"COLUMNS": "0"}, f'      0  undefined -> "{WIDE[:17]}...'),
    (60, {"COLUMNS": "a lot"}, f'      0  undefined -> "{WIDE[:17]}...'),
    (2, {}, ".."),
    (120, {}, f'      0  undefined -> "{WIDE[:34]}...   in a'),
    (0, {}, f'      0  undefined -> "{WIDE}"   in a'),
]


def terminals():
    session = ('{"format":1,"contexts":1,"initial":[],"steps":[{"during":"%s","ops":[["set",0,"a","%s"]]}]}' %
               ("\u00e9" * 90, WIDE))
    out = replay(EXPRESSIONS, session, "--trace")[1].splitlines()
    expect("nothing is cut in a pipe", out[2].startswith("step 1  " + "\u00e9" * 90 + "  (1 operation, ") and
           out[3] == f'      0  undefined -> "{WIDE}"   in a', out)
    for columns, variables, line in [] if IS_WINDOWS else WIDTHS:
        code, out = on_terminal("--trace", "e.json", "s.json", columns=columns, **variables)
        expect(f"cut to {columns} columns, {variables}", code == 0 and out.splitlines()[3] == line, out)


def overwriting():
    """--save-sample where files stand: refused, confirmed or forced, and whole or not at all."""
    os.mkdir("saved")
    names = ["saved/expressions.json", "saved/session.json"]
    there = "saved/session.json: already there"

    def content():
        found = []
        for name in filter(os.path.exists, names):
            with open(name, encoding="utf-8") as file:
                found.append(file.read())
        return found

    for case, answer, options, wanted, told, written in [   # without an answer there is no terminal
            ("no terminal", None, [], 2, there + "; --force overwrites\n", False),
            ("no", "n\n", [], 2, "nothing was written\n", False),
            ("only Return", "\n", [], 2, "nothing was written\n", False),
            ("end of input", "\x04", [], 2, "nothing was written\n", False),
            ("yes", "y\n", [], 0, there + "; overwrite? [y/N] ", True),
            ("--force", None, ["--force"], 0, "", True)]:
        if IS_WINDOWS and answer is not None:
            continue
        for name in names:
            if os.path.exists(name):
                os.remove(name)
        with open(names[1], "w", encoding="utf-8") as file:
            file.write("mine")
        arguments = [*options, "--save-sample", "saved"]
        code, *out = run(*arguments) if answer is None else on_terminal(*arguments, answer=answer)
        expect(f"overwriting, {case}", code == wanted and told in "".join(out) and
               (len(content()) == 2 and "mine" not in content() if written else content() == ["mine"]), f"{code} {out}")
    os.remove(names[1])
    os.mkdir(names[1])
    with open(names[0], "w", encoding="utf-8") as file:
        file.write("mine")
    code, out, err = run("--save-sample", "saved", "--force")
    with open(names[0], encoding="utf-8") as file:
        expect("a folder in the place of a file", code == 2 and "saved/session.json: cannot be written" in err and
               file.read() == "mine" and len(os.listdir("saved")) == 2, f"{code} {out}{err}")


# An editor's rules, menus and a session with recorded answers.
COMMANDS = {
    "r.json": """{"format":1,"rules":[
{"id":0,"sequence":"ctrl+k","command":"one","weight":0,"source":"maker"},
{"id":1,"sequence":"ctrl+k ctrl+s","command":"two","when":"a","weight":5,"source":"maker"},
{"id":2,"sequence":"f1","command":"two","when":"a && b","weight":5,"source":"maker"},
{"id":3,"sequence":null,"command":"-two","when":"b","weight":9,"source":"user","removes":[2],"by":"implied condition"}]}""",
    "m.json": """{"format":1,"commands":[{"id":0,"command":"one","title":"One {1}","enabled":"!b"},
{"id":1,"command":"two","title":"Two","checked":"a"}],"entries":[{"id":0,"menu":"more","command":0},
{"id":1,"menu":"all","command":1,"when":"b"},{"id":2,"menu":"all","submenu":"more","when":"a"}]}""",
    "s.json": """{"format":1,"contexts":1,"initial":[["set",0,"a",true]],"initialValues":[1],
"steps":[{"ops":[["set",0,"b",true],["set",0,"a",null]],"changed":[]},{"ops":[]}]}""",
    "a.json": """{"format":1,"sequences":[{"sequence":"ctrl+k","candidates":[0,1]},{"sequence":"f1","candidates":[]}],
"shown":["all"],"initial":{"keys":[[0,"pending"],[1,"none"]],"menus":[[0,[2],[],[]]],
"commands":[[0,true,null],[1,true,true]]},
"steps":[{"keys":[[0,0,"none"]],"menus":[[0,[1],[],[]]],"commands":[[0,false,null],[1,true,false]]},{}]}""",
}
# A file, a text in it, what takes its place, the exit code and the last line.
COMMANDS_CHANGED = [
    ("a.json", "", "", 0, "a.json, --policy enabled: 0 differences in 6 verdicts on keys, 3 menus and 6 states of commands over 2 steps\n"),
    ("a.json", '[1,"none"]', '[1,2]', 1, "step 2, f1: expected rule 2, found none\n"),
    ("a.json", '[0,0,"none"]', '[0,0]', 1, "step 2, ctrl+k: expected rule 0, found none\n"),
    ("a.json", '[0,[2],[],[]]', '[0,[2],[2],[]]', 1, "at the start, all, disabled: expected [2], found []\n"),
    ("a.json", '{}]', '{"menus":[[0,[1],[],[1]]]}]', 1, "step 2, all, checked: expected [1], found []\n"),
    ("a.json", '[1,true,false]', '[1,false,null]', 1, "step 2, two: expected disabled, found enabled, not checked\n"),
    ("a.json", '"candidates":[]', '"candidates":[2]', 1, "at the start, candidates of f1: expected [2], found []\n"),
    ("r.json", '[2]', '[1,2]', 1, "at the start, rules that rule 3 removes: expected [1, 2], found [2]\n"),
    ("r.json", '"weight":9', '"weight":1.5', 2, "r.json: rules[3].weight: expected a whole number of 31 bits\n"),
    ("r.json", '"f1"', '"f99"', 2, 'rule "f99" of "two", keys: column 1: unknown key "f99"; did you mean "f9"?\n'),
    ("r.json", '"id":1', '"id":2', 2, "r.json: rules[1].id: expected 1: items stand in the order of their numbers\n"),
    ("m.json", '"command":0', '"command":7', 2, "m.json: entries[0].command: expected a number below 2\n"),
    ("a.json", ',{}]', ']', 2, "a.json: steps: recorded over 1 step, but the session has 2\n"),
    ("a.json", '[1,true,true]', '[1,0,true]', 2, "a.json: initial.commands[1][1]: expected a logical\n"),
]


def commands():
    for name, old, new, wanted, last in COMMANDS_CHANGED:
        for file, text in COMMANDS.items():
            with open(file, "w", encoding="utf-8") as written:
                written.write(text.replace(old, new, 1) if file == name else text)
        code, out, err = run("--check-commands", *COMMANDS)
        expect(f"--check-commands, {old} -> {new}", code == wanted and (out + err).endswith(last), f"{code} {out}{err}")


def commands_day():
    """Menus and keys over the sample: exactly, without control characters, and whole at any width."""
    code, out, err = run("--commands")
    expect("--commands", (code, out, err) == (0, DAY, ""), out + err)
    for columns in () if IS_WINDOWS else (30, 200):
        out = on_terminal("--commands", columns=columns)[1]
        expect(f"--commands on {columns} columns", out.split() == DAY.split() and "\x1b" not in out and
               max(map(len, out.splitlines())) <= min(columns, 80), out)
    out, brief = run()[1], DAY.split("\n\n")
    expect("the last screen of the sample", out.endswith("\n\n" + brief[4] + "\n\n" + brief[-1]), out)


# A shell's command line, and what it prints: the exit code, after the errors.
BROKEN = "studio-workbench: the output cannot be written: "
OUTPUTS = [
    ('"$P" >/dev/full; echo $?', BROKEN + "No space left on device\n2\n"),
    ('"$P" --help >/dev/full; echo $?', BROKEN + "No space left on device\n2\n"),
    ('"$P" --trace >&-; echo $?', BROKEN + "Bad file descriptor\n2\n"),
    ('"$P" --check e.json s.json <&- >&- 2>&-; echo $?', "2\n"),
    ('"$P" --check --quiet e.json s.json <&- >&- 2>&-; echo $?', "0\n"),
    ('("$P" --trace; echo $? >&2) | true', BROKEN + "Broken pipe\n2\n"),
    ('mkdir full; ulimit -f 1; "$P" --save-sample full; echo $?; ls full',
     "studio-workbench: full/expressions.json: cannot be written: File too large\n2\n"),
]


def outputs():
    replay(EXPRESSIONS, SESSION)
    for line, wanted in OUTPUTS:
        done = subprocess.run(["sh", "-c", line.replace('"$P"', shlex.join(COMMAND))], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False, timeout=120)
        expect(line, done.stdout == wanted, done.stdout)


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
    several()
    commands()
    commands_day()
    terminals()
    overwriting()
    if not IS_WINDOWS:
        outputs()
    sample()
    os.chdir("/")
sys.exit(1 if FAILED else 0)
