#!/usr/bin/env python3
"""Compares the binary interface of the built libraries with its records: cmake/exports/abi/NAME.abi.xz.

Usage: check_abi.py [--renew] [BUILD [ROOT]]; BUILD is build/dev, a debug build by g++ on x86-64. Silent if every program
that was linked before still runs. Otherwise prints what broke, and the exit code is 1; it is 2 if something is missing. With
--renew it writes the records instead.

A record holds the functions and variables that a library exports, and the classes that they reach: sizes, members, bases,
virtual functions, enumerators. Of a class whose header is not installed it holds the name only. New functions and new
classes break nothing and are not reported.
"""
import concurrent.futures
import contextlib
import glob
import lzma
import os
import re
import subprocess
import sys
import tempfile

# What depends on the machine, the order of work or the wording of a declaration is left out.
RECORD = ["--drop-private-types", "--exported-interfaces-only", "--no-comp-dir-path", "--no-corpus-path", "--no-elf-needed",
          "--no-parameter-names", "--no-show-locs", "--no-write-default-sizes"]
ADDED_IS_FINE = ["--no-added-syms", "--no-show-locs"]
ERROR = 1 | 2   # bits of abidiff's exit code


def libraries(build):
    """Name and path of each library of the build."""
    found = glob.glob(os.path.join(build, "libstudio_data.so")) + glob.glob(os.path.join(build, "studio/*/libstudio_data_*.so"))
    return {os.path.basename(path).removeprefix("lib").removesuffix(".so"): path for path in sorted(found)}


@contextlib.contextmanager
def installed_headers(build):
    """A folder with the names of the installed headers, and nothing in them: abidw looks at the names alone."""
    with tempfile.TemporaryDirectory() as folder:
        with open(os.path.join(build, "public_headers.txt"), encoding="utf-8") as names:
            for name in names.read().split():
                os.makedirs(os.path.dirname(os.path.join(folder, name)), exist_ok=True)
                with open(os.path.join(folder, name), "w", encoding="utf-8"):
                    pass
        yield folder


def inside(path, build, root):
    """Where a source is, from the root of the tree: compilers write that from the build folder, or in full."""
    full = os.path.normpath(os.path.join(os.path.abspath(build), path))
    return os.path.relpath(full, root) if full.startswith(root + os.sep) else path


def described(library, headers, build, root):
    """The interface of a library as abidw writes it, independent of where the tree is."""
    made = subprocess.run(["abidw", *RECORD, "--headers-dir", headers, library], capture_output=True, check=False)
    if made.returncode or not made.stdout:
        raise RuntimeError(f"abidw cannot read {library}: {made.stderr.decode(errors='replace')}")
    text = made.stdout.decode("utf-8")
    return re.sub(r"(?<= path=')[^']*", lambda path: inside(path[0], build, root), text).encode("utf-8")


def differences(recorded, now, *options):
    """What abidiff says of two interfaces; empty if nothing differs."""
    with tempfile.TemporaryDirectory() as folder:
        paths = [os.path.join(folder, name) for name in ("recorded.abi", "now.abi")]
        for path, text in zip(paths, (recorded, now)):
            with open(path, "wb") as file:
                file.write(text)
        done = subprocess.run(["abidiff", *options, *paths], capture_output=True, encoding="utf-8", check=False)
    if done.returncode & ERROR:
        raise RuntimeError(f"abidiff cannot compare: {done.stdout}{done.stderr}")
    return done.stdout if done.returncode else ""


def content(path):
    with lzma.open(path) as file:
        return file.read()


def renew(records, texts):
    """Writes what differs in any way, be it harmless. The order of a record depends on where the tree is; nothing else does."""
    os.makedirs(records, exist_ok=True)
    for name, text in texts.items():
        path = os.path.join(records, f"{name}.abi.xz")
        if not os.path.exists(path) or differences(content(path), text, "--harmless"):
            with open(path, "wb") as file:
                file.write(lzma.compress(text, preset=9 | lzma.PRESET_EXTREME))


def run(is_renewal, build="build/dev", root=os.path.dirname(os.path.dirname(os.path.abspath(__file__)))):
    root = os.path.abspath(root)
    records = os.path.join(root, "cmake/exports/abi")
    found = libraries(build)
    # The largest first. The threads only wait for abidw.
    with installed_headers(build) as headers, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        texts = dict(zip(found, pool.map(lambda library: described(library, headers, build, root), found.values())))
    if is_renewal:
        renew(records, texts)
    known = {os.path.basename(path).removesuffix(".abi.xz"): path for path in glob.glob(os.path.join(records, "*.abi.xz"))}
    reports = [f"{name}: no such library in {build}" for name in sorted(known.keys() - found.keys())]
    reports += [f"{name}: there is no record of it" for name in sorted(found.keys() - known.keys())]
    for name in sorted(known.keys() & found.keys()):
        report = differences(content(known[name]), texts[name], *ADDED_IS_FINE)
        if report:
            reports.append(f"{name}: programs that were linked to it before break\n{report}")
    return reports


def main(arguments):
    is_renewal = "--renew" in arguments
    try:
        reports = run(is_renewal, *(argument for argument in arguments if argument != "--renew"))
    except (OSError, RuntimeError) as error:
        print(f"check_abi.py: {error}")
        return 2
    if reports:
        print("\n".join(reports))
        print("docs/abi.md says what may change when. If that is wanted: scripts/check_abi.py --renew")
    return 1 if reports else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
