#!/usr/bin/env python3
"""Installs a build, moves what was installed, and uses it as others do: by CMake, by pkg-config, from C, as a plug-in.

With --packages the Debian packages are installed in a fresh root and used there: the system's with what it has, but
without our sources. That takes root; without it they are unpacked and moved as a build is.

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

HERE = pathlib.Path(__file__).resolve().parent
SOURCES = HERE.parents[1]
CLEAN = {name: value for name, value in os.environ.items() if not re.match("(KSL|ORV|LD)_", name)}
STATE = "CUT:a\n  Axis = X\n  Domain List = All Domains\n  Offset = 2 [m]\n  Option = Axis Plane\n  Visibility = On\nEND\n"
COMMAND = "CUT: a\n  Offset = 2 [m]\nEND\n"
USER = f"""
cmake_minimum_required(VERSION 3.23)
project(user C CXX)
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
"""
AROUND = f"""
cmake_minimum_required(VERSION 3.23)
project(user C CXX)
add_subdirectory({SOURCES} orvksl)
add_executable(units {HERE}/units.cpp)
target_link_libraries(units PRIVATE orvksl::core)
get_property(added DIRECTORY {SOURCES} PROPERTY BUILDSYSTEM_TARGETS)
message(STATUS "added ${{added}}")
"""
# The folder of all this, the sources, the packages, the build.
FRESH_ROOT = """
set -e
cd "$0"
{ mount -t tmpfs none . && cd "$0" && mkdir new work root &&
  mount -t overlay none -o lowerdir=/,upperdir=new,workdir=work root && cd root; } || exit 77
