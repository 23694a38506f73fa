#!/usr/bin/env python3
"""No two sources of one target give the same name to different things of their own, in unnamed namespaces or otherwise.

So the sources of a target can be compiled in groups, as the presets of the sanitizers and fuzzers do (they build in less
than half the time), however the groups fall. Each target is read as one source; nothing is generated.
  check_locals.py BUILD_FOLDER
"""

import collections
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

TARGET = re.compile(r"CMakeFiles/([^/]+)\.dir/")
OF_ONE_SOURCE = ("-o", "-MF", "-MT", "-MQ")  # with the word behind them


def targets(build):
    """Name to commands, for targets of several C++ sources."""
    found = collections.defaultdict(list)
    for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
        name = TARGET.search(entry["command"])
        if name and entry["file"].endswith(".cpp"):
            found[name[1]].append(entry)
    return {name: entries for name, entries in found.items() if len(entries) > 1}


def command_for(entries, source):
    """The command of the first source with the definitions of all, to read another source."""
    words = shlex.split(entries[0]["command"])
    words = words[next(at for at, word in enumerate(words) if word.startswith("-")) - 1:]  # no compiler launcher
    command, skip = [], False
    for word in words:
        if not skip and word not in OF_ONE_SOURCE and word not in ("-c", "-Werror", entries[0]["file"]):
            command.append(word)
        skip = word in OF_ONE_SOURCE
    definitions = {word for entry in entries for word in shlex.split(entry["command"]) if word.startswith("-D")}
    return [*command, *sorted(definitions), "-w", "-O0", "-fsyntax-only", str(source)]


def errors_of(build, name, entries):
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder) / (name + ".cpp")
        source.write_text("".join(f'#include "{entry["file"]}"\n' for entry in entries), encoding="utf-8")
        result = subprocess.run(command_for(entries, source), cwd=build, capture_output=True, text=True)
    if result.returncode == 0:
        return []
    return [line for line in result.stderr.splitlines() if "error:" in line][:10] or [result.stderr]


def main():
    build = pathlib.Path(sys.argv[1])
    found = targets(build)
    if not found:
        sys.exit("check_locals.py: no targets in " + str(build / "compile_commands.json"))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = dict(zip(found, pool.map(lambda name: errors_of(build, name, found[name]), found)))
    for name, errors in results.items():
        for error in errors:
            print(f"{name}: {error}")
    print(f"{len(found)} targets read as one source each, {sum(map(bool, results.values()))} at fault")
    return any(results.values())


if __name__ == "__main__":
    sys.exit(main())
