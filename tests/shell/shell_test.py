"""studio-shell from outside: its transcripts, its files, its JSON, its terminal and its manual.

Usage: shell_test.py PROGRAM MANUAL TRANSCRIPTS_FOLDER [--write]

A transcript is a text file. A line `$ ARGUMENTS` begins a run of the program, with --echo, a line `studio> COMMAND`
is a command on its standard input. What follows is the output, answers and errors. In it `<*>` stands for any text within a
line, and a line `...` for any lines. Lines that begin with `##` are remarks, in front of a run. A last line `[N]` is the exit code if it is not 0. --write writes the present output
of runs that differ into the transcripts. The words of STUDIO_DATA_EMULATOR start a program that was built for another system.
"""
import glob
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile

PROGRAM, MANUAL, FOLDER = map(os.path.abspath, sys.argv[1:4])
COMMAND = [*shlex.split(os.environ.get("STUDIO_DATA_EMULATOR", "")), PROGRAM]
IS_WINDOWS = PROGRAM.endswith(".exe")
with open(PROGRAM, "rb") as file:
    HAS_LINE_EDITOR = b"libedit" in file.read()   # what it links is named in it
if HAS_LINE_EDITOR:
    import pty
FAILED = []


def expect(case, condition, shown=""):
    if not condition:
        FAILED.append(case)
        print(f"FAILED {case}\n{shown}")


def run(*arguments, script=None):
    """Exit code and output, with the errors at their places; paths are relative to the current folder."""
    done = subprocess.run([*COMMAND, *arguments], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=300,
                          input=(script or "").encode())
    return done.returncode, done.stdout.decode("utf-8", "replace")


def pattern_of(expected):
    parts = []
    for line in expected.splitlines():
        if line == "...":
            parts.append(r"(?:.*\n)*?")
        else:
            parts.append("[^\n]*".join(map(re.escape, line.split("<*>"))) + r"\n")
    return "".join(parts)


def check_transcript(file):
    with open(file, encoding="utf-8") as stream:
        text = stream.read()
    head, *runs = re.split(r"(?m)^\$ studio-shell", text)
    result = head
    for each in runs:
        first, _, expected = each.partition("\n")
        expected, _, remark = expected.partition("\n## ")
        script = "".join(line[8:] + "\n" for line in expected.splitlines() if line.startswith("studio> "))
        code, output = run(*shlex.split(first), "--echo", script=script)
        output += f"[{code}]\n" if code else ""
        matches = re.fullmatch(pattern_of(expected.rstrip("\n") + "\n"), output)
        result += "$ studio-shell" + first + "\n" + (expected.rstrip("\n") if matches else output.rstrip("\n")) + "\n\n"
        result += "## " + remark if remark else ""
        if "--write" not in sys.argv:
            expect(f"{os.path.basename(file)}: studio-shell{first}", matches, output)
    if "--write" in sys.argv and result != text:
        with open(file, "w", encoding="utf-8") as stream:
            stream.write(re.sub(r"[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}", "<*>", result.rstrip("\n")) + "\n")


def check_files():
    """Files that are there stay, those that cannot be used are named, and a report needs nothing else."""
    expressions = '{"format":1,"expressions":[{"id":0,"expression":"a > 1","source":"Big"}]}'
    session = '{"format":1,"contexts":1,"initial":[["set",0,"a",1]],"steps":[{"ops":[["set",0,"a",2]]}]}'
    for name, text in (("e.json", expressions), ("s.json", session), ("cut.json", session[:60]), ("there", "kept"),
                       ("lines", "show 1\r\nshow 'a'\r\n")):
        with open(name, "w", encoding="utf-8", newline="") as file:
            file.write(text)
    for arguments, wanted, message in [
            (("e.json", "cut.json"), 3, "cut.json: line 1, column 61"),
            (("e.json", "none.json"), 3, "none.json: cannot be opened"),
            (("--script", "none"), 3, "none: cannot be read"),
            (("--script", "."), 3, ".: cannot be read"),
            (("--script", ""), 2, "--script: the name of the file is empty"),
            *([] if IS_WINDOWS else [(("--script", "/dev/zero"), 1, "/dev/zero:1: ")]),
            (("--echo", "--script", "lines"), 0, "studio> show 1\n1\nstudio> show 'a'\n"),
            (("e.json", "s.json", "-c", "save there"), 3, "there: cannot be written: it is already there"),
            (("e.json", "s.json", "-c", "trace there"), 3, "there: cannot be written: it is already there"),
            (("e.json", "s.json", "-c", "save no/where"), 3, "no/where: cannot be written"),
            (("e.json", "s.json", "-c", "load e.json cut.json"), 3, "cut.json: line 1"),
            (("e.json", "s.json", "-c", "step", "-c", "show Big"), 0, "true\n"),
            (("-c", 'load "e.json" s.json', "-c", "why Big"), 0, ""),
            (("e.json",), 2, "expected a file of expressions and a session"),
            (("--sample", "e.json", "s.json"), 2, "--sample takes no files"),
            (("--smple",), 2, "--smple"),
            (("a", "b", "c"), 2, "see --help")]:
        code, output = run(*arguments)
        expect(f"exit code of {arguments}", code == wanted and message in output, f"{code} {output}")
    with open("there", encoding="utf-8") as file:
        expect("a file that is there stays", file.read() == "kept")
    code, output = run("e.json", "s.json", "-c", "step", "-c", "save new.html", "-c", "save there", "-c", "trace t.json", "--force")
    with open("there", encoding="utf-8") as file:
        expect("--force overwrites", code == 0 and "<html" in file.read(), output)
    with open("t.json", encoding="utf-8") as file:
        expect("a trace is JSON", json.load(file) is not None)
    code, output = run("e.json", "s.json", script="x" * 70_000 + "\nshow 1\n")
    expect("a long line", code == 1 and "longer than 65,536 bytes" in output and len(output) < 200, output[:300])
    steps = [op for i in range(1, 1000) for op in (["new", i], ["link", i - 1, "next_context", i])]
    with open("chain.json", "w", encoding="utf-8") as file:
        json.dump({"format": 1, "contexts": 1000, "initial": steps, "steps": []}, file)
    code, output = run("e.json", "chain.json", "-c", "list", "-c", "save chain.html")
    expect("paths of a chain are bounded", code == 0 and "longer than 4,096 bytes are left out" in output
           and len(output) < 1_000_000 and os.path.getsize("chain.html") < 2_000_000, output[-300:])
    code, output = run("--keep-going", script="show '\x1b[2J\x07\x00'\nshow '\udcff'\n".encode("utf-8", "surrogateescape").decode("latin1"))
    expect("no control character is printed", not re.search(r"[\x00-\x09\x0b-\x1f\x7f-\x9f]", output), repr(output))


