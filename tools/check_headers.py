#!/usr/bin/env python3
"""Checks that every public header compiles on its own, as C++17 too, and may be included twice.

Headers can be named as arguments; without any, all of platform/ and KSLCore/include/ are checked.
"""

import argparse
import concurrent.futures
import glob
import os
import re
import subprocess
import sys
import tempfile

FLAGS = ["-std=c++17", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wnon-virtual-dtor", "-Werror"]
PREFIXES = ("KSLCore/include/", "")


def public_headers(root):
    found = glob.glob("platform/*.h", root_dir=root)
    found += glob.glob("KSLCore/include/**/*.h", root_dir=root, recursive=True)
    return sorted(found)


def include_name(header):
    return next(header[len(prefix):] for prefix in PREFIXES if header.startswith(prefix))


def check(root, compiler, generated, header):
    """What is wrong with one header; empty when nothing is."""
    with open(os.path.join(root, header), encoding="utf-8") as file:
        if not re.search(r"^#pragma once$", file.read(), re.MULTILINE):
            return f"{header}:1: has no #pragma once\n"
    line = f'#include "{include_name(header)}"\n'
    command = [compiler, *FLAGS, "-I.", "-IKSLCore/include", f"-I{generated}", "-x", "c++", "-"]
    result = subprocess.run(command, cwd=root, input=line + line, capture_output=True, text=True)
    return "" if result.returncode == 0 else f"{header}:1: does not compile on its own\n{result.stderr}"


def stamp(root, folder):
    """Makes the header that a build generates."""
    script = os.path.join(root, "tools/interface_stamp.cmake")
    if os.path.exists(script):
        subprocess.run(["cmake", f"-DROOT={root}", f"-DOUT={folder}", "-DVERSION=0", "-P", script], check=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--root", default=os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    parser.add_argument("--compiler", default=os.environ.get("CXX", "g++"))
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("headers", nargs="*", help="relative to the root")
    arguments = parser.parse_args()
    headers = arguments.headers or public_headers(arguments.root)
    if not headers:
        print("check_headers.py: found no public header; is --root right?", file=sys.stderr)
        return 1
    with tempfile.TemporaryDirectory() as generated, concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        stamp(arguments.root, generated)
        checks = pool.map(lambda h: check(arguments.root, arguments.compiler, generated, h), headers)
        faults = [fault for fault in checks if fault]
    sys.stderr.write("".join(faults))
    print(f"{len(headers)} headers, {len(faults)} at fault")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
