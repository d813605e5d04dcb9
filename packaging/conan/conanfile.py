"""Untested: no Conan was at hand where this was written.

Conan 2: `conan create packaging/conan`, from the top of the tree, builds the library, packages it and runs
the program in test_package against it."""

import os

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy


class VelmoraX509(ConanFile):
    name = "velmora-x509"
    version = "0.1.0"
    description = "X.509 certificates: parse, question, show"
    license = "MIT"
    package_type = "library"
    settings = "os", "compiler", "build_type", "arch"
    options = {"shared": [True, False], "fPIC": [True, False]}
    default_options = {"shared": False, "fPIC": True}
    implements = ["auto_shared_fpic"]

    def export_sources(self):
        top = os.path.join(self.recipe_folder, "..", "..")
        for pattern in ("CMakeLists.txt", "LICENSE", "cmake/*", "velmora/*"):
            copy(self, pattern, top, self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        for part in ("BUILD_TESTS", "BUILD_TOOLS", "BUILD_EXAMPLES", "HARDEN"):
            toolchain.cache_variables["VELMORA_" + part] = False
        toolchain.generate()
        CMakeDeps(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        CMake(self).install()

    def package_info(self):
        self.cpp_info.libs = ["velmora-x509"]
        self.cpp_info.set_property("cmake_file_name", "velmora-x509")
        self.cpp_info.set_property("cmake_target_name", "velmora::x509")
        self.cpp_info.set_property("pkg_config_name", "velmora-x509")
        if self.options.shared:
            self.cpp_info.defines = ["VELMORA_SHARED"]
        if self.settings.os == "Linux":
            self.cpp_info.system_libs = ["pthread"]
