#include "Completer.h"

#include "platform/ORVExpressionFunctions.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "command/ActionFactory.h"
#include "CompletionSources.h"

#include <algorithm>
#include <cctype>
#include <map>

namespace StringUtilities = orv::StringUtilities;
using orv::KSLObject;
using orv::ParamDefinition;

namespace {

// What an action can be given, one text for each argument. "@object" is a path or a name, "@file" a file;
// "a|b" are the values to choose from.
const std::map<std::string, std::vector<std::string>, std::less<>>& argumentsOfActions()
{
  static const std::vector<std::string> objects = {"@object"};
  static const std::vector<std::string> copying = {"from=@object", "to=@object"};
  static const std::vector<std::string> verbosity = {"verbose_on", "verbose_off"};
  static const std::map<std::string, std::vector<std::string>, std::less<>> arguments = {
      {"copy", copying},
      {"db", verbosity},
      {"debug", verbosity},
      {"delete", objects},
      {"forceupdate", objects},
      {"fu", objects},
      {"getrulesinfo", {"name=@object", "type=object|parameter"}},
      {"getstate", objects},
      {"notify", {"filename=@file", "op=filechange", "type="}},
      {"readsession", {"filename=@file"}},
      {"readstate", {"filename=@file", "load=true|false", "mode=append|overwrite"}},
      {"rename", copying},
      {"rs", {"filename=@file"}},
      {"s", objects},
      {"savestate", {"filename=@file", "mode=none|overwrite", "object=@object"}},
      {"session", {"filename=@file", "mode=append|none|overwrite", "start", "stop", "stopsilently"}},
      {"update", {"noaction"}},
  };
  return arguments;
}

bool beginsWith(std::string_view text, std::string_view start)
{
  return text.substr(0, start.size()) == start;
}

Completions matching(std::string_view typed, std::size_t start, std::vector<std::string> candidates)
{
  std::sort(candidates.begin(), candidates.end());
  candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
  Completions found{start, {}};
  for (const std::string& candidate : candidates)
    if (beginsWith(candidate, typed))
      found.texts.push_back(candidate);
  if (!found.texts.empty())
    return found;
  const std::string lower = StringUtilities::toLower(typed);
  for (const std::string& candidate : candidates)
    if (beginsWith(StringUtilities::toLower(candidate), lower))
      found.texts.push_back(candidate);
  return found;
}

std::size_t skipBlanks(std::string_view text, std::size_t at)
{
  while (at < text.size() && StringUtilities::isSpace(text[at]))
    ++at;
  return at;
}

// Where the item of a list begins that the text ends in.
std::size_t lastItem(std::string_view text, std::size_t from)
{
  const std::size_t comma = text.rfind(',');
  return skipBlanks(text, comma == std::string_view::npos || comma < from ? from : comma + 1);
}

// Where the word of an expression begins that the text ends in.
std::size_t lastWord(std::string_view text, std::size_t from)
{
  std::size_t start = text.size();
  while (start > from
         && (std::isalnum(static_cast<unsigned char>(text[start - 1])) || text[start - 1] == '_'))
    --start;
  return start;
}

}  // namespace

std::vector<std::string> Completer::sourced(std::string_view source, std::string_view typed) const
{
  if (source == "@file")
    return fileNames(typed);
  if (source == "@object")
    return m_objects.matching(typed, {});
  return StringUtilities::stringToVector(source, '|');
}

Completions Completer::complete(const CommandInput& input, std::string_view beforeCursor) const
{
  if (!input.isContinued())
    return completeStatement(input, beforeCursor);
  // Blanks at the beginning are no part of what is continued.
  const std::size_t first = skipBlanks(beforeCursor, 0);
  const std::string& begun = input.begun();
  const std::string text = begun + std::string(beforeCursor.substr(first));
  Completions found = completeStatement(input, text);
  if (found.start >= begun.size()) {
    found.start += first - begun.size();
    return found;
  }
  // Only what is on this line can be completed.
  const std::string above = text.substr(found.start, begun.size() - found.start);
  Completions rest{first, {}};
  for (const std::string& candidate : found.texts)
    if (beginsWith(candidate, above))
      rest.texts.push_back(candidate.substr(above.size()));
  return rest;
}

Completions Completer::completeStatement(const CommandInput& input, std::string_view text) const
{
  const std::size_t first = skipBlanks(text, 0);
  if (first < text.size() && text[first] == '>')
    return completeAction(text);
  if (first < text.size() && text[first] == '.')
    return completeOwn(text);
  const std::size_t equals = text.find('=');
  if (equals != std::string_view::npos)
    return completeValue(input, text, equals);
  const std::size_t colon = text.find(':');
  if (colon != std::string_view::npos)
    return completeHeader(input, text, colon);

  std::vector<std::string> candidates = typeHeaders();
  if (!input.blocks().empty()) {
    for (const std::string& name : parameterNames(input.blocks()))
      candidates.push_back(name + " = ");
    candidates.emplace_back("END");
  }
  return matching(text.substr(first), first, std::move(candidates));
}