def check_json():
    script = "make a\nset a.x 'q\"'\nwatch a.x\nset a.x 2\nshow a.x +\nshow a.x\nexplain a.x > 1\nflip a.x > 1\nflip a.y\nset a.z undefined\nflip a.z\nlist\n\n# no\nbatch\n"
    code, output = run("--json", "--keep-going", script=script)
    answers = [json.loads(line) for line in output.splitlines()]
    expect("--json has an object a command, and one for the batch that ended with the input",
           code == 1 and len(answers) == 14 and all(("result" in each) != ("error" in each) for each in answers), output)
    expect("--json", answers[3]["changes"] == [{"text": "a.x", "before": 'q"', "after": 2.0}]
           and "column" in answers[4]["error"] and answers[5] == {"command": "show a.x", "result": 2.0}
           and answers[6]["result"]["value"] is True
           and answers[7]["result"][0] == [{"path": "a.x", "before": 2.0, "after": 1.0}]
           and answers[8]["result"][0] == [{"path": "a.y", "after": True}]
           and answers[10]["result"][0] == [{"path": "a.z", "before": None, "after": True}]
           and "batch" in answers[13]["error"], output)


def check_terminal():
    """On a terminal, the tabulator completes verbs, labels and paths, and an error does not end the session."""
    master, slave = pty.openpty()
    process = subprocess.Popen([*COMMAND, "--sample"], stdin=slave, stdout=slave, stderr=slave, close_fds=True,
                               # Without the search for leaks: libedit keeps copies of its history's lines.
                               env=dict(os.environ, TERM="xterm", LC_ALL="C.UTF-8", ASAN_OPTIONS="detect_leaks=0"))
    os.close(slave)
    os.write(master, b"step 9\rnonsense\rexpl\twindow.the\t== 'x'\rshow File > Sav\t As\rshow window.mo\t\rquit\r")
    output = b""
    while True:
        try:
            piece = os.read(master, 65536)
        except OSError:   # the other end is closed
            break
        if not piece:
            break
        output += piece
    os.close(master)
    text = re.sub(r"\x1b\[[0-9;?]*[A-Za-z]|\x08.?", "", output.decode("utf-8", "replace"))
    expect("a terminal", process.wait(60) == 0 and "unknown verb" in text and "window.theme" in text
           and "step 9 of 457" in text, text)


def check_readme():
    """The transcript in the readme is the first one of the sample."""
    with open(os.path.join(FOLDER, "sample.txt"), encoding="utf-8") as file:
        wanted = file.read().split("$ studio-shell --sample\n")[1].split("\n## ")[0].strip()
    with open(os.path.join(FOLDER, "..", "..", "README.md"), encoding="utf-8") as file:
        expect("the readme shows the first transcript of the sample", f"```\n{wanted}\n```" in file.read())


def check_manual():
    with open(MANUAL, encoding="utf-8") as file:
        manual = file.read().replace("\\-", "-")
    _, usage = run("--help")
    options, codes = r"(?<![\w-])--?[a-z][a-z-]*", r"^(?:  |\.B )([0-9])\b"
    for what, pattern in (("options", options), ("exit codes", codes)):
        told, written = (set(re.findall(pattern, text, re.MULTILINE)) for text in (usage, manual))
        expect(f"--help and the manual name the same {what}", told == written and told, told ^ written)
    _, table = run("-c", "help")
    told = re.findall(r"(?m)^  (\w+) ?(.*?)  ", table)
    written = re.findall(r'(?m)^\.TP\n\.BI? "?(\w+)(?:\\  ?)?(.*?)"?$', manual)
    verbs = [name for name, _ in told]
    expect("the manual has each verb", verbs == [name for name, _ in written if name in verbs] and len(verbs) > 20,
           f"{verbs}\n{written}")


for transcript in sorted(glob.glob(os.path.join(FOLDER, "*.txt"))):
    check_transcript(transcript)
with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    check_files()
    check_json()
    if HAS_LINE_EDITOR:
        check_terminal()
    check_readme()
    check_manual()
    os.chdir("/")
sys.exit(f"{len(FAILED)} failed" if FAILED else 0)
