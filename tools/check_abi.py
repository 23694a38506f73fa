#!/usr/bin/env python3
"""Compares the shared library with the kept description of its binary interface: programs and calculate libraries that
were built with version 1.0 must go on working. What is added is no fault; --keep writes the description anew, for a new
major version."""

import argparse
import lzma
import pathlib
import subprocess
import sys
import tempfile

HOME = pathlib.Path(__file__).resolve().parent.parent
KEPT = HOME / "cmake" / "orvksl-1.abi.xz"
# The standard library's types are not ours to keep; their sizes show in ours.
LEFT_OUT = """
[suppress_type]
  name_regexp = ^(std|__gnu_cxx|rapidcheck)::
  drop = yes
[suppress_function]
  name_regexp = ^(std|__gnu_cxx)::
  drop = yes
"""


def describe(library, folder):
    left_out = folder / "left_out.abignore"
    left_out.write_text(LEFT_OUT)
    description = folder / "now.abi"
    subprocess.run(["abidw", "--suppressions", left_out, "--no-show-locs", "--no-comp-dir-path", "--no-corpus-path",
                    "--no-parameter-names", "--headers-dir", HOME / "platform", "--headers-dir",
                    HOME / "KSLCore" / "include", "--drop-private-types", "--out-file", description, library], check=True)
    return description


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("library", type=pathlib.Path, help="libORVKSLCore.so, built with debug information")
    parser.add_argument("--keep", action="store_true", help="write the kept description from this library")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        now = describe(arguments.library, folder)
        if arguments.keep:
            KEPT.write_bytes(lzma.compress(now.read_bytes(), preset=9))
            print("kept in", KEPT.relative_to(HOME), KEPT.stat().st_size, "bytes")
            return 0
        before = folder / "before.abi"
        before.write_bytes(lzma.decompress(KEPT.read_bytes()))
        return subprocess.run(["abidiff", "--no-added-syms", before, now], check=False).returncode


sys.exit(main())