Completions Completer::completeHeader(const CommandInput& input, std::string_view text,
                                      std::size_t colon) const
{
  const std::string type(StringUtilities::trimmed(text.substr(0, colon)));
  const std::size_t start = skipBlanks(text, colon + 1);
  return matching(text.substr(start), start, m_objects.namesIn(input.blocks(), type));
}

Completions Completer::completeValue(const CommandInput& input, std::string_view text,
                                     std::size_t equals) const
{
  if (input.blocks().empty())
    return {};
  const std::string name(StringUtilities::trimmed(text.substr(0, equals)));
  const ParamDefinition* param = parameterOf(input.blocks(), name);
  const std::size_t whole = skipBlanks(text, equals + 1);
  if (!param)
    return completeWord(input, param, text, whole);
  const std::size_t item = lastItem(text, equals + 1);
  const std::vector<std::string>& allowed = param->getRules()->allowedInOrder;
  if (!allowed.empty()) {
    const std::size_t start = param->typeIs("String List") ? item : whole;
    return matching(text.substr(start), start, allowed);
  }
  if (!param->getRemoteType().empty())
    return matching(text.substr(item), item, m_objects.matching(text.substr(item), param->getRemoteType()));
  Completions word = completeWord(input, param, text, whole);
  if (!word.texts.empty())
    return word;
  std::vector<std::string> values;
  if (param->typeIs("Logical"))
    values = {"False", "True"};
  else if (!param->getValue().empty())
    values = {param->getValue()};
  return matching(text.substr(whole), whole, std::move(values));
}

// Units in an open bracket, or what an expression is made of, once a letter of it is there.
Completions Completer::completeWord(const CommandInput& input, const ParamDefinition* param,
                                    std::string_view text, std::size_t whole) const
{
  const std::size_t bracket = text.rfind('[');
  if (bracket != std::string_view::npos && bracket >= whole
      && text.find(']', bracket) == std::string_view::npos)
    return matching(text.substr(bracket + 1), bracket + 1, unitsOf(param));
  const std::size_t start = lastWord(text, whole);
  if (start == text.size() || !takesExpression(input.blocks(), param))
    return {};
  std::vector<std::string> words = m_objects.expressions();
  for (const std::string& function : orv::expressionFunctionNames())
    words.push_back(function + "(");
  return matching(text.substr(start), start, std::move(words));
}

Completions Completer::completeAction(std::string_view text) const
{
  const std::size_t start = skipBlanks(text, text.find('>') + 1);
  const auto isBreak = [](char c) { return StringUtilities::isSpace(c) || c == ','; };
  const auto end = std::find_if(text.begin() + static_cast<std::ptrdiff_t>(start), text.end(), isBreak);
  const auto at = static_cast<std::size_t>(end - text.begin());
  if (end != text.end())
    return completeArgument(text.substr(start, at - start), text, lastItem(text, at + 1));
  std::vector<std::string> words;
  for (const std::string& word : m_actions.getActions())
    words.push_back(argumentsOfActions().count(word) ? word + " " : word);
  return matching(text.substr(start), start, std::move(words));
}

Completions Completer::completeArgument(std::string_view word, std::string_view text, std::size_t start) const
{
  const auto entry = argumentsOfActions().find(word);
  if (entry == argumentsOfActions().end())
    return {};
  const std::string_view typed = text.substr(start);
  std::vector<std::string> candidates;
  for (const std::string& argument : entry->second) {
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals + 1);  // empty without a "="
    if (equals != std::string::npos && beginsWith(typed, name)) {
      const std::string_view value = typed.substr(name.size());
      return matching(value, start + name.size(), sourced(argument.substr(name.size()), value));
    }
    if (equals != std::string::npos)
      candidates.push_back(name);
    else if (argument.front() == '@')
      return matching(typed, start, sourced(argument, typed));
    else
      candidates.push_back(argument);
  }
  return matching(typed, start, std::move(candidates));
}

Completions Completer::completeOwn(std::string_view text) const
{
  const std::size_t start = skipBlanks(text, 0);
  const std::size_t blank = text.find(' ', start);
  const std::string_view typed = text.substr(start, blank == std::string_view::npos ? blank : blank - start);
  std::vector<std::string> candidates;
  for (const std::string& word : m_words) {
    const bool takesObject = word.back() == '@';
    const std::string name = takesObject ? word.substr(0, word.size() - 1) : word;
    if (takesObject && blank != std::string_view::npos && name == typed) {
      const std::size_t item = lastItem(text, blank);
      return matching(text.substr(item), item, m_objects.matching(text.substr(item), {}));
    }
    candidates.push_back(takesObject ? name + " " : name);
  }
  return blank == std::string_view::npos ? matching(typed, start, std::move(candidates)) : Completions();
}
