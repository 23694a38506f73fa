#!/usr/bin/env python3
"""Puts faults into the product's sources, one at a time, and tells which of them no test notices.

The sites are chosen by a seed from the given sources alone: the same faults can be tried on two states of the tests.
All work is done on copies in build/mutate, so a run may be stopped at any time and goes on where it was. Mutants that
no test can notice stand in tools/equivalent_mutants.txt and leave the count; --only reads what is printed as survived.
"""

import argparse
import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import check_layers

FILES = ["platform/src/kslapi", *("KSLCore/src/" + layer for layer in check_layers.CORE if layer != "session")]
SOURCES = "CMakeLists.txt cmake README.md KSLCore platform host plugins share examples docs tests fuzz tools".split()
CMAKE = ["-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -D_GLIBCXX_ASSERTIONS",
         "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON", "-DKSL_TESTS=ON", "-DKSL_WERROR=OFF", "-DKSL_PYTHON=OFF"]
HOME = pathlib.Path(__file__).resolve().parent
STILLBORN = "does not compile"
Mutant = collections.namedtuple("Mutant", "file line before after")  # line: from 1; texts without outer blanks

NOT_CODE = re.compile(r'''//[^\n]*|/\*.*?\*/|R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*"
                          |(?<!\w)'(?:\\.|[^'\\\n])+'|^[ \t]*\#(?:\\\n|[^\n])*''', re.X | re.S | re.M)
TURNED = {"==": ["!="], "!=": ["=="], "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
          "&&": ["||"], "||": ["&&"]}
OPERATOR = re.compile(r"(?<= )(==|!=|<=|>=|<|>|&&|\|\|)(?=\s|$)")
STEP = re.compile(r"(?<= )([+-])(?= 1\b(?![.']))")
CONDITION = re.compile(r"\b(?:if|while) \(")
CALL = re.compile(r"(?!(?:return|throw|delete|static_cast)\b|.*\b(?:reserve|shrink_to_fit)\()"
                  r"[\w:.>*\[\](-]+(?:<[\w:, *]+>)?\(.*\);$")
ASSIGNMENT = re.compile(r"[\w:.>*\[\]()-]+ (?:[-+*/|&]?=) .*;$|(?:\+\+|--)[\w:.>\[\]()-]+;$")
EXIT = re.compile(r"(?:return\b.*|continue|break|throw\b.*);$")


def code_of(text):
    """The text with everything that is not code blanked, in its old places."""
    def blank(start, end, filler):
        return text[:start] + re.sub(r"[^\n]", filler, text[start:end]) + text[end:]
    for match in NOT_CODE.finditer(text):
        text = blank(*match.span(), "\"" if match[0][0] in "\"R'" else " ")
    for match in re.finditer(r"\b(?:static_)?assert\(", text):
        text = blank(match.start(), closing(text, match.end() - 1) + 1, " ")
    return text


def closing(text, start):
    """The place of the bracket that closes the one at start; the end of the text when there is none."""
    depth = 0
    for place in range(start, len(text)):
        depth += {"(": 1, ")": -1}.get(text[place], 0)
        if depth == 0:
            return place
    return len(text)


def edits(code, is_start, after_if, in_predicate):
    """The faults of one line of code: (from, to, replacement); statements begin where the line does."""
    for match in OPERATOR.finditer(code):
        yield from ((match.start(), match.end(), other) for other in TURNED[match[0]])
    for match in STEP.finditer(code):
        yield match.start(), match.end(), "-" if match[0] == "+" else "+"
    for match in CONDITION.finditer(code):
        end = closing(code, match.end() - 1)
        if end < len(code) and not re.search(r";| = ", code[match.end():end]):
            yield match.end(), end, "!({})"
    start, statement = len(code) - len(code.lstrip()), code.strip()
    if is_start and (CALL.match(statement) or ASSIGNMENT.match(statement)):
        yield start, len(code), ";"
    if after_if and EXIT.match(statement):
        yield start, len(code), ";"
    if is_start and in_predicate and re.match(r"return .+;$", statement):
        other = {"return true;": "return false;", "return false;": "return true;"}.get(statement)
        yield (start, len(code), other) if other else (start + 7, len(code) - 1, "!({})")


def mutants_of(file, text):
    previous, in_predicate = "{", False
    for number, (line, code) in enumerate(zip(text.split("\n"), code_of(text).split("\n")), 1):
        code = code.rstrip()
        if re.match(r"\w", code):
            in_predicate = bool(re.match(r"(?:static |inline |constexpr )*bool ", code))
        is_start = bool(re.search(r"(?:[;{}):]|\belse)$", previous))
        after_if = is_start and bool(re.match(r"\s*(?:\} )?(?:if|else)\b", previous))
        for start, end, new in edits(code, is_start, after_if, in_predicate):
            new = new.replace("{}", line[start:end])
            yield Mutant(file, number, line.strip(), (line[:start] + new + line[end:len(code)]).strip())
        previous = code or previous


