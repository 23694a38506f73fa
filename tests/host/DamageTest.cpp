// One line of a text damaged, in many ways: the report names it, or the block that it stands in.
#include "Process.h"

#include <algorithm>
#include <cctype>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <sstream>

namespace {

using Random = std::mt19937;

std::size_t pick(Random& random, std::size_t count)
{
  return random() % count;
}

std::string oneOf(Random& random, const std::vector<std::string>& texts)
{
  return texts[pick(random, texts.size())];
}

struct Line {
  std::string text;
  std::size_t
      header;  // the line of the block that it belongs to, from 1; its own of a header, 0 of an action
};
using DamagedLines = std::vector<Line>;

enum class Kind { header, parameter, end, action };

Kind kindOf(const std::string& line)
{
  const std::string text = line.substr(std::min(line.find_first_not_of(' '), line.size()));
  if (text == "END")
    return Kind::end;
  if (text.starts_with('>'))
    return Kind::action;
  return text.find('=') == std::string::npos ? Kind::header : Kind::parameter;
}

class Writer {
 public:
  explicit Writer(Random& random) : m_random(random) {}

  void begin(const std::string& header)
  {
    m_open.push_back(lines.size() + 1);
    add(header, -1);
  }
  void param(const std::string& text) { add(text, 0); }
  void end()
  {
    add("END", -1);
    m_open.pop_back();
  }

  void addBlock(const std::string& name)
  {
    if (pick(m_random, 3) == 0)
      return addDomain(name);
    if (pick(m_random, 2) == 0) {
      begin("PROBE: " + name);
      param("Option = Line");
      param("Point 1 = 0 [m], " + oneOf(m_random, {"1 [m]", "5 [cm]"}) + ", 0 [m]");
      param("Samples = " + oneOf(m_random, {"5", "20"}));
    } else {
      begin("CUT: " + name);
      param("Axis = " + oneOf(m_random, {"X", "Y", "Z"}));
      param("Offset = " + oneOf(m_random, {"1 [m]", "25 [cm]", "2 * 1.5 [m]"}));
      param("Visibility = " + oneOf(m_random, {"On", "Off"}));
    }
    end();
  }

  DamagedLines lines;

 private:
  void addDomain(const std::string& name)
  {
    begin("DOMAIN: " + name);
    param("Motion = " + oneOf(m_random, {"Stationary", "Rotating"}));
    for (const char* side : {"Wall", "Outlet"}) {
      if (pick(m_random, 2) == 0)
        continue;
      begin(std::string("BOUNDARY: ") + side + " of " + name);
      param(std::string("Boundary Type = ") + side);
      param("Visibility = Off");
      end();
    }
    end();
  }

  // `back`: headers and END stand one level to the left of what is in the block.
  void add(const std::string& text, int back)
  {
    const std::size_t depth = m_open.size() - (back < 0 ? 1 : 0);
    lines.push_back({std::string(2 * depth, ' ') + text, m_open.back()});
  }

