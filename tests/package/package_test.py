#!/usr/bin/env python3
"""Installs a build, moves what was installed, and uses it as others do: by CMake, by pkg-config, from C, as a plug-in.

With KSL_PACKAGE_FULL in the environment the sources are built inside another project, too; without it that project is
only configured and its own program compiled, for building the library once more takes minutes.
"""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCES = pathlib.Path(__file__).resolve().parents[2]
HERE = pathlib.Path(__file__).resolve().parent
CLEAN = {name: value for name, value in os.environ.items() if not re.match("(KSL|ORV|LD)_", name)}
STATE = "CUT:a\n  Axis = X\n  Domain List = All Domains\n  Offset = 2 [m]\n  Option = Axis Plane\n  Visibility = On\nEND\n"
COMMAND = "CUT: a\n  Offset = 2 [m]\nEND\n"
arguments = None


def run(*command, cwd, text="", fails=False, **environment):
    """What a command prints, on both streams when it is to fail."""
    done = subprocess.run([str(part) for part in command], cwd=cwd, input=text, env={**CLEAN, **environment},
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT if fails else subprocess.PIPE, text=True)
    if (done.returncode != 0) != fails:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}{done.stderr or ''}")
    return done.stdout


def program(name, text, folder):
    (folder / name).write_text(text)
    return folder / name


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory(prefix="orvksl-")
        cls.root = pathlib.Path(cls.scratch.name).resolve()
        if arguments.installed:
            shutil.copytree(arguments.installed, cls.root / "first", symlinks=True)
        else:
            run("cmake", "--install", arguments.build, "--strip", "--prefix", cls.root / "first", cwd=cls.root)
        cls.prefix = cls.root / "elsewhere/moved"
        cls.prefix.parent.mkdir()
        (cls.root / "first").rename(cls.prefix)
        cls.pc = next(cls.prefix.rglob("orvksl.pc"))
        cls.libdir = cls.pc.parents[1]
        cls.ksl = cls.prefix / "bin/ksl"
        cls.demo = cls.prefix / "share/orvksl/demo"

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def folder(self):
        folder = self.root / self.id().rsplit(".", 1)[1]
        folder.mkdir()
        return folder

    def flags(self, *words):
        # A package beside the system's own would be found in the same way.
        return run("pkg-config", *words, "orvksl", cwd=self.root, PKG_CONFIG_PATH=str(self.pc.parent)).split()

    def test_host_uses_what_it_was_installed_with(self):
        folder = self.folder()
        self.assertEqual(run(self.ksl, "run", "-e", COMMAND, "--state", cwd=folder), STATE)
        run(self.ksl, "run", SOURCES / "examples/04-flow-picture.ksl", cwd=folder)
        self.assertIn("<svg", (folder / "flow-picture.svg").read_text())

        (folder / "link").symlink_to(self.ksl)
        hidden = self.demo.rename(folder / "demo")
        try:
            self.assertIn(str(self.demo), run(folder / "link", "run", "-e", COMMAND, cwd=folder, fails=True))
        finally:
            hidden.rename(self.demo)

    def test_cmake_finds_the_package(self):
        folder = self.folder()
        program("CMakeLists.txt", f"""
            cmake_minimum_required(VERSION 3.23)
            project(user CXX)
            find_package(ORVKSLCore 2 QUIET)
            if(ORVKSLCore_FOUND)
              message(FATAL_ERROR "version 2 was found")
            endif()
            find_package(ORVKSLCore 1.0 REQUIRED)
            add_executable(minimal {SOURCES}/examples/embed/minimal.cpp)
            target_link_libraries(minimal PRIVATE orvksl::core)
            add_executable(units {HERE}/units.cpp)
            target_link_libraries(units PRIVATE orvksl::core_static)
            set_target_properties(units PROPERTIES CXX_STANDARD 17 CXX_STANDARD_REQUIRED ON)
            """, folder)
        run("cmake", "-G", "Ninja", "-S", folder, "-B", folder, f"-DCMAKE_PREFIX_PATH={self.prefix}",
            f"-DCMAKE_CXX_COMPILER={arguments.cxx}", cwd=folder)
        run("cmake", "--build", folder, "-j2", cwd=folder)
        self.assertEqual(run(folder / "minimal", self.demo, cwd=folder, text=COMMAND), STATE)
        self.assertEqual(run(folder / "units", cwd=folder), "0.5\n")

    def test_pkg_config_and_foreign_headers_of_our_names(self):
        folder = self.folder()
        (folder / "platform").mkdir()
        for name in ("ORVUnits.h", "ORVError.h", "ORVExport.h"):
            program(name, "#error the program's own\n", folder / "platform")
        flags = [*self.flags("--cflags", "--libs"), f"-Wl,-rpath,{self.libdir}"]
        run(arguments.cxx, "-std=c++17", "-I.", HERE / "units.cpp", "-o", "units", *flags, cwd=folder)
        self.assertEqual(run("./units", cwd=folder), "0.5\n")
        run(arguments.cc, "-std=c99", "-Wall", "-Wextra", "-Werror", HERE / "questions.c", "-o", "questions", *flags,
            cwd=folder)
        self.assertEqual(run("./questions", cwd=folder, fails=True),
                         "warning[8] KSLCoreC::reportError: a text\nnothing there\n")
        self.assertEqual(self.flags("--modversion"), [self.version()])

    def version(self):
        return run(self.ksl, "--version", cwd=self.root).split()[-1]

    def test_smallest_plugin_by_the_documented_line(self):
        folder = self.folder()
        smallest = SOURCES / "plugins/smallest"
        shutil.copy(smallest / "smallest.cpp", folder)
        line = re.search("^ {4}(c\\+\\+ .*-shared.*)$", (SOURCES / "docs/plugins.md").read_text(), re.MULTILINE)[1]
        run("sh", "-c", line.replace("c++", str(arguments.cxx), 1), cwd=folder, PKG_CONFIG_PATH=str(self.pc.parent))
        state = run(self.ksl, "run", "--library", smallest / "rings.ksl", "-e", "RING: a\n  Inner Radius = 50 [cm]\nEND",
                    "--state", cwd=folder, ORV_KSL_PLUGIN_PATH=".")
        self.assertIn("Area = 11.780972450961723 [m^2]", state)
        self.assertEqual(list(self.prefix.rglob("libsmallest*")), [], "the example is no product")

    def test_inside_another_project(self):
        folder = self.folder()
        program("CMakeLists.txt", f"""
            cmake_minimum_required(VERSION 3.23)
            project(user C CXX)
            add_subdirectory({SOURCES} orvksl)
            add_executable(units {HERE}/units.cpp)
            target_link_libraries(units PRIVATE orvksl::core)
            get_property(added DIRECTORY {SOURCES} PROPERTY BUILDSYSTEM_TARGETS)
            message(STATUS "added ${{added}}")
            """, folder)
        told = run("cmake", "-G", "Ninja", "-S", folder, "-B", folder / "build", "-DCMAKE_BUILD_TYPE=Debug",
                   f"-DCMAKE_CXX_COMPILER={arguments.cxx}", f"-DCMAKE_C_COMPILER={arguments.cc}", cwd=folder)
        self.assertIn("added orvksl_objects;KSLCore;KSLCoreStatic\n", told)
        full = "KSL_PACKAGE_FULL" in os.environ
        run("cmake", "--build", folder / "build", "-j2", "--target",
            "all" if full else "CMakeFiles/units.dir" + str(HERE / "units.cpp.o"), cwd=folder)
        if full:
            self.assertEqual(run(folder / "build/units", cwd=folder), "0.5\n")
            run("cmake", "--install", folder / "build", "--prefix", folder / "installed", cwd=folder)
            self.assertFalse((folder / "installed").exists(), "only the project around it installs")

    def test_binaries_name_no_folder_of_this_machine(self):
        library = (self.libdir / "libORVKSLCore.so").resolve()
        flow = next(self.prefix.rglob("libflow.so"))
        back = os.path.relpath(self.libdir, self.ksl.parent)
        for binary, runpath in ((self.ksl, [f"$ORIGIN/{back}"]), (library, []), (flow, ["$ORIGIN/.."])):
            dynamic = run("readelf", "-d", "-W", binary, cwd=self.root)
            self.assertEqual(re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", dynamic), runpath, binary)
        for file in filter(pathlib.Path.is_file, self.prefix.rglob("*")):
            if file.suffix != ".a":  # which keeps what debuggers want to know
                found = [place for place in (SOURCES, arguments.build, self.root)
                         if os.fsencode(place) in file.read_bytes()]
                self.assertEqual(found, [], file)

    def test_exports_are_our_own(self):
        library = self.libdir / "libORVKSLCore.so"
        names = {line.split()[-1].split("@")[0] for line in
                 run("nm", "-D", "--defined-only", library, cwd=self.root).splitlines()}
        header = (self.prefix / "include/orvksl/command/KSLCoreC.h").read_text()
        in_c = set(re.findall(r"^ORV_API .*?(\w+)\(", header, re.MULTILINE))
        self.assertTrue(in_c)
        self.assertEqual(in_c - names, set())
        foreign = {name for name in names - in_c - {"ORVKSLCORE_1"} if "3orv" not in name or "_ZSt" in name
                   or re.match("_Z(Z|GV|N?K?S|N9__gnu_cxx|T[ISTV]S)", name)}
        self.assertEqual(foreign, set())


def main():
    global arguments
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, default=SOURCES / "build/dev")
    parser.add_argument("--installed", type=pathlib.Path, help="a prefix to copy instead of installing the build")
    parser.add_argument("--cxx", default=os.environ.get("CXX", "c++"))
    parser.add_argument("--cc", default=os.environ.get("CC", "cc"))
    arguments, others = parser.parse_known_args()
    arguments.build = arguments.build.resolve()
    unittest.main(argv=[sys.argv[0], *others], verbosity=2)


if __name__ == "__main__":
    main()
