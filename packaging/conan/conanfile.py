"""conan create packaging/conan: the library, without its client and tests."""

import os
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load


class CifraConan(ConanFile):
    name = "cifra"
    description = "Cryptographic services for Windows on ARM64 and x64"
    license = "Apache-2.0"
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"

    @property
    def _root(self):
        return os.path.normpath(os.path.join(self.recipe_folder, "..", ".."))

    def set_version(self):
        text = load(self, os.path.join(self._root, "CMakeLists.txt"))
        self.version = re.search(r"project\(Cifra VERSION ([0-9.]+)", text)[1]

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "LICENSE", "THIRD-PARTY-NOTICES.md", "cmake/*", "examples/*", "include/*",
                        "src/*"):
            copy(self, pattern, self._root, self.export_sources_folder)

    def validate(self):
        if self.settings.os != "Windows" or self.settings.arch not in ("x86_64", "armv8"):
            raise ConanInvalidConfiguration("Cifra is for Windows on ARM64 and x64")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        for option in ("CIFRA_BUILD_TESTS", "CIFRA_BUILD_TOOLS", "CIFRA_WARNINGS_AS_ERRORS"):
            toolchain.cache_variables[option] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        for name in ("LICENSE", "THIRD-PARTY-NOTICES.md"):
            copy(self, name, self.source_folder, os.path.join(self.package_folder, "licenses"))

    def package_info(self):
        # The project's own CMake package knows what belongs together.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", "Cifra")]
        self.cpp_info.includedirs = [os.path.join("include", "cifra")]
        self.cpp_info.libs = ["Cifra"]
