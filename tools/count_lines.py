#!/usr/bin/env python3
"""Prints the lines of code and of tests by folder, and what share the tests are of the code.

Lines that are not blank count, of C, C++ and Python files. With --limit a larger share is a failure.
"""

import argparse
import os
import sys

CODE = ("KSLCore", "platform", "host", "plugins", "python", "tools")
TESTS = ("tests", "fuzz")
SOURCE = (".cpp", ".h", ".hpp", ".c", ".py")


def lines_of(path):
    with open(path, encoding="utf-8") as file:
        return sum(1 for line in file if line.strip())


def count(root, tops):
    """Lines by folder, two levels deep."""
    lines = {}
    for top in tops:
        for folder, folders, files in os.walk(os.path.join(root, top)):
            folders[:] = [name for name in folders if name != "__pycache__"]
            key = "/".join(os.path.relpath(folder, root).split(os.sep)[:3 if top == "KSLCore" else 2])
            number = sum(lines_of(os.path.join(folder, name)) for name in files if name.endswith(SOURCE))
            if number:
                lines[key] = lines.get(key, 0) + number
    return lines


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--root", default=os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    parser.add_argument("--limit", type=float, help="the largest share allowed, in percent")
    arguments = parser.parse_args()
    sums = []
    for title, tops in (("code", CODE), ("tests", TESTS)):
        lines = count(arguments.root, tops)
        sums.append(sum(lines.values()))
        for folder in sorted(lines):
            print(f"{lines[folder]:7}  {folder}")
        print(f"{sums[-1]:7}  {title}\n")
    if not sums[0]:
        print("count_lines.py: found no code; is --root right?", file=sys.stderr)
        return 1
    share = 100 * sums[1] / sums[0]
    print(f"The tests are {share:.1f} % of the code.")
    if arguments.limit is not None and share > arguments.limit:
        print(f"count_lines.py: at most {arguments.limit:g} % is the rule", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
