#!/usr/bin/env python3
"""Checks that the library has no static variable that models would share without knowing.

    check_statics.py build/dev/lib/libORVKSLCore.so

Writable memory holds context variables (ContextLocal), of which each model has its own, and what SHARED lists with the
reason why sharing it is safe. Anything else is named; so is an entry of SHARED that is no longer needed.
"""
import collections
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

CONST = "never changed once it is made"
SHARED = {
    "slots": "under its lock: the list of context variables",
    "UnitsDatabase::instance::database": "asked under its mutex",
    "SharedLocks::loaderLock": "a mutex",
    "SharedLocks::unitsLock": "a mutex",
    "SharedLocks::slotsLock": "a mutex",
    "SharedLocks::blocksLock": "a mutex",
    "UnitSystemWatch::watch::instance": "an observer without data",
    "baseHandler::handler": "an object without data",
    "SharedText::emptyText::empty": CONST,
    "SharedText::emptyText::room": "the same, in place",
    "noText::empty": CONST,
    "idleValue::mode": CONST,
    "idleValue::stack": CONST,
    "isSavedParam::types": CONST,
    "isNeverSaved::types": CONST,
    "resultsDefinedTypes::types": CONST,
    "KSLObject::getDependents::none": CONST,
    "listOf::none": CONST,
    "Outcome::files&::none": CONST,
    "OutputFiles::written::none": CONST,
    "toldOf::none": CONST,
    "ParamDefinition::getExtraRulesString::none": CONST,
    "ParamDefinition::getExtraRulesStrList::none": CONST,
    "NameLink::text::none": CONST,
    "EngineUnitSystemHandler::getUnitSystemNames::names": CONST,
    "quantityDimensions::dimensions": CONST,
    "Rehearsal::passOver::silent": CONST,
    "grammars::table": CONST,
    "harmlessWords::words": CONST,
    "isUnforeseen::foreseen": CONST,
    "commonUnits::units": CONST,
    "longForm::forms": CONST,
}

# What compilers put there.
IGNORED = re.compile(r"guard variable|DW\.ref\.|completed\.|std::__ioinit|__dso_handle|__TMC_END__|\.data|\.bss")


def plain(name):
    """The name without namespaces that have none, arguments and ABI tags."""
    name = name.replace("(anonymous namespace)::", "").replace("[abi:cxx11]", "")
    for brackets in (r"<[^<>]*>", r"\([^()]*\)"):
        while re.search(brackets, name):
            name = re.sub(brackets, "", name)
    return re.sub(r"^orv::|\bconst\b|\s", "", name)


def writable(library):
    listing = subprocess.run(["objdump", "-t", "-C", library], capture_output=True, text=True, check=True).stdout
    for line in listing.splitlines():
        found = re.match(r"[0-9a-f]+ .{7} (\.data|\.bss)\t[0-9a-f]+\s+(?:\.hidden )?(.*)", line)
        if found and not IGNORED.match(found[2]):
            yield plain(found[2])


def context_variables():
    pattern = re.compile(r"constinit ContextLocal<[^;=]*?>\s+([\w:]+)\s*[;(]")
    for tree in ("platform", "KSLCore"):
        for source in (ROOT / tree).rglob("*.cpp"):
            yield from (name.split("::")[-1] for name in pattern.findall(source.read_text()))


def main(library):
    own = collections.Counter(context_variables())
    names = set()
    for name in writable(library):
        own[name.split("::")[-1]] -= 1
        if own[name.split("::")[-1]] < 0:
            names.add(name)
    is_shared = {name: next((key for key in SHARED if ("::" + name).endswith("::" + key)), None) for name in names}
    faults = [f"{name}: a static variable that all models share" for name, key in is_shared.items() if not key]
    faults += [f"{key}: listed here, but not there" for key in set(SHARED) - set(is_shared.values())]
    faults += [f"{name}: declared, but not there" for name, left in own.items() if left > 0]
    for fault in sorted(faults):
        print(f"check_statics.py: {fault}")
    print(f"{len(names)} static variables that models share, {len(faults)} at fault")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
