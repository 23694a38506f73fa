// What is computed from what: "ksl graph" draws it, "ksl run" tells of it while commands run.
#include "boxes.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <regex>

namespace {

Outcome graph(const Arguments& options, const std::string& input = {}, const std::string& environment = {})
{
  Arguments arguments{"graph", "--library", boxes()};
  arguments.insert(arguments.end(), options.begin(), options.end());
  return ksl(arguments, input, environment);
}

TEST(Graph, ObjectsSchedulersAndLinks)
{
  std::string objects;
  std::string links;
  for (const std::string path : {"/BOX:a", "/BOX:b", "/BOX:c", "/BOX:d"}) {
    objects += "  subgraph \"cluster " + path + "\" {\n    label=\"" + path + "\";\n";
    for (const std::string type : {"Make", "Paint"})
      objects += "    \"" + path + " (" + type + ")\" [label=\"" + type + "\"];\n";
    objects += "  }\n";
    links += "  \"" + path + " (Make)\" -> \"" + path + " (Paint)\";\n";
  }
  const std::string dot = "digraph ksl {\n  rankdir=LR;\n  node [shape=box];\n" + objects
                          + "  \"/MARK:m\\\"\\\\ &lt;\" [label=\"/MARK:m\\\"\\\\ &amp;lt;\", shape=plain];\n"
                          + links +
                          R"dot(  "/BOX:d (Paint)" -> "/BOX:a (Make)" [label="x2"];
  "/BOX:d (Paint)" -> "/BOX:b (Make)";
  "/BOX:d (Paint)" -> "/BOX:c (Make)";
}
)dot";
  // Made in no order; what is drawn is in that of paths and types. What failed is not drawn.
  const std::string text =
      "BOX: d\nEND\nBOX: c\n  On = d\nEND\nBOX: a\n  On = d\n  Beside = d\nEND\nBOX: b\n  On = d\nEND\nMARK: "
      "m\"\\ &lt;\nEND";
  EXPECT_EQ(graph({"--dot", "-"}, text), (Outcome{0, dot, ""}));
  EXPECT_EQ(graph({"--format", "short", "-e", text, "-e", "MARK: n\nEND\nMURK: o\nEND"}),
            (Outcome{1, dot, "-e2:3:1: error[4]: Could not find object: MURK\nrolled back 2 changes\n"}));
}

TEST(Graph, SvgIsGraphvizsAnswer)
{
  namespace fs = std::filesystem;
  const std::string program = makeFile("bin/dot", "#!/bin/sh\necho \"$# $*\"\ncat\n");
  fs::permissions(program, fs::perms::owner_all);
  const std::string path = "PATH=" + fs::path(program).parent_path().string();
  EXPECT_EQ(graph({"--svg", "-"}, "MARK: a\nEND", path + ":/usr/bin:/bin"),
            (Outcome{0, "1 -Tsvg\n" + graph({"-"}, "MARK: a\nEND").out, ""}));
  makeFile("bin/dot", "#!/bin/sh\nexit 3\n");
  EXPECT_EQ(graph({"--svg"}, {}, path),
            (Outcome{1, "", "ksl: error[4]: Graphviz's program 'dot' failed.\n"}));
  EXPECT_EQ(graph({"--svg"}, {}, path + "/none"),
            (Outcome{1, "",
                     "ksl: error[4]: Graphviz's program 'dot' was not found. Install Graphviz (the "
                     "package 'graphviz'), or draw with --dot.\n"}));
}

// ------------------------------------------------------------------------------------------------ while it runs

// Runs a tower (b stands below a, c needs both), then these commands; times are made alike.
Outcome watch(const Arguments& options, const Arguments& commands)
{
  Arguments arguments{"run",
                      "--library",
                      boxes(),
                      "--update-mode",
                      "at-end",
                      "-e",
                      "BOX: a\nEND\nBOX: b\n  On = a\n  Beside = a\nEND",
                      "-e",
                      "BOX: c\n  Size = 5\n  On = a, b\nEND"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  for (const std::string& command : commands)
    arguments.insert(arguments.end(), {"-e", command});
  Outcome outcome = ksl(arguments);
  outcome.err = std::regex_replace(outcome.err, std::regex("[0-9]+(\\.[0-9]{3})? ms\n"), "N ms\n");
  return outcome;
}

TEST(Watch, ChangesOfEachCommandInOrder)
{
  EXPECT_EQ(watch({"--format", "short", "--trace", "changes"},
                  {"BOX: a\n  Size = 2\n  Size = 3\nEND", "BOX: a\n  Size = 3\nEND", "> delete a",
                   "BOX: c\n  Size = 6\n  Colour = red\nEND", "NOTE: n\n  Text = new\nEND", "> undo"}),
            (Outcome{1, "",
                     "value /BOX:a Beside = \nvalue /BOX:a On = \nvalue /BOX:a Size = 1\n"
                     "value /BOX:b Beside = a\nvalue /BOX:b On = a\nvalue /BOX:b Size = 1\n"
                     "value /BOX:c Beside = \nvalue /BOX:c On = a, b\nvalue /BOX:c Size = 5\n"
                     "value /BOX:a Size = 3\n"
                     // The same once more says nothing new.
                     "deleted /BOX:a\nvalue /BOX:b Beside = \nvalue /BOX:b On = \nvalue /BOX:c On = b\n"
                     "-e6:3:3: error[4]: Parameter 'Colour' is not recognized on object "
                     "'/BOX:c'.\nrolled back 1 changes\nvalue /BOX:c Size = 5\n"
                     "value /NOTE:n Text = new\n"
                     "value /NOTE:n Text = \nremoved /NOTE:n Text\ndeleted /NOTE:n\n"}));
}

TEST(Watch, WhatIsRecalculatedAndWhy)
{
  const auto both = [](const std::string& name, const std::string& why, const std::string& then = {}) {
    return "calculated /BOX:" + name + " (Make): " + why + "; N ms\ncalculated /BOX:" + name
           + " (Paint): " + (then.empty() ? "parent /BOX:" + name + " (Make)" : then) + "; N ms\n";
  };
  EXPECT_EQ(watch({"--trace=graph"}, {"BOX: a\n  Size = 8\nEND\nBOX: c\n  Size = 8\n  On = b\nEND",
                                      "NOTE: n\n  Text = new\nEND", "> delete a", "> forceupdate b"})
                .err,
            both("a", "new", "new") + both("b", "new", "new")
                + both("c", "new", "new")
                // a and c: c waits for a and b, and is made once
                + both("a", "parameter Size") + both("b", "parent /BOX:a (Paint)")
                + both("c", "parameter Size, parameter On, parent /BOX:b (Paint)")
                // a goes, so b loses it
                + both("b", "parameter Beside, parameter On") + both("c", "parent /BOX:b (Paint)")
                + both("b", "request") + both("c", "parent /BOX:b (Paint)"));
}

TEST(Watch, TimingsCountWhatIsTraced)
{
  EXPECT_EQ(watch({"--timings"},
                  {"BOX: b\n  Size = 7\nEND", "MARK: m\nEND", "BOX: a\nEND", "> delete b", "> undo"}),
            (Outcome{0, "",
                     "6 changed, 4 recalculated, N ms\n3 changed, 2 recalculated, N ms\n"
                     "1 changed, 4 recalculated, N ms\n1 changed, 0 recalculated, N ms\n"
                     "0 changed, 0 recalculated, N ms\n2 changed, 2 recalculated, N ms\n"
                     "4 changed, 4 recalculated, N ms\n"}));
}

}  // namespace
