"""Untested, as the recipe: builds the consumers' program against the package and runs it on the sample chain."""

import os

from conan import ConanFile
from conan.tools.build import can_run
from conan.tools.cmake import CMake, cmake_layout


class TestPackage(ConanFile):
    settings = "os", "compiler", "build_type", "arch"
    generators = "CMakeDeps", "CMakeToolchain"

    def requirements(self):
        self.requires(self.tested_reference_str)

    def layout(self):
        cmake_layout(self)

    def _top(self):
        return os.path.join(self.recipe_folder, "..", "..", "..")

    def build(self):
        cmake = CMake(self)
        cmake.configure(build_script_folder=os.path.join(self._top(), "tests", "consumers", "package"))
        cmake.build()

    def test(self):
        if can_run(self):
            chain = os.path.join(self._top(), "examples", "chain")
            program = os.path.join(self.cpp.build.bindir, "program")
            self.run(f"{program} {chain}/chain.pem {chain}/root.pem", env="conanrun")