def all_mutants(root, files, seed):
    """Every mutant of the files in the order of trial, in which each has its place by its own text alone."""
    tops = [root / file for file in files]
    paths = {path for top in tops for path in (top, *top.rglob("*")) if path.suffix in (".cpp", ".h")}
    found, count = [], collections.Counter()
    for path in sorted(paths):
        for mutant in mutants_of(path.relative_to(root).as_posix(), path.read_text(encoding="utf-8")):
            same = (mutant.file, mutant.before, mutant.after)
            count[same] += 1
            found.append((hashlib.sha256(f"{seed} {same} {count[same]}".encode()).digest(), mutant))
    return [mutant for _, mutant in sorted(found)]


def read_list(root, path):
    """The mutants of a list: 'file:line', '- before', '+ after'; of equal lines the one nearest to the number."""
    text, found = path.read_text(encoding="utf-8"), []
    for file, number, before, after in re.findall(r"^([^\s#:]+)(?::(\d+))?\n- (.*)\n\+ ?(.*)$", text, re.M):
        lines = enumerate((root / file).read_text(encoding="utf-8").split("\n"), 1)
        places = [place for place, line in lines if line.strip() == before]
        if places:
            found.append(Mutant(file, min(places, key=lambda place: abs(place - int(number or 0))), before, after))
        else:
            print(f"mutate.py: {path.name}: {file} has no line '{before}'", file=sys.stderr)
    return found


def tracked(root):
    command = ["git", "ls-files", "-z", "-co", "--exclude-standard", *SOURCES]
    names = subprocess.run(command, cwd=root, check=True, capture_output=True, text=True).stdout.split("\0")
    return sorted(name for name in set(names) if name and (root / name).is_file())


def layers_seen(root, program):
    """The layers that a test program works with: those it includes, itself or by what it shares, and all below."""
    waiting = [path.relative_to(root).as_posix() for path in (root / "tests" / program).rglob("*.*")]
    files, layers = set(), set()
    while waiting:
        path = waiting.pop()
        text = (root / path).read_text(encoding="utf-8") if path not in files and (root / path).is_file() else ""
        files.add(path)
        layers.update(check_layers.ALLOWED if re.search("KSL_BIN|KSL_PLUGIN_DIR", text) else ())
        for include in re.findall(r'^\s*#\s*include\s*"([^"]+)"', text, re.M):
            target = check_layers.resolve(root, path, include)
            if layer := check_layers.layer_of(target):
                layers.update({layer} | check_layers.ALLOWED[layer])
            else:
                waiting += [target, target.removesuffix(".h") + ".cpp"]
    return layers


