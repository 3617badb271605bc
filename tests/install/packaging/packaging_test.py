#!/usr/bin/env python3
"""Compares the recipes for package managers with the project, and runs them with stand-ins for the package managers.

Usage: packaging_test.py SOURCE BUILD PREFIX STAGE BOOST_INCLUDE_DIR ON|OFF [CMAKE OPTIONS...]
ON: shared libraries.
The steps of each recipe really happen: the sources are exported and configured with the options that it passes, what comes
of it is installed, and the consumer of tests/install is built with that. Only compiling is saved: the compiler's commands
have to be those of BUILD, and the libraries that were installed from there into PREFIX take the place of new ones.
"""
import fnmatch
import glob
import importlib.util
import json
import os
import re
import shutil
import subprocess
import sys
import types

HERE = os.path.dirname(os.path.abspath(__file__))
failures = []


def expect(holds, what):
    if not holds:
        failures.append(what)


def text_of(*path):
    with open(os.path.join(*path), encoding="utf-8") as file:
        return file.read()


def run(*command):
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)


class Project:
    """What the project's own CMake files say."""

    def __init__(self, source):
        cmake = text_of(source, "CMakeLists.txt")
        self.version = re.search(r"^\s+VERSION (\S+)", cmake, re.M).group(1)
        self.options = set(re.findall(r"(?:option|set)\((STUDIO_DATA_\w+) ", cmake))
        self.minima = dict(re.findall(r"find_package\((\w+) (\d\S*) ", cmake + text_of(source, "shell", "CMakeLists.txt")))
        self.needs = {}
        for path in sorted(glob.glob(os.path.join(source, "studio", "*", "CMakeLists.txt"))):
            for name, needs in re.findall(r"studio_data_component\((\w+)(?: NEEDS([ \w]+))?$", text_of(path), re.M):
                self.needs[name] = needs.split()
        includes = subprocess.run(["grep", "-rhoE", "#include <boost/[a-z_]+", *(os.path.join(source, room) for room in
                                   ("framework", "studio", "workbench", "shell"))], check=True, stdout=subprocess.PIPE, text=True)
        self.boost = {line.rpartition("/")[2].replace("_", "-") for line in includes.stdout.splitlines()}
        self.boost = {"boost-" + {"none": "optional"}.get(name, name) for name in self.boost}

    def expect_minimum(self, package, version, recipe):
        """A recipe's minimum is the project's; it may add the digits that the project leaves open."""
        expect(f"{version}.".startswith(f"{self.minima[package]}."),
               f"{recipe}: {package} {version}, and {self.minima[package]} in CMakeLists.txt")

    def expect_options(self, options, recipe):
        for name in options:
            expect(not name.startswith("STUDIO_DATA_") or name in self.options, f"{recipe}: {name} is no option")


def commands_of(build, source):
    """object -> how it is compiled, of the sources of the library, whichever folders these two are."""
    commands = {}
    for entry in json.loads(text_of(build, "compile_commands.json")):
        words = entry["command"].split()
        made = words[words.index("-o") + 1]
        if re.match(r"(framework|studio/\w+)/CMakeFiles/studio_data_", made) and "_verify_" not in made:
            words = [word for word in words if word != "-fdiagnostics-color=always"]
            commands[made] = " ".join(words).replace(build, "BUILD").replace(source, "SOURCE")
    return commands


def install(main_build, main_source, prefix, source, build):
    """Installs a recipe's build folder, which has to compile as the main one does, with the libraries of that."""
    wanted, found = commands_of(main_build, main_source), commands_of(build, source)
    if wanted != found or not found:
        strange = sorted(set(wanted.items()) ^ set(found.items()))
        sys.exit(f"{build}: not compiled as in {main_build}:\n" + "\n".join(map(str, strange[:2])))
    for library in glob.glob(os.path.join(prefix, "lib*", "**", "libstudio_data*"), recursive=True):
        if not library.endswith(".py"):
            room = re.match(r"libstudio_data_?([a-z]*)\.", os.path.basename(library)).group(1)
            shutil.copy2(library, os.path.join(build, "studio", room) if room else build, follow_symlinks=False)
    run("cmake", "--install", build)


