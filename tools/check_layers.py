#!/usr/bin/env python3
"""Checks that every file includes only its own layer and the layers below it.

A layer is a folder name; ALLOWED says what each may see. EXCEPTIONS holds the few includes that break the rule on
purpose; one that is no longer needed is reported too, so the list only shrinks.
"""

import argparse
import os
import re
import sys

CORE = ("database", "rules", "command", "actions", "services", "session")

# What a file of a layer may include besides its own layer.
ALLOWED = {
    "platform": set(),
    "database": {"platform"},
    "rules": {"platform", "database"},
    "command": {"platform", "database", "rules"},
    "actions": {"platform", "database", "rules", "command"},
    "services": {"platform", "database", "rules", "command"},
    "session": {"platform", "database", "rules", "command", "actions", "services"},
    "host": {"platform", "database", "rules", "command", "actions", "services", "session"},
    "plugins": {"platform", "database", "rules"},
}

# {(file, include as written): reason}
EXCEPTIONS = {("host/mpi/MpiCommunicator.h", "plugins/vtk/Communicator.h"): "what the program gives to the library"}

# Where a quoted include is looked for, besides the including file's own folder.
SEARCH = ("", "KSLCore/include", "KSLCore/src")

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^">]+)[>"]')
SOURCE = (".h", ".hpp", ".cpp", ".inc")


def layer_of(path):
    """The layer of a path relative to the root, or None outside the layered folders."""
    names = path.split("/")
    if names[0] == "KSLCore":
        return names[2] if len(names) > 3 and names[1] in ("include", "src") and names[2] in CORE else None
    return names[0] if names[0] in ("platform", "host", "plugins") else None


def private_to(path):
    """The folder that alone may include this header, or None when it is public."""
    for tree in ("platform", "KSLCore"):
        if path.startswith(tree + "/src/"):
            return tree
    names = path.split("/")
    return "/".join(names[:2]) if names[0] == "plugins" and names[1] != "common" else None


def sources(root):
    for top in ("platform", "KSLCore/include", "KSLCore/src", "host", "plugins"):
        for folder, folders, files in os.walk(os.path.join(root, top)):
            folders.sort()
            for name in sorted(files):
                if name.endswith(SOURCE):
                    yield os.path.relpath(os.path.join(folder, name), root).replace(os.sep, "/")


def resolve(root, includer, include):
    """The path of an included file relative to the root; a missing one is placed by the folder it names."""
    for base in (os.path.dirname(includer),) + SEARCH:
        path = os.path.normpath(os.path.join(base, include)).replace(os.sep, "/")
        if os.path.isfile(os.path.join(root, path)):
            return path
    if include.split("/")[0] in CORE:
        return "KSLCore/include/" + include
    return os.path.normpath(include).replace(os.sep, "/")


def fault(root, includer, bracket, include):
    """What is wrong with one include, or None."""
    layer = layer_of(includer)
    if layer is None:
        return None
    ours = include.split("/")[0] in ALLOWED
    if bracket == "<":
        return f'our own "{include}" is included with quotes' if ours else None
    path = resolve(root, includer, include)
    target = layer_of(path)
    if target is None:
        return f'"{include}" belongs to no layer; headers of the system go in <>'
    if target != layer and target not in ALLOWED[layer]:
        return f'layer {layer} may not include {target} ("{include}")'
    owner = private_to(path)
    if owner and not includer.startswith(owner + "/"):
        return f'"{include}" is private to {owner}'
    return None


def check(root, exceptions):
    """All faults, as 'file:line: message'."""
    messages, used = [], set()
    for path in sources(root):
        if layer_of(path) is None:
            messages.append(f"{path}:1: the file is in no layer's folder")
            continue
        with open(os.path.join(root, path), encoding="utf-8") as file:
            for number, line in enumerate(file, 1):
                match = INCLUDE.match(line)
                if not match:
                    continue
                message = fault(root, path, match[1], match[2])
                if message and (path, match[2]) in exceptions:
                    used.add((path, match[2]))
                elif message:
                    messages.append(f"{path}:{number}: {message}")
    for path, include in sorted(set(exceptions) - used):
        messages.append(f'tools/check_layers.py:1: the exception {path} -> "{include}" is not used; remove it')
    return messages


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--root", default=os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    messages = check(parser.parse_args().root, EXCEPTIONS)
    print("\n".join(messages), file=sys.stderr, end="\n" if messages else "")
    return 1 if messages else 0


if __name__ == "__main__":
    sys.exit(main())
