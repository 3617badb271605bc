#!/usr/bin/env python3
"""Compares the software bill of materials with SPDX 2.3, with docs/licences.md and with what was built.

Usage: sbom_test.py SBOM LICENCES READELF [FILES...]. FILES are the built libraries and programs; READELF may be "".
"""
import json
import os
import re
import subprocess
import sys

DOCUMENT = {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": r".+",
            "documentNamespace": r"(urn|https?):[^#]+"}
PACKAGE = {"SPDXID": r"SPDXRef-[A-Za-z0-9.-]+", "name": r".+", "versionInfo": r"\d[\w.+-]*", "downloadLocation": "NOASSERTION",
           "licenseConcluded": r"[\w.+-]+( (AND|OR|WITH) [\w.+-]+)*", "licenseDeclared": r"[\w.+-]+( (AND|OR|WITH) [\w.+-]+)*"}
PLATFORM = re.compile(r"lib(c|m|stdc\+\+|gcc_s|c\+\+|c\+\+abi|unwind|pthread|atomic|asan|ubsan|tsan)\.so|ld-linux|linux-vdso")
HERE = ("linked", "compiled in from headers")
failures = []


def expect(holds, what):
    if not holds:
        failures.append(what)


def expect_fields(part, wanted):
    for name, value in wanted.items():
        found = part.get(name)
        expect(isinstance(found, str) and re.fullmatch(value, found), f"{part.get('SPDXID')}: {name} is {found!r}")


def main(path, licences, readelf, *files):
    with open(path, encoding="utf-8") as file:
        document = json.load(file)
    expect_fields(document, DOCUMENT)
    expect_fields(document["creationInfo"], {"created": r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ"})
    expect(all(re.match(r"(Person|Organization|Tool): .", who) for who in document["creationInfo"]["creators"]), "creators")
    packages = {package["SPDXID"]: package for package in document["packages"]}
    expect(len(packages) == len(document["packages"]), "two packages have one SPDXID")
    for package in packages.values():
        expect_fields(package, PACKAGE)
        expect(package["filesAnalyzed"] is False, f"{package['name']}: files are not analyzed")
    links = set()
    for relation in document["relationships"]:
        ends = {relation["spdxElementId"], relation["relatedSpdxElement"]}
        expect(ends <= {*packages, "SPDXRef-DOCUMENT"}, f"a relationship of nothing: {relation}")
        links |= ends
    expect(links >= set(packages), f"related to nothing: {set(packages) - links}")

    # The page says of each what the document says. What no build of the programs brings is not in a document without them.
    own = {package["name"] for package in packages.values() if package["name"].startswith("studio")}
    with open(licences, encoding="utf-8") as file:
        rows = re.findall(r"^\| ([^|]+) \| ([^|]+) \| ([^|]+) \| ([^|]+) \|$", file.read(), re.M)[1:]
    page = {name: licence for name, licence, how, where in rows if how in HERE}
    found = {package["name"]: package["licenseDeclared"] for package in packages.values() if package["name"] not in own}
    optional = {name for name, _, _, where in rows if where.startswith("`studio-shell`")}
    expect(set(page) - optional <= set(found) <= set(page), f"{sorted(found)}, and on the page {sorted(page)}")
    for name in set(page) & set(found):
        expect(page[name] == found[name], f"{name}: {found[name]}, and on the page {page[name]}")

    # libpcre2-8.so is the package of libpcre2-8.so.0.
    known = tuple(package["packageFileName"] for package in packages.values() if "packageFileName" in package)
    for file in files if readelf else ():
        dynamic = subprocess.run([readelf, "-d", file], check=True, stdout=subprocess.PIPE, text=True).stdout
        for library in re.findall(r"\(NEEDED\).*\[(.+)\]", dynamic):
            expect(PLATFORM.match(library) or library.startswith(("libstudio_data", *known)),
                   f"{os.path.basename(file)} needs {library}, which is no package of the document")
    print("\n".join(failures) or f"{len(packages)} packages, {len(files)} files")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