def configured(shared, options):
    """What is passed with every recipe: as package managers do, and for libraries that are installed already."""
    return [*options, f"-DBUILD_SHARED_LIBS={shared}", "-DCMAKE_INSTALL_LIBDIR=lib", "-DCMAKE_INSTALL_BINDIR=bin",
            "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "-DCMAKE_BUILD_WITH_INSTALL_RPATH=ON"]


def try_consumer(prefix, build, options):
    options = [option + (f";{prefix}" if option.startswith("-DCMAKE_PREFIX_PATH=") else "") for option in options]
    run("cmake", "-S", os.path.dirname(HERE), "-B", build, "-DWAY=package", *options)
    run("cmake", "--build", build)
    run(os.path.join(build, "consumer"))


def try_vcpkg(project, source, stage, options, shared, boost, installer):
    port = os.path.join(source, "packaging", "vcpkg", "studio-data")
    manifest = json.loads(text_of(port, "vcpkg.json"))
    tools = manifest["features"]["tools"]["dependencies"]
    needs = {need["name"]: need for need in manifest["dependencies"] + tools}
    expect(manifest["version"] == project.version, f"vcpkg: version {manifest['version']}")
    expect({name for name in needs if name.startswith("boost-")} == project.boost, f"vcpkg: not of Boost {project.boost}")
    for package, names in {"BoostHeaders": project.boost, "nlohmann_json": ["nlohmann-json"], "PCRE2": ["pcre2"],
                           "CLI11": ["cli11"]}.items():
        for name in names:
            project.expect_minimum(package, needs[name]["version>="], "vcpkg")
    own = {need if isinstance(need, str) else need["name"]
           for need in json.loads(text_of(source, "packaging", "vcpkg", "vcpkg.json"))["dependencies"]}
    expect(own == {name for name in needs if not needs[name].get("host")} | {"gtest"}, "packaging/vcpkg/vcpkg.json: other packages than the port")
    project.expect_options(re.findall(r"STUDIO_DATA_\w+", text_of(port, "portfile.cmake")), "vcpkg")
    usage = text_of(port, "usage")
    for name in [*project.needs, "json", "studio_data"]:
        expect(f"studio_data::{name}" in usage, f"vcpkg: usage names no studio_data::{name}")

    run("cmake", f"-DPORT_FOLDER={port}", f"-DROOT={stage}", f"-DINSTALLED={os.path.dirname(boost)}",
        f"-DCONFIGURE={';'.join(option.replace(';', chr(92) + ';') for option in configured(shared, options))}",
        f"-DINSTALL={';'.join(installer)};{source}", "-P", os.path.join(HERE, "vcpkg.cmake"))
    try_consumer(os.path.join(stage, "packages"), os.path.join(stage, "consumer"), options)


class Bag(types.SimpleNamespace):
    """An object of Conan's, as far as the recipe uses it."""

    def rm_safe(self, name):
        self.__dict__.pop(name, None)

    def set_property(self, *words):
        self.__dict__.setdefault("properties", {})[words[:-1]] = words[-1]


class Components(dict):
    def __missing__(self, name):
        return self.setdefault(name, Bag())


def conan_stand_in(configure, install):
    """Puts the modules that the recipe imports in place."""
    class CMake:
        def __init__(self, recipe):
            self.recipe = recipe

        def configure(self):
            configure(self.recipe)

        def build(self):
            pass

        def install(self):
            install(self.recipe)

    class Generator(Bag):
        def __init__(self, recipe):
            super().__init__(recipe=recipe, cache_variables={})

        def generate(self):
            self.recipe.generated.append(self)

    def copy(recipe, pattern, src, dst, excludes=()):
        for folder, below, names in os.walk(src):
            path = lambda name: os.path.normpath(os.path.join(os.path.relpath(folder, src), name))
            left_out = lambda name: any(fnmatch.fnmatch(name, exclude) for exclude in excludes)
            below[:] = [name for name in below if not left_out(path(name) + "/")]
            for name in filter(lambda name: fnmatch.fnmatch(path(name), pattern) and not left_out(path(name)), names):
                os.makedirs(os.path.dirname(os.path.join(dst, path(name))), exist_ok=True)
                shutil.copy2(os.path.join(folder, name), os.path.join(dst, path(name)))

    modules = {
        "conan": {"ConanFile": Bag},
        "conan.tools": {},
        "conan.tools.build": {"check_min_cppstd": lambda recipe, standard: expect(standard == 20, "conan: not C++20")},
        "conan.tools.cmake": {"CMake": CMake, "CMakeDeps": Generator, "CMakeToolchain": Generator,
                              "cmake_layout": lambda recipe, src_folder: setattr(recipe.folders, "source", src_folder)},
        "conan.tools.files": {"copy": copy, "load": lambda recipe, path: text_of(path),
                              "rmdir": lambda recipe, path: shutil.rmtree(path, ignore_errors=True)},
    }
    for name, content in modules.items():
        sys.modules[name] = types.ModuleType(name)
        vars(sys.modules[name]).update(content)


def new_recipe(recipe_class, system, **chosen):
    """A recipe in the state in which Conan calls its methods, after those that choose options."""
    recipe = recipe_class(settings=Bag(os=system), folders=Bag(), required={}, generated=[],
                          cpp_info=Bag(components=Components()))
    for name, value in {**recipe.default_options, **chosen}.items():
        expect("/" in name or value in recipe.options[name], f"conan: {name} cannot be {value}")
    recipe.options = Bag(**{name: value for name, value in {**recipe.default_options, **chosen}.items() if "/" not in name})
    recipe.requires = lambda what, **traits: recipe.required.update({what.partition("/")[0]: (what, traits)})
    recipe.config_options()
    recipe.configure()
    recipe.requirements()
    recipe.layout()
    recipe.validate()
    return recipe


def try_conan(project, source, stage, options, shared, installer):
    def configure(recipe):
        variables = {name: "ON" if value else "OFF" for name, value in recipe.generated[0].cache_variables.items()}
        project.expect_options(variables, "conan")
        run("cmake", "-S", recipe.source_folder, "-B", os.path.join(stage, "build"), *configured(shared, options),
            f"-DCMAKE_INSTALL_PREFIX={recipe.package_folder}", *(f"-D{name}={value}" for name, value in variables.items()))

    conan_stand_in(configure, lambda recipe: run(*installer, recipe.source_folder, os.path.join(stage, "build")))
    folder = os.path.join(source, "packaging", "conan")
    spec = importlib.util.spec_from_file_location("conanfile", os.path.join(folder, "conanfile.py"))
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)

    expect(module.StudioData.version == project.version, f"conan: version {module.StudioData.version}")
    for system, chosen in (("Windows", {}), ("Linux", {"tools": True, "shared": False}), ("Linux", {"shared": shared == "ON"})):
        recipe = new_recipe(module.StudioData, system, **chosen)
        expect(hasattr(recipe.options, "fPIC") == (system != "Windows" and not recipe.options.shared), "conan: fPIC")
        expect(("cli11" in recipe.required) == recipe.options.tools, "conan: cli11")
        for name, package in (("boost", "BoostHeaders"), ("nlohmann_json", "nlohmann_json"), ("pcre2", "PCRE2"),
                              ("cli11", "CLI11")):
            if name in recipe.required:
                what = recipe.required[name][0]
                project.expect_minimum(package, re.search(r"\[>=(\S+) <", what).group(1), "conan")

    # Of the last one, everything that conan create does.
    for where in ("exported", "package"):
        shutil.rmtree(os.path.join(stage, where), ignore_errors=True)
    recipe.recipe_folder, recipe.package_folder = folder, os.path.join(stage, "package")
    recipe.source_folder = recipe.export_sources_folder = os.path.join(stage, "exported")
    recipe.export_sources()
    recipe.generate()
    recipe.build()
    recipe.package()
    recipe.package_info()

    expect(os.path.isfile(os.path.join(recipe.package_folder, "licenses", "LICENSE")), "conan: the package has no license")
    expect(recipe.cpp_info.components["studio_data"].defines == ([] if shared == "ON" else ["STUDIO_DATA_STATIC"]),
           "conan: other macros than in the pkg-config file")
    expect(recipe.cpp_info.properties[("cmake_find_mode",)] == "none", "conan: the library's own package is not used")
    components = recipe.cpp_info.components
    expect({name: [need for need in part.requires if need != "studio_data"] for name, part in components.items()
            if name != "studio_data"} == project.needs, f"conan: the components are {project.needs}")
    for name, part in components.items():
        folders = [*part.includedirs, *getattr(part, "builddirs", [])]
        files = [f"lib/pkgconfig/{part.properties[('pkg_config_name',)]}.pc", *(f"lib/lib{library}.*" for library in part.libs)]
        for path in folders + files:
            expect(glob.glob(os.path.join(recipe.package_folder, path)), f"conan: {name} has no {path}")
    used = {need.partition("::")[0] for need in components["studio_data"].requires}
    expect(used == set(recipe.required), f"conan: required are {sorted(recipe.required)}, used {sorted(used)}")
    config = os.path.join(*[recipe.package_folder, *components["studio_data"].builddirs, "studio_data-config.cmake"])
    expect(os.path.isfile(config), f"conan: there is no {config}")
    try_consumer(recipe.package_folder, os.path.join(stage, "consumer"), options)


def main(source, build, prefix, stage, boost, shared, *options):
    shutil.rmtree(stage, ignore_errors=True)
    project = Project(source)
    installer = [sys.executable, os.path.abspath(__file__), "--install", build, source, prefix]
    try_vcpkg(project, source, os.path.join(stage, "vcpkg"), options, shared, boost, installer)
    try_conan(project, source, os.path.join(stage, "conan"), options, shared, installer)
    print("\n".join(failures) or "both recipes are as the project is")
    return 1 if failures else 0


if __name__ == "__main__":
    if sys.argv[1] == "--install":
        sys.exit(install(*sys.argv[2:]))
    sys.exit(main(*sys.argv[1:]))