  Random& m_random;
  std::vector<std::size_t> m_open;
};

DamagedLines soundText(Random& random, std::size_t blocks)
{
  Writer writer(random);
  for (std::size_t i = 1; i <= blocks; ++i)
    writer.addBlock("Object " + std::to_string(i));
  const std::string type = writer.lines.front().text.substr(0, writer.lines.front().text.find(':'));
  writer.lines.push_back({"> delete /" + type + ":Object 1", 0});
  return writer.lines;
}

void replace(std::string& line, const std::string& what, const std::string& by)
{
  const std::size_t at = line.find(what);
  if (at != std::string::npos)
    line.replace(at, what.size(), by);
}

struct Damage {
  const char* name;
  Kind kind;
  void (*apply)(DamagedLines& lines, std::size_t at);
  // It concerns two lines: what came or went stands between them, or the backslash of one swallows the next.
  bool isBetween = false;
};

const std::vector<Damage>& damages()
{
  static const std::vector<Damage> all = {
      {"END gone", Kind::end,
       [](DamagedLines& lines, std::size_t at) { lines.erase(lines.begin() + static_cast<long>(at)); }, true},
      {"END twice", Kind::end,
       [](DamagedLines& lines, std::size_t at) {
         lines.insert(lines.begin() + static_cast<long>(at), lines[at]);
       },
       true},
      {"END in small letters", Kind::end,
       [](DamagedLines& lines, std::size_t at) { replace(lines[at].text, "END", "end"); }},
      {"END with a letter more", Kind::end,
       [](DamagedLines& lines, std::size_t at) { lines[at].text += "E"; }},
      {"END with a word", Kind::end, [](DamagedLines& lines, std::size_t at) { lines[at].text += " CUT"; }},
      {"END with a semicolon", Kind::end, [](DamagedLines& lines, std::size_t at) { lines[at].text += ";"; }},
      {"END with a no-break blank", Kind::end,
       [](DamagedLines& lines, std::size_t at) { lines[at].text += "\xC2\xA0"; }},
      {"END short of a letter", Kind::end,
       [](DamagedLines& lines, std::size_t at) { lines[at].text.pop_back(); }},
      {"header gone", Kind::header,
       [](DamagedLines& lines, std::size_t at) { lines.erase(lines.begin() + static_cast<long>(at)); }, true},
      {"header without a colon", Kind::header,
       [](DamagedLines& lines, std::size_t at) { replace(lines[at].text, ":", ""); }},
      {"header with a value", Kind::header,
       [](DamagedLines& lines, std::size_t at) { lines[at].text += " = 1"; }},
      {"header with an equals sign", Kind::header,
       [](DamagedLines& lines, std::size_t at) { replace(lines[at].text, ":", " ="); }},
      {"header in small letters", Kind::header,
       [](DamagedLines& lines, std::size_t at) {
         for (std::size_t i = 0; i < lines[at].text.find(':'); ++i)
           lines[at].text[i] = static_cast<char>(std::tolower(lines[at].text[i]));
       }},
      {"type misspelt", Kind::header,
       [](DamagedLines& lines, std::size_t at) { replace(lines[at].text, ":", "S:"); }},
      {"type short of a letter", Kind::header,
       [](DamagedLines& lines, std::size_t at) {
         replace(lines[at].text, lines[at].text.find("DOM") == std::string::npos ? "U" : "M", "");
         lines[at].text.insert(lines[at].text.find(':'), "Q");
       }},
      {"name with a slash", Kind::header,
       [](DamagedLines& lines, std::size_t at) { lines[at].text += "/x"; }},
      {"name with a comma", Kind::header,
       [](DamagedLines& lines, std::size_t at) { lines[at].text += ", x"; }},
      {"header continued", Kind::header, [](DamagedLines& lines, std::size_t at) { lines[at].text += " \\"; },
       true},
      {"parameter with a colon", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) { replace(lines[at].text, "=", ":"); }},
      {"parameter without an equals sign", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) { replace(lines[at].text, "=", ""); }},
      {"parameter with a colon before", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) { replace(lines[at].text, " =", ": ="); }},
      {"parameter misspelt", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) { replace(lines[at].text, " =", "x ="); }},
      {"parameter in capitals", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) {
         replace(lines[at].text, "i", "I");
         replace(lines[at].text, "s", "S");
       }},
      {"parameter without a name", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) { lines[at].text.erase(0, lines[at].text.find('=')); }},
      {"value that is none", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) {
         lines[at].text.replace(lines[at].text.find('=') + 1, std::string::npos, " ][ ?");
       }},
      {"parameter continued", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) { lines[at].text += " \\"; }, true},
      {"parameter with two equals signs", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) { replace(lines[at].text, "=", "=="); }},
      {"value with units too many", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) { lines[at].text += " [kg]"; }},
      {"value with a bracket left open", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) { lines[at].text += " ["; }},
      {"line end lost", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) {
         lines[at].text += lines[at + 1].text;
         lines.erase(lines.begin() + static_cast<long>(at) + 1);
       },
       true},
      {"word for a line", Kind::parameter,
       [](DamagedLines& lines, std::size_t at) { lines[at].text = "  something"; }},
      {"action misspelt", Kind::action,
       [](DamagedLines& lines, std::size_t at) { replace(lines[at].text, "delete", "delte"); }},
      {"action without a mark", Kind::action,
       [](DamagedLines& lines, std::size_t at) { replace(lines[at].text, "> ", ""); }},
      {"action with nothing", Kind::action,
       [](DamagedLines& lines, std::size_t at) { lines[at].text = ">"; }},
  };
  return all;
}

