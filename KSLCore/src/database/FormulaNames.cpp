#include "database/FormulaNames.h"

#include "database/ParamDefinition.h"

#include <algorithm>
#include <set>
#include <utility>

namespace orv {

namespace {

constexpr std::string_view formulaBlanks = " \t\r\n";

bool isDigitOfFormula(char c)
{
  return c >= '0' && c <= '9';
}

bool beginsFormulaName(char c)
{
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isOfFormulaName(char c)
{
  return beginsFormulaName(c) || isDigitOfFormula(c) || c == '.';
}

// Whether the name can do without quotes, and means itself there.
bool needsNoQuotes(std::string_view name)
{
  return !name.empty() && beginsFormulaName(name.front())
         && std::all_of(name.begin(), name.end(), [](char c) { return isOfFormulaName(c) && c != '.'; });
}

struct FormulaToken {
  std::string_view name;   // without quotes
  std::string_view bytes;  // with them
};

// Calls `take` with each name and what stands for it in the text.
template <class Take>
void forEachFormulaName(std::string_view text, const Take& take)
{
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    const char c = text[at++];
    if (c == '[' || c == '\'') {
      at = std::min(text.find(c == '[' ? ']' : '\'', at), text.size());
      if (c == '\'')
        take(FormulaToken{text.substr(begin + 1, at - begin - 1), text.substr(begin, at + 1 - begin)});
      ++at;
    } else if (isOfFormulaName(c)) {  // what a number or a "." begins is none
      while (at < text.size() && isOfFormulaName(text[at]))
        ++at;
      const std::size_t next = text.find_first_not_of(formulaBlanks, at);
      if (beginsFormulaName(c) && (next == std::string_view::npos || text[next] != '('))
        take(FormulaToken{text.substr(begin, at - begin), text.substr(begin, at - begin)});
    }
  }
}

}  // namespace

bool FormulaNames::isFormula(const ParamDefinition& param)
{
  return param.typeIs("Formula");
}

std::vector<std::string> FormulaNames::itemsOf(const ParamDefinition& param, std::string_view text)
{
  return isFormula(param) ? namesIn(text) : ParamDefinition::splitValue(text);
}

std::vector<std::string> FormulaNames::namesIn(std::string_view text)
{
  std::vector<std::string> names;
  std::set<std::string_view> seen;
  const auto add = [&](std::string_view name) {
    if (!name.empty() && seen.insert(name).second)
      names.emplace_back(name);
  };
  forEachFormulaName(text, [&](const FormulaToken& token) {
    add(token.name);
    if (token.name.size() == token.bytes.size())
      add(token.name.substr(0, token.name.find('.')));
  });
  return names;
}

std::string FormulaNames::renamed(std::string_view text, std::string_view from, std::string_view to)
{
  const std::string written = needsNoQuotes(to) ? std::string(to) : '\'' + std::string(to) + '\'';
  std::string out;
  const char* copied = text.data();
  forEachFormulaName(text, [&](const FormulaToken& token) {
    const bool isQuoted = token.name.size() != token.bytes.size();
    const std::size_t dot = isQuoted ? std::string_view::npos : token.name.find('.');
    if (token.name != from && (dot == std::string_view::npos || token.name.substr(0, dot) != from))
      return;
    out.append(copied, token.bytes.data()).append(written);
    copied = token.name == from ? token.bytes.data() + token.bytes.size() : token.bytes.data() + dot;
  });
  return out.append(copied, text.data() + text.size());
}

}  // namespace orv
