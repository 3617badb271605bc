#!/usr/bin/env python3
"""Shows that scripts/check_abi.py accepts what breaks no program, and reports what does, by the class or function's name.

Usage: check_abi_test.py CXX. Each row is a change of a small library: the replaced text, its replacement, what is printed.
"""
import os
import subprocess
import sys
import tempfile

SCRIPT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../scripts/check_abi.py")
EXPORT = '__attribute__((visibility("default")))'
TREE = {
    "framework/tarn/detail/Pen.h": "#pragma once\nstruct Pen { int width = 1; };\n",
    "framework/tarn/Shape.h": f"""#pragma once
struct Pen;
enum class Unit {{ Pixel, Point }};
class {EXPORT} Shape {{
public:
    virtual ~Shape();
    virtual double area(Unit unit) const;
    void move(int x);
private:
    Pen* m_pen = nullptr;
    int m_x = 0;
}};
{EXPORT} int count(Shape const& shape);
""",
    "framework/tarn/Shape.cpp": """#include "tarn/Shape.h"
#include "tarn/detail/Pen.h"
Shape::~Shape() { delete m_pen; }
double Shape::area(Unit) const { return m_x; }
void Shape::move(int x) { m_x += x; }
int count(Shape const& shape) { return static_cast<int>(shape.area(Unit::Point)); }
""",
}

ADDED = ("int count(Shape const& shape) {", EXPORT + " int total() { return 2; }\nint count(Shape const& shape) {")
CASES = [
    ("nothing", "", "", None),
    ("a function added", *ADDED, None),
    ("a private class", "int width = 1;", "int width = 1, colour = 2;", None),
    ("a body", "m_x += x", "m_x = x", None),
    ("an enumerator at the end", "Point }", "Point, Inch }", None),
    ("a member added", "int m_x = 0;", "int m_x = 0;\n    int m_y = 0;", "Shape"),
    ("a member's type", "int m_x = 0;", "long m_x = 0;", "Shape"),
    ("a virtual function inserted", "virtual double area", "virtual void draw() {}\n    virtual double area", "Shape"),
    ("a parameter", "void move(int x)", "void move(long x)", "Shape::move"),
    ("an enumerator at the beginning", "Pixel, Point", "Inch, Pixel, Point", "Unit"),
    ("a function that is not exported any more", EXPORT + " int count", "int count", "count"),
]


def build(root, compiler, old="", new="", in_full=False):
    for name, text in TREE.items():
        path = os.path.join(root, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            changed = text.replace(old, new) if old else text
            file.write(changed.replace("Shape::move(int x)", "Shape::move(long x)") if new == "void move(long x)" else changed)
    os.makedirs(os.path.join(root, "build"), exist_ok=True)
    with open(os.path.join(root, "build/public_headers.txt"), "w", encoding="utf-8") as file:
        file.write("tarn/Shape.h\n")
    source = path if in_full else os.path.join("..", "framework/tarn/Shape.cpp")   # the source is the last of the tree
    subprocess.run([compiler, "-g", "-shared", "-fPIC", "-fvisibility=hidden", "-I../framework", source,
                    "-o", "libstudio_data.so"], check=True, cwd=os.path.join(root, "build"))


def check(root, *options):
    done = subprocess.run([sys.executable, SCRIPT, *options, f"{root}/build", root], capture_output=True, encoding="utf-8",
                          check=False)
    return done.returncode, done.stdout + done.stderr


def main(compiler):
    wrong = []
    with tempfile.TemporaryDirectory() as first, tempfile.TemporaryDirectory() as second:
        build(first, compiler)
        if check(first, "--renew") != (0, ""):
            wrong.append("the interface cannot be recorded")
        os.makedirs(os.path.join(second, "cmake"))
        os.symlink(os.path.join(first, "cmake/exports"), os.path.join(second, "cmake/exports"))
        for name, old, new, printed in CASES:
            build(second, compiler, old, new)
            code, text = check(second)
            if (code, bool(text)) != (0, False) if printed is None else code != 1 or printed not in text:
                wrong.append(f"{name}: exit code {code}\n{text}")
        record = os.path.join(first, "cmake/exports/abi/studio_data.abi.xz")
        written = os.stat(record).st_mtime_ns
        build(second, compiler, in_full=True)
        if check(second, "--renew") != (0, "") or os.stat(record).st_mtime_ns != written:
            wrong.append("the record depends on where the tree is")
        build(second, compiler, *ADDED)
        if check(second, "--renew") != (0, "") or os.stat(record).st_mtime_ns == written:
            wrong.append("a new function is not recorded")
    print("\n".join(wrong) or f"{len(CASES)} changes: each is judged as it should be")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
