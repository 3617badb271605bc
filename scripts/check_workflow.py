#!/usr/bin/env python3
"""Checks the workflow of the hosted runs: .github/workflows/ci.yml.

Usage: check_workflow.py [ROOT]. Prints a line for each thing that is wrong; exit code 1 if anything is, 77 without PyYAML.
- Every job runs one script of the tree, on one line; it can be executed and knows the part that it is to run.
- Every job, each entry of a matrix by itself, is named in the column "Job" of a table in docs/platforms.md, and each name
  there is a job.
"""
import os
import re
import sys

try:
    import yaml
except ImportError:
    print("PyYAML is not there")
    sys.exit(77)

sys.dont_write_bytecode = True   # of check_docs.py
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from check_docs import codes, rows   # noqa: E402


def entries(matrix):
    """The values of a matrix for each job that it makes."""
    if "include" in matrix:
        return matrix["include"]
    (name, values), = matrix.items()
    return [{name: value} for value in values]


def expanded(text, entry):
    return re.sub(r"\$\{\{ matrix\.(\w+) \}\}", lambda match: str(entry[match.group(1)]), text)


def knows(script, part):
    """Whether a script names a part, as a function or as a case."""
    with open(script, encoding="utf-8") as file:
        return re.search(rf"(?<![\w-]){re.escape(part)}(?![\w-])", file.read()) is not None


def check_run(root, job, run):
    words = run.replace("\\", "/").split()
    script = os.path.join(root, words[0])
    if "\n" in run.strip() or not re.fullmatch(r"scripts/[\w./ +-]+", " ".join(words)):
        yield f"{job}: runs more than one script: {run!r}"
    elif not os.path.isfile(script):
        yield f"{job}: there is no {words[0]}"
    elif not os.access(script, os.X_OK):
        yield f"{job}: {words[0]} cannot be executed"
    else:
        for part in words[1:]:
            if not knows(script, part):
                yield f"{job}: {words[0]} does not name {part}"


def check(root):
    with open(os.path.join(root, ".github", "workflows", "ci.yml"), encoding="utf-8") as file:
        workflow = yaml.safe_load(file)
    names = []
    for key, job in workflow["jobs"].items():
        runs = [step["run"] for step in job["steps"] if "run" in step]
        if len(runs) != 1:
            yield f"{key}: runs {len(runs)} scripts"
        for entry in entries(job.get("strategy", {}).get("matrix", {"include": [{}]})):
            names.append(expanded(job["name"], entry))
            for run in runs:
                yield from check_run(root, names[-1], expanded(run, entry))

    page = os.path.join(root, "docs", "platforms.md")
    if not os.path.isfile(page):
        yield "there is no docs/platforms.md"
        return
    with open(page, encoding="utf-8") as file:
        listed = [code for _, row in rows(file.read().splitlines()) for code in codes(row.get("Job", ""))]
    for name in sorted(set(names) - set(listed)):
        yield f"docs/platforms.md: no row has the job `{name}`"
    for name in sorted(set(listed) - set(names)):
        yield f"docs/platforms.md: no job is called `{name}`"


if __name__ == "__main__":
    wrong = list(check(sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")))
    print("\n".join(wrong) or "every job runs a script that is there")
    sys.exit(1 if wrong else 0)
