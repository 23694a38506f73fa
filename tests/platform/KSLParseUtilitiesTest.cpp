#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <string>
#include <vector>

using namespace orv;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Texts = std::vector<std::string>;

TEST(LineType, EachKind)
{
  const std::pair<const char*, int> cases[] = {
      {"", 0},
      {" \t", 0},
      {"# Session file started: Fri 10:11:12", 0},
      {"# B: b", 0},
      {"> delete A:a", 1},
      {" >x = 1", 1},
      {"x = 1", 2},
      {"Label = a:b", 2},
      {"END = 3", 2},
      {"x =", 2},
      {"A: a # b=c", 3},
      {"&replace A: a", 3},
      {"A:", 3},
      {"  DATA READER:name\r", 3},
      {"A: \"#1\"", 3},
      {"A:b = c", 4},
      {"A: \"#=\" # c", 4},
      {"end", 4},
      {"END END", 4},
      {"word", 4},
      {"\xe9", 4},
      {"END # x", 5},
      {"\tEND", 5},
  };
  for (const auto& [line, kind] : cases)
    EXPECT_EQ(MiniKSLParser::determineLineType(line), kind) << line;
}

class Tracer : public MiniKSLParser {
 public:
  using MiniKSLParser::MiniKSLParser;
  Texts trace;

 protected:
  void newObject(const std::string& type, const std::string& name) override
  {
    add(inReplaceMode() ? "replace" : "new", type + "," + name);
  }
  void newParameter(const std::string& name, const std::string& value) override
  {
    add("param", name + "," + value);
  }
  void endObject() override { add("end", openBlocks().back().second); }
  void otherLine(const std::string& line) override { add("other", line); }

 private:
  void add(const std::string& what, const std::string& text)
  {
    trace.push_back(std::to_string(currentIndex()) + " " + std::to_string(openBlocks().size()) + " " + what
                    + " " + text);
  }
};

TEST(MiniKSLParser, CallsBackForEachLine)
{
  Tracer parser({"END", "A: a # c", "  &replace B: \"b b\"", "# C: c", "", "p = 1, 2 # two", "END", "  > act",
                 "D:", "END", "END", "q =", "A:b = c"});
  const auto expected = ElementsAre("0 0 other END", "1 1 new A,a", "2 2 replace B,b b", "5 2 param p,1, 2",
                                    "6 2 end b b", "7 1 other   > act", "8 2 new D,D", "9 2 end D",
                                    "10 1 end a", "11 0 param q,", "12 0 other A:b = c");
  parser.parse();
  EXPECT_THAT(parser.trace, expected);
  parser.trace.clear();
  parser.parse();
  EXPECT_THAT(parser.trace, expected);
}

TEST(ObjectKSLParser, FindsTheFirstBlock)
{
  const Texts text = {"OTHER: o", "  A: a", "    A: b", "      x = 1", "    END", "  END",
                      "END",      "A: b",   "  x = 2",  "END",         "C:"};
  ObjectKSLParser parser(text);
  EXPECT_EQ(parser.parseForObject("A"), Texts(text.begin() + 1, text.begin() + 6));
  EXPECT_EQ(parser.parseForObject("A", "b"), Texts(text.begin() + 2, text.begin() + 5));
  EXPECT_THAT(parser.parseForObject("A", "c"), IsEmpty());
  EXPECT_THAT(parser.parseForObject("B"), IsEmpty());
  EXPECT_THAT(parser.parseForObject("C"), IsEmpty());  // never closed
}

TEST(KSLBuilder, WritesBlocks)
{
  KSLBuilder builder;
  builder.endObject();
  builder.beginObject("A", "a#1");
  builder.addParam("x", " 1,\n2 ");
  builder.beginObject("S", "S");
  builder.addParam("y", "");
  builder.endObject();
  builder.endObject();
  builder.addAction("update ");
  EXPECT_EQ(builder.text(), "A:\"a#1\"\n  x = 1, 2\n  S:\n    y =\n  END\nEND\n> update\n");
}

RC_GTEST_PROP(KSLBuilder, WhatIsWrittenReadsBack, ())
{
  const auto letters = [](const char* set) {
    return rc::gen::container<std::string>(rc::gen::elementOf(std::string(set)));
  };
  const auto name = "n" + StringUtilities::simplifyWhitespace(*letters("ab #\\"));
  const auto value = StringUtilities::simplifyWhitespace(*letters("ab:=\\ "));
  KSLBuilder builder;
  builder.beginObject("A", name);
  builder.addParam("p", value);
  builder.endObject();
  Tracer reader(StringUtilities::removeContinuation(StringUtilities::stringToVector(builder.text(), '\n')));
  reader.parse();
  RC_ASSERT(reader.trace == (Texts{"0 1 new A," + name, "1 1 param p," + value, "2 1 end " + name}));
}

}  // namespace
