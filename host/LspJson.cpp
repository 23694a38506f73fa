#include "LspJson.h"

const LspJson& memberOf(const LspJson& value, std::initializer_list<const char*> path)
{
  static const LspJson& nothing = *new LspJson();
  const LspJson* at = &value;
  for (const char* name : path) {
    if (!at->is_object())
      return nothing;
    const auto found = at->find(name);
    if (found == at->end())
      return nothing;
    at = &*found;
  }
  return *at;
}

std::string textOf(const LspJson& value)
{
  return value.is_string() ? value.get<std::string>() : std::string();
}

std::optional<std::size_t> countOf(const LspJson& value)
{
  constexpr long long most = 0x7FFFFFFF;
  if (!value.is_number_integer())
    return std::nullopt;
  if (value.is_number_unsigned() && value.get<unsigned long long>() > most)
    return most;
  const auto number = value.get<long long>();
  return number < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(number));
}

std::optional<LspPosition> positionOf(const LspJson& value)
{
  const std::optional<std::size_t> line = countOf(memberOf(value, {"line"}));
  const std::optional<std::size_t> character = countOf(memberOf(value, {"character"}));
  return line && character ? std::optional(LspPosition{*line, *character}) : std::nullopt;
}

LspJson toJson(const LspPosition& position)
{
  return {{"line", position.line}, {"character", position.character}};
}

LspJson rangeOf(const LspText& text, std::size_t offset, std::size_t size)
{
  return {{"start", toJson(text.positionOf(offset))}, {"end", toJson(text.positionOf(offset + size))}};
}

LspJson locationOf(const LspDocument& document, std::size_t offset, std::size_t size)
{
  return {{"uri", document.uri}, {"range", rangeOf(document.text, offset, size)}};
}

LspJson editOf(const LspText& text, std::size_t offset, std::size_t size, const std::string& newText)
{
  return {{"range", rangeOf(text, offset, size)}, {"newText", newText}};
}
