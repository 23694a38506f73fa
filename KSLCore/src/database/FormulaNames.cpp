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

// Whether the name means itself without quotes.
bool needsNoQuotes(std::string_view name)
{
  return !name.empty() && beginsFormulaName(name.front())
         && std::all_of(name.begin(), name.end(), isOfFormulaName);
}

struct FormulaToken {
  std::string name;        // without quotes
  std::string_view bytes;  // with them
  bool isQuoted = false;
};

// From the quote on; the component behind the other quote is a part of the name.
FormulaToken quotedToken(std::string_view text)
{
  const std::size_t close = std::min(text.find('\'', 1), text.size());
  std::string name(text.substr(1, close - 1));
  std::size_t end = std::min(close + 1, text.size());
  if (end + 1 < text.size() && text[end] == '.') {
    name += text.substr(end, 2);
    end += 2;
  }
  return {std::move(name), text.substr(0, end), true};
}

// Calls `take` with each name and what stands for it in the text.
template <class Take>
void forEachFormulaName(std::string_view text, const Take& take)
{
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    const char c = text[at++];
    if (c == '[') {
      at = std::min(text.find(']', at), text.size() - 1) + 1;
    } else if (c == '\'') {
      const FormulaToken token = quotedToken(text.substr(begin));
      at = begin + token.bytes.size();
      take(token);
    } else if (isOfFormulaName(c)) {  // what a number or a "." begins is none
      while (at < text.size() && isOfFormulaName(text[at]))
        ++at;
      const std::size_t next = text.find_first_not_of(formulaBlanks, at);
      const std::string_view word = text.substr(begin, at - begin);
      if (beginsFormulaName(c) && (next == std::string_view::npos || text[next] != '('))
        take(FormulaToken{std::string(word), word});
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
  std::set<std::string> seen;
  forEachFormulaName(text, [&](const FormulaToken& token) {
    if (!token.name.empty() && seen.insert(token.name).second)
      names.push_back(token.name);
  });
  return names;
}

void FormulaNames::forEachName(std::string_view text, const Take& take)
{
  forEachFormulaName(text, [&](const FormulaToken& token) {
    take(token.name, token.isQuoted ? token.bytes.substr(1) : token.bytes);
  });
}

std::string_view FormulaNames::holderOf(std::string_view name)
{
  const bool isComponent =
      name.size() > 2 && name[name.size() - 2] == '.' && name.back() >= 'x' && name.back() <= 'z';
  return isComponent ? name.substr(0, name.size() - 2) : std::string_view();
}

bool FormulaNames::isName(std::string_view name)
{
  return !name.empty() && name.find_first_of("'/") == std::string_view::npos;
}

std::string FormulaNames::renamed(std::string_view text, const Length& lengthIn, std::string_view to)
{
  std::string out;
  const char* copied = text.data();
  forEachFormulaName(text, [&](const FormulaToken& token) {
    const std::size_t length = lengthIn(token.name);
    if (length == 0)
      return;
    const std::string_view quote = token.isQuoted || !needsNoQuotes(to) ? "'" : "";
    out.append(copied, token.bytes.data()).append(quote).append(to).append(quote).append(token.name, length);
    copied = token.bytes.data() + token.bytes.size();
  });
  return out.append(copied, text.data() + text.size());
}

}  // namespace orv
