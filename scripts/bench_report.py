#!/usr/bin/env python3
"""Evaluates the figures of scripts/bench: lines of workload, peer, metric and value, separated by tabs.

Usage: bench_report.py counts DUMP...             the figures in dumps of callgrind
       bench_report.py table FIGURES TARGETS      a readable table, which marks missed limits
       bench_report.py gate FIGURES LIMITS        exit code 1 if instructions exceed a limit
       bench_report.py renew FIGURES LIMITS       writes the limits
       bench_report.py corpus WORKBENCH FOLDER    replays the sessions in a folder and prints a table
"""
import json
import math
import os
import re
import statistics
import subprocess
import sys

HERE, BASELINE = "studio_data", "baseline"
MARGIN = 1.1
RECORDED = "W11-recorded-session"   # is there only where the recorded session is
NOTHING = 1e-4   # allocations per operation: a table that grows now and then is not one


def read_figures(path):
    """{(workload, metric, peer): value}, in order."""
    figures = {}
    with open(path, encoding="utf-8") as lines:
        for line in lines:
            workload, peer, metric, value = line.rstrip("\n").split("\t")
            figures[workload, metric, peer] = float(value)
    return figures


def read_words(path):
    with open(path, encoding="utf-8") as lines:
        return [words for words in (line.split("#")[0].split() for line in lines) if words]


def workloads_of(figures):
    """In the order of their numbers, whatever order they ran in."""
    names = dict.fromkeys(workload for workload, _, _ in figures)
    return sorted(names, key=lambda name: int(re.match(r"W(\d+)", name)[1]))


def counts(dumps):
    for dump in dumps:
        with open(dump, encoding="utf-8") as file:
            text = file.read()
        reason = re.search(r"^desc: Trigger: Client Request: (.+)\t(.+)\t(.+)$", text, re.M)
        if reason:
            total = int(re.search(r"^(?:totals|summary): (\d+)", text, re.M)[1])
            print(f"{reason[1]}\t{reason[2]}\tir\t{total / float(reason[3]):.5g}")


# ---- the table


def shown(value, unit=""):
    if value is None:
        return ""
    digits = 0 if value >= 100 or value == round(value) else 1 if value >= 10 else 2
    return f"{value:,.{digits}f}{unit}"


class Target:
    def __init__(self, workload, metric, against, must, aim):
        self.workload, self.metric, self.against = workload, metric, against
        self.must, self.aim = float(must), float(aim)

    def value(self, figures):
        """What is held to the target: a ratio, or the figure itself; None if it was not measured."""
        mine = figures.get((self.workload, self.metric, HERE))
        other = {"baseline": (self.workload, self.metric, BASELINE), "-": None}.get(self.against, (self.against, self.metric, HERE))
        if mine is None or other is None:
            return mine
        return mine / figures[other] if other in figures else None

    def verdict(self, value):
        slack = NOTHING if self.metric == "alloc" else 0
        return "ahead" if value <= self.aim + slack else "" if value <= self.must + slack else "MISSED"


def table(figures, targets):
    targets = [Target(*words) for words in targets]
    rows = [["", "baseline ns", "ns", "ratio", "must", "aim", "", "baseline instr", "instr", "ratio", "alloc", "bytes"]]
    missed = []

    def judged(target):
        value = target.value(figures)
        verdict = target.verdict(value)
        if verdict == "MISSED":
            missed.append(f"{target.workload} {target.metric}")
        unit = "x" if target.against != "-" else " ns" if target.metric == "ns" else ""
        return shown(value, unit), shown(target.must, unit), shown(target.aim, unit), verdict

    for name in workloads_of(figures):
        mine = [target for target in targets if target.workload == name and target.value(figures) is not None]
        figure = lambda metric, peer, name=name: figures.get((name, metric, peer))
        ratio = lambda metric: (figure(metric, HERE) / figure(metric, BASELINE)
                                if figure(metric, HERE) and figure(metric, BASELINE) else None)
        row = [name, shown(figure("ns", BASELINE)), shown(figure("ns", HERE)), shown(ratio("ns"), "x"), "", "", "",
               shown(figure("ir", BASELINE)), shown(figure("ir", HERE)), shown(ratio("ir"), "x"),
               shown(figure("alloc", HERE)), shown(figure("bytes", HERE))]
        rows.append(row)
        for target in mine:
            value, must, aim, verdict = judged(target)
            if target.metric == "alloc":
                row[10] += " MISSED" if verdict == "MISSED" else ""
            elif target.against in ("baseline", "-"):
                row[4:7] = must, aim, verdict
            else:
                counted = ", instr" if target.metric == "ir" else ""
                rows.append([f"  beside {target.against}{counted}", "", "", value, must, aim, verdict] + [""] * 5)
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    for row in rows:
        cells = [cell.ljust(width) if column in (0, 6) else cell.rjust(width)
                 for column, (cell, width) in enumerate(zip(row, widths))]
        print("  ".join(cells).rstrip())
    print("\n" + ("missed: " + ", ".join(dict.fromkeys(missed)) if missed else "everything that must hold does"))