std::string textOf(const DamagedLines& lines)
{
  std::string text;
  for (const Line& line : lines)
    text += line.text + '\n';
  return text;
}

// The place of the first error of each file.
std::map<std::string, std::size_t> placesOf(const std::string& reports)
{
  std::map<std::string, std::size_t> places;
  std::istringstream in(reports);
  for (std::string line; std::getline(in, line);) {
    const std::size_t colon = line.find(':');
    if (line.find(": error[") != std::string::npos)
      places.emplace(line.substr(0, colon), std::strtoul(line.c_str() + colon + 1, nullptr, 10));
  }
  return places;
}

const Arguments checking = {"run", "--validate", "--format", "short"};

TEST(Damage, ReportsNameTheLineOrItsBlock)
{
  Random random(20240611);
  Arguments arguments = checking;
  struct Expected {
    std::string file;
    const char* damage;
    std::size_t line;
    std::size_t header;
    bool isBetween;
  };
  std::vector<Expected> expected;
  for (const Damage& damage : damages()) {
    for (int i = 0; i < 12; ++i) {
      DamagedLines lines = soundText(random, 3 + pick(random, 5));
      std::vector<std::size_t> fitting;
      for (std::size_t at = 0; at < lines.size(); ++at)
        if (kindOf(lines[at].text) == damage.kind)
          fitting.push_back(at);
      const std::size_t at = fitting[pick(random, fitting.size())];
      const std::string file = "damaged" + std::to_string(expected.size()) + ".ksl";
      const std::size_t header = lines[at].header;
      damage.apply(lines, at);
      makeFile("work/" + file, textOf(lines));
      expected.push_back({file, damage.name, at + 1, header, damage.isBetween});
      arguments.push_back(file);
    }
  }
  const std::map<std::string, std::size_t> places = placesOf(ksl(arguments).err);
  std::size_t right = 0;
  std::string wrong;
  for (const Expected& each : expected) {
    const auto place = places.find(each.file);
    const std::size_t line = place == places.end() ? 0 : place->second;
    const bool isNear = each.isBetween && (line + 1 == each.line || line == each.line + 1);
    const bool isRight = line != 0 && (line == each.line || line == each.header || isNear);
    right += isRight;
    if (!isRight)
      wrong += std::string(each.damage) + " in line " + std::to_string(each.line) + ", block "
               + std::to_string(each.header) + ", reported " + std::to_string(line) + "\n";
  }
  EXPECT_GE(right * 100, expected.size() * 98) << right << " of " << expected.size() << "\n" << wrong;
}

TEST(Damage, OneEndMissingInAThousandFiles)
{
  Random random(7);
  Arguments arguments = checking;
  const std::size_t damaged = pick(random, 1000);
  std::size_t header = 0;
  for (std::size_t i = 0; i < 1000; ++i) {
    DamagedLines lines = soundText(random, 4);
    if (i == damaged) {
      std::size_t at = lines.size() / 2;
      while (kindOf(lines[at].text) != Kind::end)
        ++at;
      header = lines[at].header;
      lines.erase(lines.begin() + static_cast<long>(at));
    }
    arguments.push_back("part" + std::to_string(i) + ".ksl");
    makeFile("work/" + arguments.back(), textOf(lines));
  }
  const std::string place = "part" + std::to_string(damaged) + ".ksl:" + std::to_string(header) + ":";
  const std::string report = ksl(arguments).err;
  EXPECT_EQ(report.substr(0, place.size()), place);
  EXPECT_EQ(report.substr(report.find(" error")), " error[4]: Not enough END statements in KSL.\n")
      << "and no false error in the others";
}

}  // namespace
