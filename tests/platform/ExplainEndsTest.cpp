// What is said of damaged texts names the damage: texts as people write them, one line of each damaged.
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSyntax.h"
#include "platform/ORVUtilities.h"

#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

using namespace orv;
using Index = SyntaxTree::Index;
using Kind = SyntaxTree::Kind;

namespace {

using Lines = std::vector<std::string>;

std::size_t pick(std::mt19937& random, std::size_t count)
{
  return random() % count;
}

// A text as people write it, of blocks in blocks.
void addBlock(std::mt19937& random, std::size_t level, Lines& out)
{
  static const char* const types[3][3] = {
      {"CUT", "BAND", "SHOT"}, {"LAMP", "CAPTION", "FRAME"}, {"NOTE", "MARK", "PIN"}};
  static const char* const params[] = {"Axis = Z",
                                       "Offset = 25 [cm]",
                                       "Option = Axis Plane",
                                       "Normal = 0, 1, 0",
                                       "Label = \"no. # 1\"  # a note",
                                       "Location = /CUT:Mid Span",
                                       "Text ="};
  const std::string indent(2 * level, ' ');
  if (pick(random, 4) == 0)
    out.push_back(indent + "# what comes next");
  out.push_back(indent + types[level][pick(random, 3)] + ": Name " + std::to_string(pick(random, 90)));
  for (std::size_t n = 1 + pick(random, 4); n > 0; --n)
    out.push_back(indent + "  " + params[pick(random, std::size(params))]);
  for (std::size_t n = level < 2 ? pick(random, 3) : 0; n > 0; --n)
    addBlock(random, level + 1, out);
  if (pick(random, 4) == 0)
    out.push_back(indent + "  Visibility = Off");
  out.push_back(indent + "END");
  if (pick(random, 2) == 0)
    out.push_back("");
}

enum class Style { indented, deepEnds, flat };

Lines soundLines(std::mt19937& random, Style style)
{
  Lines lines;
  for (std::size_t n = 3 + pick(random, 8); n > 0; --n) {
    addBlock(random, 0, lines);
    if (pick(random, 6) == 0)
      lines.push_back("> delete /CUT:Name 1");
  }
  for (std::string& line : lines)
    line = style == Style::flat                                ? StringUtilities::removeWhitespace(line)
           : style == Style::deepEnds && line.ends_with("END") ? "  " + line
                                                               : line;
  return lines;
}

// Damages one line; what it leaves alone stays sound.
struct Damage {
  const char* name;
  int type;  // of the lines that it is for
  void (*apply)(Lines& lines, std::size_t at);
};

void replaceIn(std::string& line, std::string_view what, std::string_view by)
{
  const std::size_t at = line.find(what);
  if (at != std::string::npos)
    line.replace(at, what.size(), by);
}

std::string indentOf(const std::string& line)
{
  return line.substr(0, line.find_first_not_of(' '));
}

void insertLine(Lines& lines, std::size_t at, const std::string& line)
{
  lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), line);
}

void eraseLine(Lines& lines, std::size_t at)
{
  lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(at));
}

constexpr int endLine = MiniKSLParser::endLine;
constexpr int header = MiniKSLParser::objectLine;
constexpr int parameter = MiniKSLParser::parameterLine;

const Damage damages[] = {
    {"END forgotten", endLine, eraseLine},
    {"ENDE", endLine, [](Lines& l, std::size_t i) { l[i] += 'E'; }},
    {"end", endLine, [](Lines& l, std::size_t i) { replaceIn(l[i], "END", "end"); }},
    {"END CUT", endLine, [](Lines& l, std::size_t i) { l[i] += " CUT"; }},
    {"END:", endLine, [](Lines& l, std::size_t i) { l[i] += ':'; }},
    {"END =", endLine, [](Lines& l, std::size_t i) { l[i] += " ="; }},
    {"# END", endLine, [](Lines& l, std::size_t i) { l[i] = "# " + l[i]; }},
    {"> END", endLine, [](Lines& l, std::size_t i) { l[i] = "> " + l[i]; }},
    {"END twice", endLine, [](Lines& l, std::size_t i) { insertLine(l, i, l[i]); }},
    {"END on the line before", endLine, [](Lines& l, std::size_t i) { l[i - 1] += " END", eraseLine(l, i); }},
    {"colon forgotten", header, [](Lines& l, std::size_t i) { replaceIn(l[i], ":", ""); }},
    {"= for a colon", header, [](Lines& l, std::size_t i) { replaceIn(l[i], ":", " ="); }},
    {"= in a header", header, [](Lines& l, std::size_t i) { l[i] += " = x"; }},
    {"header forgotten", header, eraseLine},
    {"# header", header, [](Lines& l, std::size_t i) { l[i] = "# " + l[i]; }},
    {"/ in a name", header, [](Lines& l, std::size_t i) { l[i] += "/b"; }},
    {"header without type", header, [](Lines& l, std::size_t i) { l[i] = indentOf(l[i]) + ": b"; }},
    {"header twice", header, [](Lines& l, std::size_t i) { insertLine(l, i, l[i]); }},
    {"header behind a parameter", header,
     [](Lines& l, std::size_t i) { l[i] = indentOf(l[i]) + "Axis = Z " + l[i]; }},
    {": for =", parameter, [](Lines& l, std::size_t i) { l[i] = indentOf(l[i]) + "Axis : Z"; }},
    {"= forgotten", parameter, [](Lines& l, std::size_t i) { replaceIn(l[i], "=", ""); }},
    {"no name", parameter, [](Lines& l, std::size_t i) { l[i].replace(0, l[i].find('='), indentOf(l[i])); }},
    {"END in the middle", parameter,
     [](Lines& l, std::size_t i) { insertLine(l, i, indentOf(l[i]) + "END"); }},
    {"a word", parameter, [](Lines& l, std::size_t i) { insertLine(l, i, "oops"); }},
    {"conflict", parameter, [](Lines& l, std::size_t i) { insertLine(l, i, "<<<<<<< mine"); }},
    {"backslash", parameter, [](Lines& l, std::size_t i) { l[i] += " \\"; }},
    {"backslash in a comment", parameter, [](Lines& l, std::size_t i) { l[i] += "  # of \\"; }},
};

