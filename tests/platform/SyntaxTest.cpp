// The syntax tree against the library's own readers, and what is built on it, over texts that a generator makes up.
#include "platform/ORVKSLAPI.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSyntax.h"
#include "../support/TempFolder.h"
#include "../support/TestSystem.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <rapidcheck/gtest.h>
#include <set>
#include <string>
#include <vector>

using namespace orv;
using testing::ElementsAre;
using Index = SyntaxTree::Index;
using Kind = SyntaxTree::Kind;
using LeafKind = SyntaxTree::LeafKind;
using Reading = SyntaxTree::Reading;

namespace {

// -- texts

// Pieces of lines, whole lines and what parts them; any string of them is a text.
rc::Gen<std::string> anyText()
{
  const auto piece = rc::gen::element<std::string>(
      "A: a\n", "B: b\n", "S:\n", "END\n", "END\n", "END\n", "  x = 1\n", "x = y  z\n", "\n", "\n", " ", "  ",
      "\t", "A", "x", ":", "=", "\"", "#", "\\", "\\\n", "\\\n", "\r\n", "> act p,  q\n", ">", "&replace ",
      "/", ",", "END", "\r", "\xC3\xA9", "B: \"q\"\n", "A:b\n  x = \"# no\" # yes\n END \n", "RULES:\n");
  return rc::gen::map(
      rc::gen::container<std::vector<std::string>>(piece),
      [](const std::vector<std::string>& pieces) { return StringUtilities::vectorToString(pieces, ""); });
}

// Nothing but sound lines, and as many END as headers; not always in the right places.
rc::Gen<std::string> soundText()
{
  const auto piece =
      rc::gen::weightedElement<std::string>({{5, "A: a\nx = 1\nEND\n"},
                                             {4, "B: b\nx = a \\\n\n"},
                                             {2, "S:\nx = 2\n"},
                                             {4, "END\n"},
                                             {1, "> act one,  two\n"},
                                             {2, "&replace A: a\n  y  =  a   b # c\n END # d\n"},
                                             {1, "# note \\\n# END\n"},
                                             {1, "B: B\n y = \"#\"\\\n# c\nEND\n"},
                                             {1, "A:\n x = C:\\ \nEND\r\n"},
                                             {1, "B: \"q r\"\n\"x\"= \\\n \\\n 3  4\\ \t\n\t5\nEND\n"}});
  return rc::gen::map(
      rc::gen::container<std::vector<std::string>>(piece), [](const std::vector<std::string>& pieces) {
        std::string text = StringUtilities::vectorToString(pieces, "");
        long depth = 0;
        for (const std::string& line :
             StringUtilities::removeContinuation(StringUtilities::stringToVector(text, '\n'))) {
          const int type = MiniKSLParser::determineLineType(line);
          depth += type == MiniKSLParser::objectLine ? 1 : type == MiniKSLParser::endLine ? -1 : 0;
        }
        for (; depth < 0; ++depth)
          text += "A: z\n";
        for (; depth > 0; --depth)
          text += "END\n";
        return text;
      });
}

rc::Gen<std::string> mixedText()
{
  return rc::gen::oneOf(soundText(), anyText());
}

// -- what a text says

// Objects by path with their parameters, and behind them the words of the actions.
using Contents = std::map<std::string, std::map<std::string, std::string>>;

Contents contentsOf(const KSLAPI& store)
{
  Contents contents;
  std::vector<std::string> waiting{""};
  while (!waiting.empty()) {
    const std::string path = waiting.back();
    waiting.pop_back();
    for (const KSLAPI::ObjectInfo& info : store.getObjectInfo(path)) {
      if (info.getKind() == "Param") {
        contents[path][info.getName()] = info.getValue();
      } else if (info.getPath() != "/RULES" || store.getObjectInfo("/RULES/OBJECT:A").empty()) {
        contents[info.getPath()];
        waiting.push_back(info.getPath());
      }
    }
  }
  return contents;
}

void dropObject(Contents& contents, const std::string& path)
{
  std::erase_if(contents, [&](const auto& object) { return PathUtils::isSameOrBelow(object.first, path); });
}

// `named` are the types whose objects always have names.
Contents contentsOf(const SyntaxTree& tree, const std::set<std::string>& named,
                    std::vector<std::string>& actions)
{
  Contents contents;
  std::vector<std::string> paths(tree.size());
  std::string room;
  for (Index i = 0; i < tree.size(); ++i) {
    const SyntaxTree::Node node = tree[i];
    const SyntaxTree::Statement said = tree.read(i, room);
    const std::string parent = node.parent == SyntaxTree::none ? "" : paths[node.parent];
    if (node.kind == Kind::header) {
      const std::string type(said.first);
      const std::string name(said.rest.empty() ? type : said.rest);
      paths[i] = parent + "/" + type + (name == type && !named.count(type) ? "" : ":" + name);
      if (said.replace)
        dropObject(contents, paths[i]);
      contents[paths[i]];
    } else if (node.kind == Kind::parameter) {
      contents[parent][std::string(said.first)] = said.rest;
    } else if (node.kind == Kind::action) {
      actions.push_back(std::string(said.first) + "|" + std::string(said.rest));
    }
  }
  return contents;
}

const char* const rules =
    "RULES:\nKSLObjectClasses = DataKSLObject\nPARAMETER: x\nEND\nPARAMETER: y\nEND\n"
    "OBJECT: A\nKSLObject Class = DataKSLObject\nOptional Parameter List = x, y\nEND\n"
    "OBJECT: B\nKSLObject Class = DataKSLObject\nOptional Parameter List = x, y\nEND\n"
    "SINGLETON: S\nKSLObject Class = DataKSLObject\nOptional Parameter List = x, y\nEND\nEND\n";

bool isSyntactic(const std::string& message)
{
  for (const char* head : {"Syntax error in KSL line", "Object name '", "Not enough END", "Too many END"})
    if (message.starts_with(head))
      return true;
  return false;
}

bool reports(const SyntaxTree& tree, const std::string& message)
{
  const std::vector<SyntaxTree::Report> all = tree.reports();
  return std::any_of(all.begin(), all.end(), [&](const auto& report) { return report.message == message; });
}

void checkCommand(const std::string& text, kslUpdateMode mode, Reading reading, int& accepted)
{
  if (text.empty())
    return;  // no command
  TestSystem system(rules);
  std::vector<std::string> actions;
  system.registerAction("act", [&](const std::vector<std::string>& words) {
    std::string line = words.front() + "|";
    for (std::size_t i = 1; i < words.size(); ++i)
      line += (i > 1 ? "," : "") + words[i];
    actions.push_back(line);
  });
  system.run(text, mode);
  const std::vector<ErrorMsg> errors = system.errorList();
  const SyntaxTree tree(text, reading);
  if (tree.isFaulty())
    RC_ASSERT(!errors.empty());
  if (!errors.empty()) {
    if (isSyntactic(errors.front().getMessage()))
      RC_ASSERT(reports(tree, errors.front().getMessage()));
    return;
  }
  ++accepted;
  std::vector<std::string> told;
  Contents said = contentsOf(tree, {"A", "B"}, told);
  for (std::string& line : told)  // the executor's list has no blanks behind its commas
    line.erase(std::remove(line.begin() + static_cast<std::ptrdiff_t>(line.find('|')), line.end(), ' '),
               line.end());
  dropObject(said, "/RULES");
  RC_ASSERT(said == contentsOf(*system.text()));
  RC_ASSERT(told == actions);
}

TEST(SyntaxTree, SaysOfACommandWhatTheLibraryDoes)
{
  int accepted = 0;
  EXPECT_TRUE(rc::check("default mode",
                        [&] { checkCommand(*mixedText(), kslUpdateDefault, Reading::command, accepted); }));
  EXPECT_GT(accepted, 10);
  EXPECT_TRUE(
      rc::check("at the end", [&] { checkCommand(*mixedText(), kslUpdateAtEnd, Reading::atEnd, accepted); }));
}

RC_GTEST_PROP(SyntaxTree, SaysOfALibraryWhatTheStoreReads, ())
{
  const std::string text = "RULES:\n" + *mixedText() + "\nEND\n";
  const TempFolder folder;
  const std::string file = folder.write("l.ksl", text);
  KSLAPI store;
  std::string refusal;
  try {
    store.readNamedLibraries(file, "");
  } catch (const Error& error) {
    refusal = error.getMessage();
  }
  if (refusal.ends_with("is no definition."))  // an END closed the rules: no matter of syntax
    return;
  const SyntaxTree tree(text, Reading::library);
  RC_ASSERT(tree.isFaulty() == !refusal.empty());
  std::vector<std::string> actions;
  if (refusal.empty())
    RC_ASSERT(contentsOf(tree, {}, actions) == contentsOf(store));
  const std::vector<SyntaxTree::Report> all = tree.reports();
  RC_ASSERT(all.empty() == refusal.empty());
}

// -- the tree in itself

std::string dump(const SyntaxTree& tree)
{
  std::string out = std::to_string(tree.missingEnds()) + (tree.isFaulty() ? " faulty\n" : "\n");
  for (Index i = 0; i < tree.size(); ++i) {
    const SyntaxTree::Node node = tree[i];
    for (const std::size_t number :
         {static_cast<std::size_t>(node.kind), static_cast<std::size_t>(node.faults),
          std::size_t{node.closed}, node.offset, node.size, node.line, node.lines, std::size_t{node.parent},
          std::size_t{node.last}})
      out += std::to_string(number) + ' ';
    out += '\n';
  }
  return out;
}

void checkLeaves(const SyntaxTree& tree)
{
  std::vector<SyntaxTree::Leaf> leaves;
  std::size_t line = 1;
  for (Index i = 0; i < tree.size(); ++i) {
    RC_ASSERT(tree[i].line == line);
    RC_ASSERT(tree.atLine(line) == i);
    RC_ASSERT(tree.at(tree[i].offset) == i);
    RC_ASSERT(tree.position(tree[i].offset).line == line);
    line += tree[i].lines;
    tree.leaves(i, leaves);
  }
  std::size_t offset = 0;
  for (const SyntaxTree::Leaf& leaf : leaves) {
    RC_ASSERT(leaf.offset == offset);
    RC_ASSERT(leaf.size > 0U);
    offset += leaf.size;
  }
  RC_ASSERT(offset == tree.text().size());
}

// Blocks lie in each other, and a walk by firstChild and next meets each node once.
void checkNesting(const SyntaxTree& tree)
{
  std::vector<Index> waiting{tree.firstChild(SyntaxTree::none)};
  std::vector<Index> met;
  while (!waiting.empty()) {
    const Index index = waiting.back();
    waiting.pop_back();
    if (index == SyntaxTree::none)
      continue;
    met.push_back(index);
    const SyntaxTree::Node node = tree[index];
    RC_ASSERT(node.last >= index);
    RC_ASSERT(node.parent == SyntaxTree::none
              || (node.parent < index && node.last <= tree[node.parent].last));
    waiting.push_back(tree.next(index));
    waiting.push_back(tree.firstChild(index));
  }
  RC_ASSERT(met.size() == tree.size());
  RC_ASSERT(std::is_sorted(met.begin(), met.end()));
}

RC_GTEST_PROP(SyntaxTree, KeepsEveryByteAndNests, ())
{
  const SyntaxTree tree(*mixedText(), *rc::gen::element(Reading::command, Reading::atEnd, Reading::library));
  checkLeaves(tree);
  checkNesting(tree);
}

RC_GTEST_PROP(SyntaxTree, AnEditGivesTheTreeOfTheNewText, ())
{
  SyntaxTree tree(*mixedText());
  for (int edits = *rc::gen::inRange(1, 20); edits > 0; --edits) {
    const SyntaxTree before = tree;
    const std::size_t size = before.text().size();
    std::size_t offset = *rc::gen::inRange<std::size_t>(0, size + 1);
    if (before.size() > 0 && *rc::gen::arbitrary<bool>())
      offset = before[before.at(offset)].offset;
    const std::size_t removed =
        *rc::gen::inRange<std::size_t>(0, std::min<std::size_t>(size - offset, 9) + 1);
    // Often a line that is there already, as people copy them.
    const std::string copied(before.size() > 0 ? before.source(before.at(offset)) : "");
    const std::string inserted =
        *rc::gen::oneOf(rc::gen::just(copied), rc::gen::just(std::string()), anyText());
    tree.edit(offset, removed, inserted);
    const SyntaxTree fresh(std::string(before.text()).replace(offset, removed, inserted));
    RC_ASSERT(tree.text() == fresh.text());
    RC_ASSERT(dump(tree) == dump(fresh));
    // What ends before the edit, and what begins behind it at the same bytes, is the same node.
    std::map<std::size_t, std::uint32_t> ids;
    for (Index i = 0; i < tree.size(); ++i)
      ids[tree[i].offset] = tree[i].id;
    for (Index i = 0; i < before.size(); ++i) {
      const SyntaxTree::Node node = before[i];
      if (node.offset + node.size <= offset && tree.source(i) == before.source(i))
        RC_ASSERT(tree[i].id == node.id);
      const auto moved = ids.find(node.offset - removed + inserted.size());
      if (node.offset > offset + removed && moved != ids.end())
        RC_ASSERT(moved->second == node.id);
    }
    std::set<std::uint32_t> distinct;
    for (const auto& [at, id] : ids)
      distinct.insert(id);
    RC_ASSERT(distinct.size() == ids.size());
  }
}

TEST(SyntaxTree, LeavesOfEachKind)
{
  const SyntaxTree tree(
      "&replace CUT : \"Mid # 1\" # c\r\n  Off\\\n set= 2 \\  \n\n> delete  /A, /B\nEND\nend it\n");
  std::vector<SyntaxTree::Leaf> leaves;
  for (Index i = 0; i < tree.size(); ++i)
    tree.leaves(i, leaves);
  std::vector<std::string> shown;
  for (const SyntaxTree::Leaf& leaf : leaves)
    if (leaf.kind != LeafKind::blank && leaf.kind != LeafKind::lineEnd)
      shown.push_back(std::to_string(static_cast<int>(leaf.kind))
                      + tree.text().substr(leaf.offset, leaf.size));
  EXPECT_THAT(shown, ElementsAre("4&replace", "5CUT", "6:", "7\"Mid # 1\"", "3# c", "8Off", "2\\", "8set",
                                 "9=", "102", "2\\", "12>", "13delete", "14/A, /B", "11END", "15end it"));
  EXPECT_EQ(tree.position(tree.text().find("set=")).line, 3U);
  EXPECT_EQ(tree.position(tree.text().find("set=")).column, 2U);
}

// -- formatting

std::vector<std::string> statements(const SyntaxTree& tree)
{
  std::vector<std::string> out;
  std::string room;
  std::vector<SyntaxTree::Leaf> leaves;
  for (Index i = 0; i < tree.size(); ++i) {
    if (tree[i].kind == Kind::blank)
      continue;
    const SyntaxTree::Statement said = tree.read(i, room);
    std::string line = std::to_string(static_cast<int>(said.kind)) + (said.replace ? "&" : "");
    line.append("|").append(said.first).append("|").append(said.rest);
    if (said.kind == Kind::error)
      line += said.text;
    leaves.clear();
    tree.leaves(i, leaves);
    std::string comment;
    for (const SyntaxTree::Leaf& leaf : leaves)
      if (leaf.kind == LeafKind::comment)
        comment += tree.text().substr(leaf.offset, leaf.size);
    out.push_back(line + StringUtilities::simplifyWhitespace(comment));
  }
  return out;
}

void checkFormat(const std::string& text, std::size_t width)
{
  for (const Reading reading : {Reading::command, Reading::library}) {
    const SyntaxTree before(text, reading);
    const SyntaxTree after(formatKSL(before, width), reading);
    RC_ASSERT(statements(after) == statements(before));
    RC_ASSERT(formatKSL(after, width) == after.text());
  }
}

// Values with long words, quotes, runs of blanks and tabs.
rc::Gen<std::string> longLine()
{
  const auto piece = rc::gen::weightedElement<std::string>({{9, "word "},
                                                            {5, "item, "},
                                                            {2, "\"two words\" "},
                                                            {1, "\""},
                                                            {1, "  "},
                                                            {1, "\t"},
                                                            {1, "a\\ "},
                                                            {1, "\\"},
                                                            {1, "\\\n"},
                                                            {1, " # "},
                                                            {2, "averylongwordindeed"},
                                                            {1, "\xC3\xA9"}});
  const auto value =
      rc::gen::map(rc::gen::container<std::vector<std::string>>(40, piece),
                   [](const auto& pieces) { return StringUtilities::vectorToString(pieces, ""); });
  return rc::gen::map(
      rc::gen::pair(rc::gen::element<std::string>("x = ", "x=", "> act ", "A: ", "# ", ""), value),
      [](const auto& line) { return "A: a\n" + line.first + line.second + "\nEND\n"; });
}

RC_GTEST_PROP(FormatKSL, ChangesNoStatementAndOnce, ())
{
  checkFormat(*rc::gen::oneOf(mixedText(), longLine()), *rc::gen::element<std::size_t>(20, 40, 120));
}

TEST(FormatKSL, OneStyle)
{
  const std::pair<const char*, const char*> cases[] = {
      {"\n\nCUT:a\nOffset=1\n\n\n\n  &replace   LABEL :b\n> act  1\nEND\nend\nEND\n\n",
       "CUT: a\n  Offset = 1\n\n  &replace LABEL: b\n    > act  1\n  END\n  end\nEND\n"},
      {"S:\n#c\nx  =\n>go\n>\nEND", "S:\n  #c\n  x =\n  > go\n  >\nEND\n"},
      {"A: a # one\n  x = 100# two\n\n  y = 2    # three\nEND\n",
       "A: a       # one\n  x = 100  # two\n\n  y = 2  # three\nEND\n"},
      {"S:\n  List = aaaa, \\\nb, \\\n         c # end\nEND\n",
       "S:\n  List = aaaa, \\\n    b, \\\n    c  # end\nEND\n"},
      {"S:\nList = first item, second item, third item, fourth\nEND\n",
       "S:\n  List = first item, second item, \\\n    third item, fourth\nEND\n"},
      {"S:\nText = \"no break in here, however long it is\" and so on it goes\nEND\n",
       "S:\n  Text = \"no break in here, however long it is\" \\\n    and so on it goes\nEND\n"},
      {"S:\nPath = C:\\dir\\ \nEND\n", "S:\n  Path = C:\\dir\\ \nEND\n"},
  };
  for (const auto& [text, formatted] : cases)
    EXPECT_EQ(formatKSL(SyntaxTree(text), 40), formatted) << text;
}

}  // namespace