mkdir -p ".$1" kit/docs kit/plugins kit/tests
mount -t tmpfs none ".$1"
mount -t proc none proc
mount --rbind /dev dev
cp "$2"/*.deb kit
cd kit
cp -r "$1/tests/package" tests
cp -r "$1/examples" .
cp -r "$1/plugins/smallest" plugins
cp "$1/docs/plugins.md" docs
exec chroot .. sh -c 'dpkg -i /kit/*.deb && exec python3 /kit/tests/package/package_test.py --fresh --build "$0"' "$3"
"""
arguments = None


def try_in_fresh_root():
    """Whether there is one to be had; ends the program when something failed in it."""
    if os.geteuid() != 0 or subprocess.run(["unshare", "-m", "true"]).returncode != 0:
        return False
    with tempfile.TemporaryDirectory(prefix="orvksl-") as folder:
        done = subprocess.run(["unshare", "-m", "sh", "-c", FRESH_ROOT, folder, SOURCES, arguments.packages.resolve(),
                               arguments.build]).returncode
    if done not in (0, 77):
        sys.exit(done)
    return done == 0


def run(*command, cwd, text="", fails=False, **environment):
    """What a command prints, on both streams when it is to fail."""
    done = subprocess.run([str(part) for part in command], cwd=cwd, input=text, env={**CLEAN, **environment},
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT if fails else subprocess.PIPE, text=True)
    if (done.returncode != 0) != fails:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}{done.stderr or ''}")
    return done.stdout


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        root = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="orvksl-"))).resolve()
        cls.root, cls.prefix = root, pathlib.Path("/usr") if arguments.fresh else root / "elsewhere/moved"
        if arguments.packages:
            for package in arguments.packages.glob("*.deb"):
                run("dpkg-deb", "-x", package, root / "first", cwd=SOURCES)
        elif not arguments.fresh:
            run("cmake", "--install", arguments.build, "--strip", "--prefix", root / "first/usr", cwd=root)
        if arguments.fresh:
            cls.files = run("dpkg", "-L", "ksl", "liborvkslcore1", "liborvkslcore-dev", "python3-ksl", cwd=root).split("\n")
        else:
            cls.prefix.parent.mkdir()
            (root / "first/usr").rename(cls.prefix)
            cls.files = cls.prefix.rglob("*")
        cls.files = [file for file in map(pathlib.Path, cls.files) if file.is_file()]
        cls.ksl, cls.demo = cls.prefix / "bin/ksl", cls.prefix / "share/orvksl/demo"
        cls.libdir = next(file for file in cls.files if file.name == "orvksl.pc").parents[1]
        CLEAN["PKG_CONFIG_PATH"] = str(cls.libdir / "pkgconfig")

    def setUp(self):
        self.folder = self.root / self.id().rsplit(".", 1)[1]
        self.folder.mkdir()

    def configure(self, project):
        (self.folder / "CMakeLists.txt").write_text(project)
        return run("cmake", "-G", "Ninja", ".", f"-DCMAKE_PREFIX_PATH={self.prefix}", "-DCMAKE_BUILD_TYPE=Debug",
                   f"-DCMAKE_CXX_COMPILER={arguments.cxx}", f"-DCMAKE_C_COMPILER={arguments.cc}", cwd=self.folder)

    def test_host_uses_what_it_was_installed_with(self):
        self.assertEqual(run(self.ksl, "run", "-e", COMMAND, "--state", cwd=self.folder), STATE)
        page = (self.prefix / "share/man/man1/ksl.1").read_text()
        self.assertIn(".TH", page)
        for script in ("bash-completion/completions/ksl", "zsh/vendor-completions/_ksl", "fish/vendor_completions.d/ksl.fish"):
            self.assertIn("sweep", (self.prefix / "share" / script).read_text())
        run(self.ksl, "run", SOURCES / "examples/04-flow-picture.ksl", cwd=self.folder)
        self.assertIn("<svg", (self.folder / "flow-picture.svg").read_text())

        (self.folder / "link").symlink_to(self.ksl)
        hidden = self.demo.rename(self.folder / "demo")
        try:
            self.assertIn(str(self.demo), run("./link", "run", "-e", COMMAND, cwd=self.folder, fails=True))
        finally:
            hidden.rename(self.demo)

    def test_cmake_finds_the_package(self):
        self.configure(USER)
        run("cmake", "--build", ".", "-j2", cwd=self.folder)
        self.assertEqual(run("./minimal", self.demo, cwd=self.folder, text=COMMAND), STATE)
        self.assertEqual(run("./units", cwd=self.folder), "0.5\n")

    def test_pkg_config_and_foreign_headers_of_our_names(self):
        (self.folder / "platform").mkdir()
        for name in ("ORVUnits.h", "ORVError.h", "ORVExport.h"):
            (self.folder / "platform" / name).write_text("#error the program's own\n")
        flags = run("pkg-config", "--cflags", "--libs", "orvksl", cwd=self.root).split() + [f"-Wl,-rpath,{self.libdir}"]
        run(arguments.cxx, "-std=c++17", "-I.", HERE / "units.cpp", "-o", "units", *flags, cwd=self.folder)
        self.assertEqual(run("./units", cwd=self.folder), "0.5\n")
        run(arguments.cc, "-std=c99", "-Wall", "-Wextra", "-Werror", HERE / "questions.c", "-o", "questions", *flags,
            cwd=self.folder)
        self.assertEqual(run("./questions", cwd=self.folder, fails=True),
                         "warning[8] KSLCoreC::reportError: a text\nnothing there\n")

    def build_smallest_plugin(self):
        for file in ("smallest.cpp", "rings.ksl"):
            shutil.copy(SOURCES / "plugins/smallest" / file, self.folder)
        line = re.search(r"^ {4}(c\+\+ .*-shared.*)$", (SOURCES / "docs/plugins.md").read_text(), re.MULTILINE)[1]
        run("sh", "-c", line.replace("c++", str(arguments.cxx), 1), cwd=self.folder)

    def test_smallest_plugin_by_the_documented_line(self):
        self.build_smallest_plugin()
        state = run(self.ksl, "run", "--library", "rings.ksl", "-e", "RING: a\nEND", "--state", cwd=self.folder,
                    ORV_KSL_PLUGIN_PATH=".")
        self.assertIn("Area = 9.42477796076938 [m^2]", state)
        self.assertFalse([file for file in self.files if "libsmallest" in file.name], "the example is no product")

    @unittest.skipUnless((SOURCES / "CMakeLists.txt").exists(), "there are no sources here")
    def test_inside_another_project(self):
        self.assertIn("added interface_stamp;orvksl_objects;KSLCore;KSLCoreStatic\n", self.configure(AROUND))
        full = "KSL_PACKAGE_FULL" in os.environ
        run("cmake", "--build", ".", "-j2", "--target", "all" if full else f"CMakeFiles/units.dir{HERE}/units.cpp.o",
            cwd=self.folder)
        if full:
            self.assertEqual(run("./units", cwd=self.folder), "0.5\n")
            run("cmake", "--install", ".", "--prefix", "installed", cwd=self.folder)
            self.assertFalse((self.folder / "installed").exists(), "only the project around it installs")

    @unittest.skipUnless((SOURCES / "CMakeLists.txt").exists(), "there are no sources here")
    def test_parts_that_are_left_out_need_nothing(self):
        off = [f"-DKSL_{part}=OFF" for part in ("HOST", "PLUGINS", "PYTHON")]
        lacking = [f"-D{what}_INCLUDE_DIR=NOTFOUND" for what in ("CLI11", "NLOHMANN_JSON", "LIBEDIT")]
        run("cmake", "-G", "Ninja", "-S", SOURCES, "-B", "bare", *off, *lacking, cwd=self.folder)
        targets = run("ninja", "-C", "bare", "-t", "targets", "all", cwd=self.folder)
        self.assertIn("libORVKSLCore.so", targets)
        self.assertFalse(re.search(r"bin/ksl:|libflow|_ksl\.", targets))
        no_pybind = ["-DCMAKE_DISABLE_FIND_PACKAGE_pybind11=ON", "-DKSL_PYTHON=ON"]
        self.assertIn("no package for Python", run("cmake", "-G", "Ninja", "-S", SOURCES, "-B", "light", *no_pybind, cwd=self.folder))

    def test_binaries_name_no_folder_of_this_machine(self):
        back = os.path.relpath(self.libdir, self.ksl.parent)
        for binary, runpath in ((self.ksl, [f"$ORIGIN/{back}"]), (self.libdir / "libORVKSLCore.so", []),
                                (self.libdir / "orvksl/libflow.so", ["$ORIGIN/.."])):
            dynamic = run("readelf", "-d", "-W", binary, cwd=self.root)
            self.assertEqual(re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", dynamic), runpath, binary)
        for file in self.files:
            content = b"" if file.suffix == ".a" else file.read_bytes()  # which keeps what debuggers want to know
            self.assertFalse(any(os.fsencode(place) in content for place in (SOURCES, arguments.build)), file)

    def test_exports_are_our_own(self):
        lines = run("nm", "-D", "--defined-only", self.libdir / "libORVKSLCore.so", cwd=self.root).splitlines()
        names = {line.split()[-1].split("@")[0] for line in lines} - {"ORVKSLCORE_1"}
        header = (self.prefix / "include/orvksl/command/KSLCoreC.h").read_text()
        in_c = set(re.findall(r"^ORV_API .*?(\w+)\(", header, re.MULTILINE))
        ours = "_ZN[VKRO]*3orv|_ZT[ISTV]N3orv|_ZT[chv].*_?N[VKRO]*3orv|_ZTCN3orv"
        in_c |= set(re.findall(r"^ORV_API .*?(\w+)\(", (self.prefix / "include/orvksl/session/KSLCore.h").read_text(),
                               re.MULTILINE))
        self.assertEqual({name for name in names if not re.match(ours, name)}, in_c)

    def test_session_in_c(self):
        flags = run("pkg-config", "--cflags", "--libs", "orvksl", cwd=self.root).split() + [f"-Wl,-rpath,{self.libdir}"]
        run(arguments.cc, "-std=c89", "-pedantic", "-Wall", "-Werror", SOURCES / "examples/embed/session.c", "-o", "session",
            *flags, cwd=self.folder)
        self.assertEqual(run("./session", cwd=self.folder, text=COMMAND), STATE)

    def test_session_in_python(self):
        package = next((file.parent for file in self.files if file.name.startswith("_ksl.cpython")), None)
        if package is None:
            self.skipTest("built without KSL_PYTHON")
        self.build_smallest_plugin()  # which finds the library that the module has loaded for itself
        python = (f"import ksl\ns = ksl.Session()\ns.run({COMMAND!r})\nassert s.plan('CUT: b\\nEND')\n"
                  "try:\n  s.run('NONE: b\\nEND', source='b.ksl')\nexcept ksl.Error as e:\n"
                  "  assert (e.file, e.line) == ('b.ksl', 1)\nprint(s.state(), end='')\n"
                  "r = ksl.Session('rings.ksl')\nr.run('RING: a\\nEND')\nprint(r['a']['Area'])")
        place = {} if arguments.fresh else {"PYTHONPATH": str(package.parent)}
        self.assertEqual(run("/usr/bin/python3", "-W", "error", "-c", python, cwd=self.folder, ORV_KSL_PLUGIN_PATH=".",
                             **place), STATE + "9.42477796076938 [m^2]\n")


def main():
    global arguments
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, default=SOURCES / "build/dev")
    parser.add_argument("--packages", type=pathlib.Path, help="a folder of Debian packages instead of the build")
    parser.add_argument("--fresh", action="store_true", help=argparse.SUPPRESS)  # in the fresh root
    parser.add_argument("--cxx", default=os.environ.get("CXX", "c++"))
    parser.add_argument("--cc", default=os.environ.get("CC", "cc"))
    arguments, others = parser.parse_known_args()
    arguments.build = arguments.build.resolve()
    if arguments.packages:
        if try_in_fresh_root():
            return
        print("No fresh root to be had: the packages are unpacked.")
    unittest.main(argv=[sys.argv[0], *others], verbosity=2)


if __name__ == "__main__":
    main()
