#include "lexical.h"

#include "platform/ORVUtilities.h"

namespace orv::lexical {

using StringUtilities::trimmed;
using StringUtilities::unquoted;

namespace {

// The same for text from lines that were simplified: a blank at either side, if anything.
std::string_view trimmedPart(std::string_view text) noexcept
{
  if (!text.empty() && text.front() == ' ')
    text.remove_prefix(1);
  if (!text.empty() && text.back() == ' ')
    text.remove_suffix(1);
  const bool isDone =
      !text.empty() && !StringUtilities::isSpace(text.front()) && !StringUtilities::isSpace(text.back());
  return isDone ? text : trimmed(text);
}

}  // namespace

TextLine lineAt(std::string_view text, std::size_t offset) noexcept
{
  const std::size_t end = text.find('\n', offset);
  const bool last = end == std::string_view::npos;
  std::string_view line = text.substr(offset, last ? end : end - offset);
  if (!line.empty() && line.back() == '\r')
    line.remove_suffix(1);
  return {line, last ? text.size() : end + 1};
}

std::string_view bareName(std::string_view text) noexcept
{
  const std::string_view name = trimmedPart(text);
  return name.starts_with('"') ? trimmed(unquoted(name)) : name;
}

bool takeReplaceWord(std::string_view& statement) noexcept
{
  constexpr std::string_view word = "&replace";
  if (statement.size() <= word.size() || statement.substr(0, word.size()) != word
      || !StringUtilities::isSpace(statement[word.size()]))
    return false;
  statement = trimmed(statement.substr(word.size()));
  return true;
}

Header readHeader(std::string_view statement) noexcept
{
  const bool replace = takeReplaceWord(statement);
  const std::size_t colon = statement.find(':');
  return {replace, bareName(statement.substr(0, colon)), bareName(statement.substr(colon + 1))};
}

Parameter readParameter(std::string_view statement, std::size_t equals) noexcept
{
  return {bareName(statement.substr(0, equals)), trimmedPart(statement.substr(equals + 1))};
}

char forbiddenCharacter(std::string_view name, bool inRules) noexcept
{
  if (name.find('/') != std::string_view::npos)
    return '/';
  return !inRules && name.find(',') != std::string_view::npos ? ',' : '\0';
}

}  // namespace orv::lexical
