// "ksl graph": the drawing, and the way to Graphviz.
#include "database/DataKSLObject.h"
#include "database/ObjectFactory.h"
#include "database/PrototypeEditor.h"
#include "boxes.h"
#include "host/GraphText.cpp"  // NOLINT(bugprone-suspicious-include): the host is a program, not a library

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

std::vector<std::string> graphArguments(std::initializer_list<std::string> options)
{
  std::vector<std::string> arguments{"graph", "--library", boxes()};
  arguments.insert(arguments.end(), options);
  return arguments;
}

TEST(Graph, ObjectsSchedulersAndLinks)
{
  // Made in no order; what is drawn is in that of paths and types.
  const std::string text =
      "BOX: d\nEND\nBOX: c\n  On = d\nEND\nBOX: a\n  On = d\n  Beside = d\nEND\nBOX: b\n  On = d\nEND\nMARK: "
      "m\nEND";
  const std::string dot = R"dot(digraph ksl {
  rankdir=LR;
  node [shape=box];
  subgraph "cluster /BOX:a" {
    label="/BOX:a";
    "/BOX:a (Make)" [label="Make"];
    "/BOX:a (Paint)" [label="Paint"];
  }
  subgraph "cluster /BOX:b" {
    label="/BOX:b";
    "/BOX:b (Make)" [label="Make"];
    "/BOX:b (Paint)" [label="Paint"];
  }
  subgraph "cluster /BOX:c" {
    label="/BOX:c";
    "/BOX:c (Make)" [label="Make"];
    "/BOX:c (Paint)" [label="Paint"];
  }
  subgraph "cluster /BOX:d" {
    label="/BOX:d";
    "/BOX:d (Make)" [label="Make"];
    "/BOX:d (Paint)" [label="Paint"];
  }
  "/MARK:m" [label="/MARK:m", shape=plain];
  "/BOX:a (Make)" -> "/BOX:a (Paint)";
  "/BOX:b (Make)" -> "/BOX:b (Paint)";
  "/BOX:c (Make)" -> "/BOX:c (Paint)";
  "/BOX:d (Make)" -> "/BOX:d (Paint)";
  "/BOX:d (Paint)" -> "/BOX:a (Make)" [label="x2"];
  "/BOX:d (Paint)" -> "/BOX:b (Make)";
  "/BOX:d (Paint)" -> "/BOX:c (Make)";
}
)dot";
  EXPECT_EQ(ksl(graphArguments({"-e", text})), (Outcome{0, dot, ""}));
  EXPECT_EQ(ksl(graphArguments({"--dot", "-"}), text), (Outcome{0, dot, ""}));
}

TEST(Graph, WhatFailedIsNotDrawn)
{
  EXPECT_EQ(
      ksl(graphArguments({"-e", "MARK: m\nEND\n", "-e", "MARK: n\nEND\nMURK: o\nEND"})),
      (Outcome{
          1,
          "digraph ksl {\n  rankdir=LR;\n  node [shape=box];\n"
          "  \"/MARK:m\" [label=\"/MARK:m\", shape=plain];\n}\n",
          "error[4] ObjectFactory::createObject: Could not find object: MURK\nrolled back 2 changes\n"}));
}

TEST(Graph, PendingSchedulersAndAwkwardNames)
{
  orv::GenericKSLObject prototype;
  orv::PrototypeEditor(prototype).setType("T", false);
  for (const char* type : {"A", "B"})
    orv::PrototypeEditor(prototype).addScheduler(type);
  std::unique_ptr<orv::KSLObject> object(prototype.clone());
  object->initialize("a\"b\\ &lt;");
  orv::ObjectDB::instance()->addObject(std::move(object))->getSchedulerObject("A")->update();
  EXPECT_EQ(graphText(*orv::ObjectDB::instance()), R"dot(digraph ksl {
  rankdir=LR;
  node [shape=box];
  subgraph "cluster /T:a\"b\\ &lt;" {
    label="/T:a\"b\\ &amp;lt;";
    "/T:a\"b\\ &lt; (A)" [label="A"];
    "/T:a\"b\\ &lt; (B)" [label="B (pending)", style=dashed];
  }
}
)dot");
  orv::ObjectDB::destroyInstance();
}

// Stands before or in place of the programs of this machine.
class Path {
 public:
  explicit Path(const std::string& path) : m_former(std::getenv("PATH")) { setenv("PATH", path.c_str(), 1); }
  ~Path() { setenv("PATH", m_former.c_str(), 1); }
  const std::string& former() const { return m_former; }

 private:
  std::string m_former;
};

TEST(Graph, SvgIsGraphvizsAnswer)
{
  namespace fs = std::filesystem;
  const std::string program = makeFile("bin/dot", "#!/bin/sh\necho \"$# $*\"\ncat\n");
  fs::permissions(program, fs::perms::owner_all);
  const std::string folder = fs::path(program).parent_path();
  const Outcome text = ksl(graphArguments({"-e", "BOX: a\nEND"}));
  {
    const Path path(folder + ":/usr/bin:/bin");
    EXPECT_EQ(ksl(graphArguments({"--svg", "-e", "BOX: a\nEND"})), (Outcome{0, "1 -Tsvg\n" + text.out, ""}));
    makeFile("bin/dot", "#!/bin/sh\nexit 3\n");
    EXPECT_EQ(ksl(graphArguments({"--svg"})),
              (Outcome{1, "", "error[4] ksl::graph: Graphviz's program 'dot' failed.\n"}));
  }
  const Path path(folder + "/none");
  EXPECT_EQ(ksl(graphArguments({"--svg"})),
            (Outcome{1, "",
                     "error[4] ksl::graph: Graphviz's program 'dot' was not found. Install Graphviz (the "
                     "package 'graphviz'), or draw with --dot.\n"}));
}

}  // namespace
