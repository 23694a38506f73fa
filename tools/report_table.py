#!/usr/bin/env python3
"""Makes docs/errors.md of the table of reports in host/ReportTable.cpp, and holds the table and the sources together.

    report_table.py           writes docs/errors.md
    report_table.py --check   says what differs: texts of the sources without an entry, entries whose text is in no
                              source, and a document that is not the table's
"""

import argparse
import pathlib
import re
import sys

TABLE = "host/ReportTable.cpp"
DOCUMENT = "docs/errors.md"
FOLDERS = ["platform", "KSLCore", "host", "plugins"]

# Formatted texts that are no reports and no part of one that could be looked up.
OTHERS = {
    ", ... (%d)", " Looked for in '%s' and the system's places.", " [%s]", " for parameter '%s'", "%d changed, %d recalculated, %s\\n", "%d added, %d changed, %d deleted",
    "%d of %d %s", "%s (%s) x%d", "%s: %d more errors", "%s: %s", "%s: %s %s", "/RULES/%s:%s/Allowed Parent List",
    "%s Did you mean '%s'?", "<entry %d>", "line=%d,col=%d,", "rolled back %d changes",
}

LITERAL = r'"(?:[^"\\]|\\.)*"'
FORMATTED = re.compile(r'(?<![\w"])_\(\s*((?:%s\s*)+)' % LITERAL)
TEXT = re.compile(r'(?:%s\s*)+' % LITERAL)


def joined(literals):
    return "".join(text[1:-1] for text in re.findall(LITERAL, literals))


def read_table(root):
    """[(heading, [(text, type, meaning, remedy)])]"""
    source = (root / TABLE).read_text(encoding="utf-8")
    table = source.split('R"table(')[1].split(')table"')[0]
    groups, before = [], ("", "")
    lines = iter(table.splitlines())
    for line in lines:
        if line.startswith("## "):
            groups.append((line[3:], []))
        elif line:
            fields = next(lines).split(" | ")
            if len(fields) != 3:
                raise ValueError(f"{TABLE}: '{line}' has {len(fields)} fields behind it, not 3")
            meaning, remedy = (before[i] if field == "As above." else field for i, field in enumerate(fields[1:]))
            before = (meaning, remedy)
            groups[-1][1].append((line, fields[0], meaning, remedy))
    return groups


def document(groups):
    out = ["# Reports", "",
           "Every report of the library and of `ksl`, its type, what it means and what to do. `ksl explain 'TEXT'` finds an "
           "entry by the text of a report. `%s` and `%d` stand for what differs. Types: 1 a failure of the machine, 4 an "
           "error to be mended by its user, 8 a warning, 32 a fault of a program; a note stands below a report, a part "
           "in one.", "",
           "Made by `tools/report_table.py` of the table in `host/ReportTable.cpp`.", ""]
    for heading, entries in groups:
        out += ["## " + heading, "", "| Report | Type | It means | What to do |", "| --- | --- | --- | --- |"]
        for text, kind, meaning, remedy in entries:
            cells = [f"`{text}`", kind, meaning, remedy]
            out.append("| " + " | ".join(cell.replace("|", "\\|") for cell in cells) + " |")
        out.append("")
    return "\n".join(out)


def source_texts(root):
    """Formatted texts, and all literals, each with a file that has it."""
    formatted, literals = {}, {}
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".cpp", ".h") or path == root / TABLE:
                continue
            text = re.sub(r"(?m)(^|\s)//[^\n]*", "", path.read_text(encoding="utf-8"))
            name = path.relative_to(root).as_posix()
            for match in FORMATTED.finditer(text):
                formatted.setdefault(joined(match[1]), name)
            for match in TEXT.finditer(text):
                literals.setdefault(joined(match[0]), name)
    return formatted, literals


def check(root):
    groups = read_table(root)
    entries = [text for _, group in groups for text, *_ in group]
    formatted, literals = source_texts(root)
    messages = [f"{name}: '{text}' has no entry in {TABLE}" for text, name in formatted.items()
                if text not in entries and text not in OTHERS]
    messages += [f"{TABLE}: '{text}' is in no source" for text in entries if text not in literals and text not in formatted]
    messages += [f"{TABLE}: '{text}' has two entries" for text in set(entries) if entries.count(text) > 1]
    messages += [f"tools/report_table.py: '{text}' is in no source" for text in OTHERS if text not in formatted]
    written = root / DOCUMENT
    if not written.exists() or written.read_text(encoding="utf-8") != document(groups):
        messages.append(f"{DOCUMENT}: is not what the table says; run tools/report_table.py")
    return messages


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true")
    root = pathlib.Path(__file__).resolve().parents[1]
    if not parser.parse_args().check:
        (root / DOCUMENT).write_text(document(read_table(root)), encoding="utf-8")
        return 0
    messages = check(root)
    print("\n".join(messages), end="\n" if messages else "")
    return 1 if messages else 0


if __name__ == "__main__":
    sys.exit(main())
