#!/usr/bin/env python3
"""Compares the exports of a shared library with its list in cmake/exports.

Usage: check_symbols.py [--renew] LIBRARY [ROOT]. Prints a line for each name that was added or removed; exit code 1 if there
is one. With --renew it writes the list instead.

Names are demangled, without address and version, and spelled as `alike` says. Not listed is what a compiler emits wherever it
is used, because compilers and linkers differ in what they keep: instances of templates, and the vtable and type information
of a class. These, too, must belong to one of the library's own namespaces. Nothing that is exported may be in a namespace
called detail or in an unnamed one.

A component must not hold type information of the layers below, also not privately: where the standard library tells types
apart by address, an exception would not be caught there. Such a class needs a virtual function that is defined in a source.
"""
import os
import re
import subprocess
import sys

OWN = ("studio::data::", "tarn::zero::", "tarn0::messages::", "gel::", "rook::factory::", "fl::i18n::",
       "foundation::core::except::")
OF = re.compile(r"^(?:vtable|VTT|typeinfo|typeinfo name|guard variable|(?:non-)?virtual thunk|covariant return thunk)"
                r" (?:for|to) ")
LIBRARY = re.compile(r"(?:lib)?(studio_data(?:_(\w+))?)\.(?:so|dll)")
# objdump -p prints the names that a DLL exports, one a line, behind this heading.
DLL_NAMES = re.compile(r"^\[Ordinal/Name Pointer\] Table.*\n((?:\s+\[.*\n)*)", re.MULTILINE)


def namespaces(library):
    """The namespaces of a library, given its name as in cmake/exports."""
    component = library.removeprefix("studio_data").removeprefix("_")
    return (f"studio::{component}::",) if component else OWN


def alike(name):
    """The demangled name as every platform spells it: without the inline namespaces of the standard libraries, and with
    `long` for the 64-bit integers that Windows calls `long long`."""
    name = re.sub(r"std::(?:__cxx11|__1)::", "std::", name).replace("[abi:cxx11]", "")
    name = name.replace("std::basic_ostream<char, std::char_traits<char> >", "std::ostream")
    return re.sub(r"\b(unsigned )?long long\b", r"\1long", re.sub(r"(?<=\d)ull\b", "ul", name))


def widened(name):
    """The name as a platform of 64 bits spells it whose sizes are `unsigned int`. Parameters that are one everywhere change,
    too, so both sides of a comparison are widened."""
    return re.sub(r"\bunsigned int\b", "unsigned long", name).replace("4294967295u", "18446744073709551615ul")


def is_narrow(library):
    """True for an ELF file of 32 bits."""
    with open(library, "rb") as file:
        return file.read(5) == b"\x7fELF\x01"


def demangled(library):
    """The exports of the library: pairs of the kind, as nm names it, and the name."""
    if library.endswith(".dll"):
        text = subprocess.run(["x86_64-w64-mingw32-objdump", "-p", library], capture_output=True, encoding="utf-8",
                              errors="replace", check=True).stdout
        mangled = "".join(line.split()[-1] + "\n" for line in DLL_NAMES.search(text)[1].splitlines())
        names = subprocess.run(["c++filt", "--no-verbose"], input=mangled, capture_output=True, encoding="utf-8", check=True).stdout
        yield from (("T", alike(name)) for name in names.splitlines())
        return
    lines = subprocess.run(["nm", "-DC", "--defined-only", library], capture_output=True, encoding="utf-8", check=True)
    for line in lines.stdout.splitlines():
        _, kind, name = line.split(maxsplit=2)
        if kind != "A":   # the version itself
            yield kind, alike(name.split("@")[0])


def bare(name):
    """The name without what it is made for, and without its parameters."""
    plain = OF.sub("", name).replace("(anonymous namespace)", "unnamed")
    return re.sub(r"operator<[<=>]*", "operator", plain).split("(")[0]


def listed(exported):
    """The names among them that every compiler makes alike."""
    return {name for kind, name in exported if kind in "TBDR" and "<" not in bare(name) and not OF.match(name)}


def copies(library):
    """The type information of the layers below that a component holds."""
    lines = subprocess.run(["nm", "-C", "--defined-only", library], capture_output=True, encoding="utf-8", check=True)
    names = (line.split(maxsplit=2)[2] for line in lines.stdout.splitlines() if " typeinfo for " in line)
    below = OWN if "_host." in library else (*OWN, "studio::host::")
    return [name for name in names if "<" not in name and bare(name).startswith(below)]


def check(exported, kept, own):
    for _, name in exported:
        place = bare(name).split("<")[0]
        if not place.startswith(own):
            yield f"not ours: {name}"
        elif re.search(r"\b(detail|unnamed)::", place):
            yield f"private: {name}"
    names = listed(exported)
    yield from (f"new: {name}" for name in sorted(names - kept))
    yield from (f"gone: {name}" for name in sorted(kept - names))


def read_list(path):
    with open(path, encoding="utf-8") as file:
        return set(file.read().splitlines())


def main(arguments):
    renew = "--renew" in arguments
    arguments = [argument for argument in arguments if argument != "--renew"]
    root = arguments[1] if len(arguments) > 1 else os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    library, component = LIBRARY.match(os.path.basename(arguments[0])).groups()
    path = os.path.join(root, "cmake", "exports", library + ".txt")
    own = namespaces(library)
    exported = list(demangled(arguments[0]))
    if renew:
        with open(path, "w", encoding="utf-8") as file:
            file.writelines(name + "\n" for name in sorted(listed(exported)))
    kept = read_list(path)
    if is_narrow(arguments[0]):
        exported = [(kind, widened(name)) for kind, name in exported]
        kept = {widened(name) for name in kept}
    found = list(check(exported, kept, own))
    if component and not arguments[0].endswith(".dll"):
        found += (f"copy: {name}" for name in copies(arguments[0]))
    if found:
        print("\n".join(found))
        print(f"If that is wanted: scripts/check_symbols.py --renew {arguments[0]}")
    else:
        print(f"{len(kept)} names, as listed")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