class Tree:
    """A copy of the sources with a build of its own, brought to the state of the user's tree."""

    def __init__(self, root, folder):
        self.sources, self.folder = folder / "tree", folder / "build"
        self.environment = dict(os.environ, CCACHE_BASEDIR=str(folder), CCACHE_NOHASHDIR="1", RC_PARAMS="seed=1",
                                KSL_BIN=str(self.folder / "bin/ksl"), KSL_SOURCE_DIR=str(self.sources))
        names = tracked(root)
        for path in [path for path in self.sources.rglob("*") if path.is_file()]:
            if path.relative_to(self.sources).as_posix() not in names:
                path.unlink()
        for name in names:
            copy = self.sources / name
            if not copy.exists() or copy.read_bytes() != (root / name).read_bytes():
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(root / name, copy)
        ccache = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        if not (self.folder / "build.ninja").exists():
            self.call("cmake", "-S", self.sources, "-B", self.folder, *CMAKE, *ccache)
        if not self.call("ninja", "-C", self.folder):
            sys.exit(f"mutate.py: the sources as they are do not compile: ninja -C {self.folder}")

    def call(self, *command):
        return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              env=self.environment).returncode == 0

    def passes(self, program, limit):
        """Whether a test program passes within so many seconds."""
        def bounded():  # a mutant may well ask for all the memory and all the time there is
            for ignored in (signal.SIGHUP, signal.SIGQUIT):  # by nohup, for one
                signal.signal(ignored, signal.SIG_DFL)
            for what, most in (("AS", 4 << 30), ("CPU", int(limit)), ("CORE", 0)):
                resource.setrlimit(getattr(resource, "RLIMIT_" + what), (most, most))
        with tempfile.TemporaryDirectory() as folder:
            process = subprocess.Popen([self.folder / "bin" / program, "--gtest_fail_fast", "--gtest_brief=1"],
                                       cwd=folder, env=self.environment, stdin=subprocess.DEVNULL, preexec_fn=bounded,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
            try:
                return process.wait(limit) == 0
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                return process.wait() == 0

    def attempt(self, mutant, programs):
        """What becomes of a mutant; programs: name to time limit, in the order to run."""
        file = self.sources / mutant.file
        original = file.read_text(encoding="utf-8")
        lines = original.split("\n")
        lines[mutant.line - 1] = mutant.after
        file.write_text("\n".join(lines), encoding="utf-8")
        try:
            for program, limit in programs.items():
                if not self.call("ninja", "-C", self.folder, program):
                    return STILLBORN
                if not self.passes(program, limit):
                    return "killed by " + program
            return "survived"
        finally:
            file.write_text(original, encoding="utf-8")


class Run:
    """What is known of this state of the sources; each result is in the log as soon as it is there."""

    def __init__(self, root, jobs):
        self.log = root / "build/mutate/log.jsonl"
        self.log.parent.mkdir(parents=True, exist_ok=True)
        contents = b"".join(name.encode() + b"\0" + (root / name).read_bytes() + b"\0" for name in tracked(root))
        self.digest, self.results, self.seconds = hashlib.sha256(contents).hexdigest(), {}, {}
        for entry in map(json.loads, self.log.read_text().splitlines() if self.log.exists() else ()):
            if entry["sources"] == self.digest:
                self.seconds.update(entry.get("seconds", {}))
                if "mutant" in entry:
                    self.results[Mutant(*entry["mutant"])] = entry["result"]
        trees = [Tree(root, self.log.parent / str(number)) for number in range(jobs)]
        if not self.seconds:
            self.time_tests(trees[0])
        self.seen = {program: layers_seen(root, program.removeprefix("test_")) for program in self.seconds}
        self.free = trees

    def note(self, **entry):
        with open(self.log, "a", encoding="utf-8") as file:
            file.write(json.dumps(dict(sources=self.digest, **entry)) + "\n")

    def time_tests(self, tree):
        """Seconds of each test program, on sources without a fault: the order to run them in, and their limits."""
        for program in sorted(path.name for path in (tree.folder / "bin").glob("test_*")):
            start = time.monotonic()
            if not tree.passes(program, 1800):
                sys.exit(f"mutate.py: {program} fails on the sources as they are")
            self.seconds[program] = round(time.monotonic() - start, 1)
        self.note(seconds=self.seconds)

    def result_of(self, mutant):
        if mutant not in self.results:
            start, tree, layer = time.monotonic(), self.free.pop(), check_layers.layer_of(mutant.file)
            programs = sorted((name for name in self.seen if layer in self.seen[name]), key=self.seconds.get)
            result = tree.attempt(mutant, {name: 15 + 6 * self.seconds[name] for name in programs})
            self.results[mutant] = result
            self.free.append(tree)
            self.note(mutant=mutant, result=result)
            print(f"{time.monotonic() - start:5.0f} s  {result}: {mutant.file}:{mutant.line}: "
                  f"{mutant.before}  ->  {mutant.after}", flush=True)
        return self.results[mutant]

    def try_out(self, candidates, wanted):
        """The first of the candidates that compile, as many as wanted."""
        chosen, place = [], 0
        with concurrent.futures.ThreadPoolExecutor(len(self.free)) as pool:
            while len(chosen) < wanted and place < len(candidates):
                batch = candidates[place:place + wanted - len(chosen)]
                place += len(batch)
                results = list(pool.map(self.result_of, batch))
                chosen += [mutant for mutant, result in zip(batch, results) if result != STILLBORN]
        return chosen


def report(results, equivalents):
    counted = [mutant for mutant in results if mutant not in equivalents]
    survived = sorted(mutant for mutant in counted if results[mutant] == "survived")
    print("\nSurvived:\n" if survived else "")
    for mutant in survived:
        print(f"{mutant.file}:{mutant.line}\n- {mutant.before}\n+ {mutant.after}\n")
    killed = len(counted) - len(survived)
    print(f"{killed} of {len(counted)} killed ({100 * killed / max(len(counted), 1):.1f} %), {len(survived)} survived, "
          f"{len(results) - len(counted)} equivalent left out")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--root", type=pathlib.Path, default=HOME.parent)
    parser.add_argument("--mutants", type=int, default=60)
    parser.add_argument("--seed", default="1")
    parser.add_argument("--jobs", type=int, default=1, help="how many to try at the same time")
    parser.add_argument("--only", type=pathlib.Path, help="try the mutants of this list")
    parser.add_argument("files", nargs="*", default=FILES, help="files or folders of the product, relative to the root")
    arguments = parser.parse_args()
    root = arguments.root.resolve()
    signal.signal(signal.SIGINT, signal.SIG_DFL)  # the log has all results, and the copies are mended when next used
    candidates = (read_list(root, arguments.only) if arguments.only else
                  all_mutants(root, arguments.files, arguments.seed))
    run = Run(root, arguments.jobs)
    tried = run.try_out(candidates, len(candidates) if arguments.only else arguments.mutants)
    report({mutant: run.results[mutant] for mutant in tried}, read_list(root, HOME / "equivalent_mutants.txt"))


if __name__ == "__main__":
    main()
