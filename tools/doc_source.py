#!/usr/bin/env python3
"""What Doxygen reads in place of a file: headers with their plain comments as documentation, pages with links that it
understands (it knows no anchors made from headings)."""

import os
import re
import sys


def header(text):
    text = re.sub(r"template <>\nstruct std::hash<.*?\n};\n", "", text, flags=re.S)  # Doxygen loses its way in these
    if text.startswith("// "):
        text = "/// \\file\n" + text
    out = []
    for line in text.split("\n"):
        if re.match(r"\s*// -{4,}", line):  # a heading between groups of declarations
            line = ""
        line = re.sub(r"^(\s*)//(?=\s|$)", r"\1///", line)
        line = re.sub(r"^(\s*[^/\s].*?[;,{}]\s+)// (?!NOLINT|clang-format)", r"\1///< ", line)
        out.append(re.sub(r"(///.*?)(<[a-z ]+>)", r"\1`\2`", line))
    return "\n".join(out)


def page(text, name):
    def anchor(page_name, words):
        return page_name + "-" + re.sub(r"[^\w -]", "", words.lower()).replace(" ", "-")

    def link(match):
        target, _, words = match[2].partition("#")
        base = os.path.basename(target)
        if words:
            return "[%s](#%s)" % (match[1], anchor(base[:-3] if base else name, words))
        return match[0] if base.endswith(".md") else match[1]

    fenced, out = False, []
    lines = iter(text.split("\n"))
    for line in lines:
        while not fenced and not line.startswith("```") and line.count("`") % 2:
            line += " " + next(lines)  # no line end within code
        fenced ^= line.startswith("```")
        if not fenced:
            line = line.replace('`"`', "<tt>&quot;</tt>").replace("\\n", "\\\\n")  # it looks for commands in code, too
        if not fenced and (heading := re.match(r"##+ (.+)", line)):
            line += " {#%s}" % anchor(name, heading[1])
        out.append(line if fenced else re.sub(r"\[([^\]]+)\]\((?!\w+:)([^)\s]+)\)", link, line))
    return "\n".join(out)


def main(path):
    with open(path, encoding="utf-8") as source:
        text = source.read()
    name = os.path.basename(path)
    sys.stdout.write(page(text, name[:-3]) if path.endswith(".md") else header(text))


main(sys.argv[1])