// The lines, counted from 1, that a report about line `at` may name: that line, the two beside it (what was taken away
// or put in stands between them), and the header of the block.
std::set<std::size_t> linesMeant(const Lines& lines, std::size_t at)
{
  const SyntaxTree tree(StringUtilities::vectorToString(lines, "\n"));
  std::set<std::size_t> meant{at, at + 1, at + 2};
  Index node = tree.atLine(at + 1);
  if (tree[node].kind != Kind::header && tree[node].parent != SyntaxTree::none)
    meant.insert(tree[tree[node].parent].line);
  return meant;
}

// What a person reads first about a text; 0 when nothing is wrong with it.
std::size_t lineNamed(const SyntaxTree& tree, const std::function<bool(std::string_view)>& isType)
{
  const std::vector<SyntaxNote> notes = explainEnds(tree, isType);
  if (!notes.empty())
    return tree.position(notes.front().offset).line;
  const std::vector<SyntaxTree::Report> reports = tree.reports();
  return reports.empty() || reports.front().node == SyntaxTree::none
             ? 0
             : tree.position(reports.front().offset).line;
}

struct Score {
  double percent() const { return 100.0 * named / refused; }
  int refused = 0;
  int named = 0;
  std::string missed;
};

Score score(Style style, const std::function<bool(std::string_view)>& isType)
{
  Score score;
  for (const Damage& damage : damages) {
    int missed = 0;
    for (unsigned seed = 0; seed < 60; ++seed) {
      std::mt19937 random(seed);
      Lines lines = soundLines(random, style);
      const SyntaxTree sound(StringUtilities::vectorToString(lines, "\n"));
      EXPECT_TRUE(!sound.isFaulty() && explainEnds(sound, isType).empty()) << sound.text();
      std::size_t at = pick(random, lines.size());
      while (MiniKSLParser::determineLineType(lines[at]) != damage.type)
        at = (at + 1) % lines.size();
      const std::set<std::size_t> meant = linesMeant(lines, at);
      damage.apply(lines, at);
      const SyntaxTree tree(StringUtilities::vectorToString(lines, "\n"));
      if (!tree.isFaulty())
        continue;
      ++score.refused;
      const std::size_t named = lineNamed(tree, isType);
      const bool good = meant.count(named) > 0;
      score.named += good;
      missed += !good;
    }
    if (missed > 0)
      score.missed += std::string(damage.name) + " " + std::to_string(missed) + "\n";
  }
  return score;
}

TEST(ExplainEnds, NamesTheDamagedLineOrItsBlock)
{
  const std::set<std::string_view> all{"CUT",   "BAND", "SHOT", "LAMP", "CAPTION",
                                       "FRAME", "NOTE", "MARK", "PIN"};
  const auto isType = [&](std::string_view type) { return all.count(type) > 0; };
  // Where nobody indents, several blocks may be the one whose END is missing.
  using Types = std::function<bool(std::string_view)>;
  const std::tuple<Style, Types, double> cases[] = {{Style::indented, isType, 98},
                                                    {Style::indented, {}, 98},
                                                    {Style::deepEnds, isType, 95},
                                                    {Style::flat, isType, 71}};
  for (const auto& [style, types, percent] : cases) {
    const Score result = score(style, types);
    EXPECT_GE(result.percent(), percent) << result.named << " of " << result.refused << '\n' << result.missed;
  }
}

TEST(ExplainEnds, SaysWhatIsThere)
{
  using Reason = SyntaxNote::Reason;
  const auto isType = [](std::string_view type) { return type == "A" || type == "B"; };
  const std::tuple<const char*, Reason, std::size_t, std::size_t> cases[] = {
      {"A: a\n  x = 1\nENDE\nB: b\nEND\n", Reason::noStatement, 3, 0},
      {"A: a\n  Axis : Z\nEND\n", Reason::unknownType, 2, 0},
      {"A: a\n  x = 1 \\\nEND\nB: b\nEND\n", Reason::swallowed, 3, 0},
      {"A: a\n  x = 1\n# about b\n\nB: b\nEND\n", Reason::leftOpen, 1, 5},
      {"A: a\n  y = 1\n  B = b\n    x = 1\n  END\nEND\n", Reason::noHeader, 3, 5},
      {"A: a\nEND\nEND\n", Reason::surplusEnd, 3, 0},
  };
  for (const auto& [text, reason, line, next] : cases) {
    const SyntaxTree tree(text);
    const std::vector<SyntaxNote> notes = explainEnds(tree, isType);
    ASSERT_FALSE(notes.empty()) << text;
    EXPECT_EQ(notes.front().reason, reason) << text << notes.front().message;
    EXPECT_EQ(tree.position(notes.front().offset).line, line) << text << notes.front().message;
    EXPECT_EQ(notes.front().next == SyntaxTree::none ? 0 : tree[notes.front().next].line, next) << text;
  }
}

}  // namespace
