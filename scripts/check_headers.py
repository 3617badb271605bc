#!/usr/bin/env python3
"""Holds the public headers to what their users may expect of them.

Usage: check_headers.py [--renew] HEADERS COMPILER [FLAGS...]. HEADERS is a file with one header a line, named as users
include them; the flags say where they are. Prints a line for each thing that is wrong; exit code 1 if anything is.
- No header brings more lines, preprocessed, than tests/install/headers.txt grants it, and a twentieth. What the
  compiler's own library brings differs: the first row there tells how much it was, and everything is measured against
  it.
- None brings a header that HEAVY names, however deep below it.
- All compile where Qt's keywords are macros, and none uses one of those words.
- All compile where `min` and `max` are macros, and after windows.h where there is one.
- A Boost that aligns UUIDs differently is refused with the reason.
With --renew it writes the grants anew from what is measured.
"""
import concurrent.futures
import os
import re
import subprocess
import sys
import tempfile

GRANTS = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "tests", "install", "headers.txt")
STANDARD = "<standard>"
STANDARD_HEADERS = ("functional", "memory", "string", "unordered_map", "vector")
HEAVY = re.compile(r"/(nlohmann/.*|boost/(lexical_cast|regex|container|container_hash|unordered|spirit|asio)[/.].*"
                   r"|pcre2\.h|regex|iostream|fstream|sstream|filesystem|thread|future)$")
QT = ["-Dsignals=public", "-Dslots=", "-Demit=", "-Dforeach=Q_FOREACH", "-Dforever=for(;;)", "-DQ_SIGNALS=public"]
WORDS = ("signals", "slots", "emit", "foreach", "forever")
WINDOWS = """#if __has_include(<windows.h>)
#include <windows.h>
#endif
#undef min
#undef max
#define min(a, b) (((a) < (b)) ? (a) : (b))
#define max(a, b) (((a) > (b)) ? (a) : (b))
"""
OTHER_UUID = """#pragma once
namespace boost::uuids { struct alignas(8) uuid { unsigned char data[16]; }; }
"""


def run(compiler, source, *more):
    return subprocess.run([*compiler, "-std=c++20", "-x", "c++", *more, "-"],
                          input=source, capture_output=True, encoding="utf-8")


def including(names):
    return "".join(f"#include <{name}>\n" for name in names)


def preprocessed(compiler, names):
    """(how many lines these headers bring, which files they come from)"""
    done = run(compiler, including(names), "-E")
    if done.returncode != 0:
        sys.exit(done.stderr)
    lines, files = 0, set()
    for line in done.stdout.splitlines():
        if line.startswith("# "):
            files.add(line.split('"')[1])
        elif line.strip():
            lines += 1
    return lines, files


def measured(compiler, headers):
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        jobs = {header: pool.submit(preprocessed, compiler, [header]) for header in headers}
        return {header: job.result() for header, job in jobs.items()}


def granted():
    with open(GRANTS, encoding="utf-8") as file:
        rows = (line.split() for line in file if not line.startswith("#"))
        return {name: int(lines) for lines, name in rows}


def renew(costs):
    with open(GRANTS, "w", encoding="utf-8") as file:
        file.write("# Lines that each public header brings, preprocessed; scripts/check_headers.py --renew writes it.\n")
        file.writelines(f"{lines:6} {name}\n" for name, lines in costs.items())


def check_costs(costs, grants):
    share = costs[STANDARD] / grants[STANDARD]
    for name, lines in costs.items():
        if name not in grants:
            yield f"{name}: has no grant; it brings {lines} lines"
        elif lines > grants[name] * share * 1.05:
            yield f"{name}: brings {lines} lines, granted are {grants[name] * share:.0f}"
    yield from (f"{name}: has a grant, but is no public header" for name in grants if name not in costs)


def check_words(compiler, headers):
    poison = f"#pragma GCC poison {' '.join(WORDS)}\n"
    for text, flags in ((including(headers), QT), (poison + including(headers), [])):
        done = run(compiler, text, "-fsyntax-only", "-Wall", "-Wextra", "-Werror", *flags)
        if done.returncode != 0:
            yield f"does not stand beside Qt's keywords:\n{done.stderr}"


def check_macros(compiler, headers, files):
    """What the headers include of others comes first: whether that bears the macros is not theirs to say."""
    others = set()
    for file in files:
        if file.endswith(tuple("/" + header for header in headers)):
            with open(file, encoding="utf-8") as opened:
                others.update(re.findall(r"^#include <(.+)>", opened.read(), re.MULTILINE))
    others = [other for other in sorted(others) if other != "intrin.h"]
    done = run(compiler, including(others) + WINDOWS + including(headers), "-fsyntax-only")
    if done.returncode != 0:
        yield f"does not stand beside the macros of windows.h:\n{done.stderr}"


def check_layout(compiler, headers):
    with tempfile.TemporaryDirectory() as folder:
        os.makedirs(os.path.join(folder, "boost", "uuid"))
        with open(os.path.join(folder, "boost", "uuid", "uuid.hpp"), "w", encoding="utf-8") as file:
            file.write(OTHER_UUID)
        done = run([compiler[0], "-I", folder, *compiler[1:]], including(headers), "-fsyntax-only")
    if done.returncode == 0 or "lays boost::uuids::uuid out differently" not in done.stderr:
        yield f"{headers[0]} takes a UUID of another layout:\n{done.stderr}"


def main(arguments):
    renews = arguments[:1] == ["--renew"]
    listed, *compiler = arguments[1:] if renews else arguments
    with open(listed, encoding="utf-8") as file:
        headers = file.read().split()
    brought = measured(compiler, headers)
    costs = {STANDARD: preprocessed(compiler, STANDARD_HEADERS)[0]}
    costs.update((name, lines) for name, (lines, _) in brought.items())
    if renews:
        renew(costs)

    found = [f"{name}: brings {file}"
             for name, (_, files) in brought.items() for file in sorted(files) if HEAVY.search(file)]
    found += check_costs(costs, granted())
    found += check_words(compiler, headers)
    found += check_macros(compiler, headers, set().union(*(files for _, files in brought.values())))
    for header in ("studio/data/PropertyValue.h", "tarn/zero/ModelElement.h"):
        found += check_layout(compiler, [header])
    if found:
        print("\n".join(found))
        print(f"To grant what they bring now: scripts/check_headers.py --renew {' '.join([listed, *compiler])}")
    else:
        print(f"{len(headers)} public headers, as cheap and as safe as granted")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
