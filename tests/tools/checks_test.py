"""The checks of tools/ must see the faults they are there for, and accept what is right."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

TOOLS = pathlib.Path(__file__).resolve().parents[2] / "tools"
sys.path.insert(0, str(TOOLS))
import check_layers  # noqa: E402
import mutate  # noqa: E402


class Tree(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = folder.name

    def write(self, path, text):
        file = pathlib.Path(self.root, path)
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")


class LayersTest(Tree):
    DB = "KSLCore/src/database/Db.cpp"
    # name, includer, the include, what is said about it ("" when it is right)
    CASES = [
        ("by a relative path", DB, '"../../include/rules/Rules.h"',
         'layer database may not include rules ("../../include/rules/Rules.h")'),
        ("in brackets", DB, "<rules/Rules.h>", 'our own "rules/Rules.h" is included with quotes'),
        ("blanks in the directive", DB, '  "rules/Rules.h"  // why not',
         'layer database may not include rules ("rules/Rules.h")'),
        ("host sees no internals", "host/main.cpp", '"database/Inner.h"', '"database/Inner.h" is private to KSLCore'),
        ("plug-in sees no other plug-in", "plugins/demo/d.cpp", '"plugins/other/o.h"',
         '"plugins/other/o.h" is private to plugins/other'),
        ("tests are no layer", DB, '"tests/support/Fixture.h"',
         '"tests/support/Fixture.h" belongs to no layer; headers of the system go in <>'),
        ("file in no layer", "KSLCore/src/stray.cpp", "<vector>", None),
    ]
    PRESENT = ["KSLCore/include/rules/Rules.h", "KSLCore/src/database/Inner.h", "host/Options.h",
               "plugins/other/o.h", "tests/support/Fixture.h"]

    # Rows include columns; + is right.
    WHO_SEES_WHOM = """
                  platform database rules command actions services session
        platform      +       -       -      -       -       -       -
        database      +       +       -      -       -       -       -
        rules         +       +       +      -       -       -       -
        command       +       +       +      +       -       -       -
        actions       +       +       +      +       +       -       -
        services      +       +       +      +       -       +       -
        session       +       +       +      +       +       +       +
        host          +       +       +      +       +       +       +
        plugins       +       +       +      -       -       -       -
    """
    FILE = {"platform": "platform/ORVError.h", "host": "host/main.cpp", "plugins": "plugins/demo/d.cpp"}

    def test_who_sees_whom(self):
        layers, *rows = [line.split() for line in self.WHO_SEES_WHOM.strip().splitlines()]
        includes = "".join(f'#include "{layer}/Some.h"\n' for layer in layers)
        expected = []
        for layer, *signs in rows:
            path = self.FILE.get(layer, f"KSLCore/src/{layer}/S.cpp")
            self.write(path, includes)
            expected += [f'{path}:{line}: layer {layer} may not include {seen} ("{seen}/Some.h")'
                         for line, (seen, sign) in enumerate(zip(layers, signs), 1) if sign == "-"]
        self.assertEqual(sorted(check_layers.check(self.root, {})), sorted(expected))

    def test_each_include(self):
        for name, includer, include, said in self.CASES:
            with self.subTest(name):
                self.setUp()
                for path in self.PRESENT:
                    self.write(path, "#pragma once\n")
                self.write(includer, f"#pragma once\n# include {include}\n")
                expected = [f"{includer}:2: {said}"] if said else []
                if said is None:
                    expected = [f"{includer}:1: the file is in no layer's folder"]
                self.assertEqual(check_layers.check(self.root, {}), expected)

    def test_exceptions_excuse_one_include_and_must_be_used(self):
        self.write(self.DB, '#include "rules/Rules.h"\n#include "rules/Other.h"\n')
        excused, stale = (self.DB, "rules/Rules.h"), ("host/gone.cpp", "database/Inner.h")
        self.assertEqual(check_layers.check(self.root, {excused: "why", stale: "why"}), [
            f'{self.DB}:2: layer database may not include rules ("rules/Other.h")',
            'tools/check_layers.py:1: the exception host/gone.cpp -> "database/Inner.h" is not used; remove it',
        ])



class HeadersTest(Tree):
    def run_check(self):
        return subprocess.run([sys.executable, TOOLS / "check_headers.py", "--root", self.root],
                              capture_output=True, text=True)

    def test_faults_are_found_and_named(self):
        self.write("platform/ORVGood.h", '#pragma once\n#include "database/Fine.h"\n')
        self.write("KSLCore/include/database/Fine.h", "#pragma once\nstruct Fine {};\n")
        result = self.run_check()
        self.assertEqual((result.returncode, result.stderr), (0, ""))

        self.write("platform/ORVLeans.h", "#pragma once\nstd::string text();\n")
        self.write("KSLCore/include/rules/Bare.h", "struct Bare;\n")
        result = self.run_check()
        heads = [line for line in result.stderr.splitlines() if ".h:1: " in line]
        self.assertEqual((result.returncode, heads), (1, [
            "KSLCore/include/rules/Bare.h:1: has no #pragma once",
            "platform/ORVLeans.h:1: does not compile on its own",
        ]))



class MutateTest(Tree):
    SOURCE = r'''#include <a> // a == b
bool Cut::isSet(std::vector<int>&& list) const
{
  assert(list.size() > 1 &&
         list.size() < 9);
  /* i == 0 */ const char* text = "a && b" R"(x == y
    stop();
  )";
  if (const int i = find(text); i < 0)
    throw Error("i < 0, not " + text);
  if (!list.empty() || text[0] == '"')
    list.front() = m_count - 1;
  else
    reset(list, false);
  list.reserve(8);
  report(text,
         m_log.take());
  return m_set;
}
'''
    EXPECTED = """
        9: if (const int i = find(text); i <= 0)
        9: if (const int i = find(text); i >= 0)
        10: ;
        11: if (!(!list.empty() || text[0] == '"'))
        11: if (!list.empty() && text[0] == '"')
        11: if (!list.empty() || text[0] != '"')
        12: ;
        12: list.front() = m_count + 1;
        14: ;
        18: return !(m_set);
    """

    def test_faults_of_a_source(self):
        found = sorted(mutate.mutants_of("Cut.cpp", self.SOURCE), key=lambda mutant: (mutant.line, mutant.after))
        self.assertEqual([f"{mutant.line}: {mutant.after}" for mutant in found],
                         [line.strip() for line in self.EXPECTED.strip().splitlines()])




class LinesTest(Tree):
    def test_share_is_printed_and_bounded(self):
        self.write("host/main.cpp", "int main()\n{\n\n}\n")
        self.write("KSLCore/src/rules/R.h", "#pragma once\n")
        self.write("tests/host/T.py", "pass\n \n")
        self.write("tests/host/data.ksl", "CUT: a\nEND\n")
        for limit, status in (("25", 0), ("24.9", 1)):
            result = subprocess.run([sys.executable, TOOLS / "count_lines.py", "--root", self.root, "--limit", limit],
                                    capture_output=True, text=True)
            self.assertEqual((result.returncode, result.stdout.splitlines()), (status, [
                "      1  KSLCore/src/rules", "      3  host", "      4  code", "",
                "      1  tests/host", "      1  tests", "", "The tests are 25.0 % of the code."]))


if __name__ == "__main__":
    unittest.main()
