"""A recipe for Conan 2 that builds the tree it is part of:

    conan create packaging/conan -s compiler.cppstd=20
"""
import os
import re

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load, rmdir

required_conan_version = ">=2.0"

TREE = os.path.join("..", "..")


class StudioData(ConanFile):
    name = "studio_data"
    version = "1.0.0"
    license = "MIT"
    description = "Contexts, their properties, and expressions that tell when their result changes"
    topics = ("contexts", "expressions", "commands")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False], "tools": [True, False]}
    # Only headers of Boost are used; without this its libraries would be built as well.
    default_options = {"shared": True, "fPIC": True, "tools": False, "boost/*:header_only": True}

    def export_sources(self):
        copy(self, "*", os.path.join(self.recipe_folder, TREE), self.export_sources_folder,
             excludes=(".git", ".git/*", ".deps/*", ".cache/*", "build/*", "benchmarks/*", "fuzz/*", "packaging/*",
                       "tests/*"))

    def config_options(self):
        if self.settings.os == "Windows":
            self.options.rm_safe("fPIC")

    def configure(self):
        if self.options.shared:
            self.options.rm_safe("fPIC")

    def layout(self):
        self.folders.root = TREE
        cmake_layout(self, src_folder=".")

    def requirements(self):
        # Public headers include those of Boost. The component json brings nlohmann_json to its users.
        self.requires("boost/[>=1.81 <2]", transitive_headers=True)
        self.requires("nlohmann_json/[>=3.11 <4]", transitive_headers=True)
        self.requires("pcre2/[>=10.40 <11]")
        if self.options.tools:
            self.requires("cli11/[>=2.1 <3]", visible=False)
            if self.settings.os != "Windows":
                self.requires("editline/[>=3.1 <4]", visible=False)

    def validate(self):
        check_min_cppstd(self, 20)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["STUDIO_DATA_INSTALL"] = True
        toolchain.cache_variables["STUDIO_DATA_WORKBENCH"] = bool(self.options.tools)
        toolchain.cache_variables["STUDIO_DATA_TESTS"] = False
        toolchain.cache_variables["STUDIO_DATA_EXAMPLES"] = False
        toolchain.cache_variables["STUDIO_DATA_BENCHMARKS"] = False
        toolchain.generate()
        dependencies = CMakeDeps(self)
        # With the libraries that an archive of it needs, which cmake/FindEdit.cmake does not know.
        dependencies.set_property("editline", "cmake_file_name", "Edit")
        dependencies.set_property("editline", "cmake_target_name", "Edit::Edit")
        dependencies.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        # gdb finds its printers below the path of the library, which is another one on the next machine.
        rmdir(self, os.path.join(self.package_folder, "share", "gdb"))

    def package_info(self):
        # find_package(studio_data) reads what the library itself installs, with the components that it has there.
        self.cpp_info.set_property("cmake_find_mode", "none")
        library = self.cpp_info.components["studio_data"]
        library.set_property("pkg_config_name", "studio_data")
        library.libs = ["studio_data"]
        library.includedirs = [os.path.join("include", "studio_data")]
        library.builddirs = [os.path.join("lib", "cmake", "studio_data")]
        library.requires = ["boost::headers", "nlohmann_json::nlohmann_json", "pcre2::pcre2-8"]
        # How the library was built shows in its pkg-config file.
        flags = load(self, os.path.join(self.package_folder, "lib", "pkgconfig", "studio_data.pc"))
        library.defines = re.findall(r" -D(\S+)", flags)
        for name, needs in (("host", []), ("inspect", ["host"]), ("commands", ["host"])):
            component = self.cpp_info.components[name]
            component.set_property("pkg_config_name", f"studio_data-{name}")
            component.libs = [f"studio_data_{name}"]
            component.includedirs = []
            component.requires = ["studio_data", *needs]