# ---- the gate


def ratios(figures):
    """Instructions as a multiple of the baseline's; of the baseline's W1 for a workload without a baseline."""
    for name in workloads_of(figures):
        by_hand = figures.get((name, "ir", BASELINE), figures["W1", "ir", BASELINE])
        yield name, figures[name, "ir", HERE] / by_hand


def gate(figures, path):
    limits = {name: float(limit) for name, limit in read_words(path)}
    measured = dict(ratios(figures))
    wrong = [f"{name} executes {measured[name]:.2f} times the instructions of the baseline; at most "
             f"{limits[name]:.2f} are allowed" for name in measured if name in limits and measured[name] > limits[name]]
    wrong += [f"{name} is only in {where}" for name in sorted((measured.keys() ^ limits.keys()) - {RECORDED})
              for where in [path if name in limits else "the measurement"]]
    if wrong:
        print("\n".join(wrong))
        print("If the change is worth that cost, `scripts/bench --renew` writes new limits; give the reason in the commit.")
        return 1
    print(f"{len(measured)} workloads within their limits")
    return 0


def renew(figures, path):
    measured = dict(ratios(figures))
    kept = [limit for name, limit in read_words(path) if name == RECORDED and name not in measured]
    with open(path, "w", encoding="utf-8") as file:
        file.write("# Instructions, at most, as a multiple of those of the same steps by hand (of W1 by hand where there "
                   "are none):\n# 10 % above what was measured. Written by `scripts/bench --renew`, held by "
                   "`scripts/bench --gate`.\n")
        for name, ratio in measured.items():
            file.write(f"{name:<21}{math.ceil(ratio * MARGIN * 100) / 100:.2f}\n")
        for limit in kept:
            file.write(f"{RECORDED:<21}{limit}\n")
    return 0


# ---- recorded sessions

SECONDS = {"s": 1, "ms": 1e-3, "µs": 1e-6, "ns": 1e-9}
TIME = r"([\d.]+) (s|ms|µs|ns)"


def replay(workbench, expressions, session):
    """(everything evaluated at each step, all steps here, median step, 90th percentile), seconds, of one run."""
    printed = subprocess.run([workbench, "--verify", expressions, session], capture_output=True, encoding="utf-8", check=False)
    if printed.returncode != 0:
        sys.exit(printed.stdout + printed.stderr)
    patterns = (rf"evaluations in {TIME}", rf"all steps here took {TIME}", rf"median {TIME}", rf"90 % within {TIME}")
    found = (re.search(pattern, printed.stdout) for pattern in patterns)
    return [float(match[1]) * SECONDS[match[2]] for match in found]


def changed_properties(session):
    with open(session, encoding="utf-8") as file:
        steps = json.load(file)["steps"]
    sizes = sorted(sum(op[0] in ("set", "link", "del") for op in step["ops"]) for step in steps)
    return statistics.median(sizes), sizes[math.ceil(0.9 * len(sizes)) - 1]


def corpus(workbench, folder):
    def expressions_of(name):
        return os.path.join(folder, name.split("-")[0] + "-expressions.json")

    sessions = sorted(name for name in os.listdir(folder)
                      if "session" in name and name.endswith(".json") and os.path.exists(expressions_of(name)))
    if not sessions:
        sys.exit(f"{folder}: no sessions")
    print(f"{'session':<28}{'everything':>12}{'here':>10}{'share':>9}{'median step':>13}{'90 % within':>13}   properties in it")
    missed = False
    for name in sessions:
        expressions = expressions_of(name)
        session = os.path.join(folder, name)
        runs = [replay(workbench, expressions, session) for _ in range(5)]
        everything, here, median, most = (min(figures) for figures in zip(*runs))
        share = here / everything
        sizes = changed_properties(session)
        late = share > 0.1 or most > 100e-6
        missed |= late
        print(f"{name:<28}{everything * 1e3:>9.1f} ms{here * 1e3:>7.1f} ms{share:>8.1%}{median * 1e6:>10.1f} µs"
              f"{most * 1e6:>10.1f} µs   {sizes[0]:g}, {sizes[1]:g}{'   MISSED' if late else ''}")
    print("\nThe share must stay below 10 %, nine steps of ten within 100 µs.")
    return 1 if missed else 0


def main(arguments):
    command, *rest = arguments
    if command == "counts":
        return counts(rest)
    if command == "corpus":
        return corpus(*rest)
    figures = read_figures(rest[0])
    if command == "table":
        return table(figures, read_words(rest[1]))
    return {"gate": gate, "renew": renew}[command](figures, rest[1])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
