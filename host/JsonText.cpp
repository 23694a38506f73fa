#include "JsonText.h"

#include <nlohmann/json.hpp>

namespace {

std::string asJsonString(std::string_view text)
{
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

template <class Items, class TextOf>
std::string jsonList(const Items& items, TextOf textOf)
{
  std::string out;
  for (const auto& item : items)
    out.append(out.empty() ? "" : ",").append(textOf(item));
  return '[' + out + ']';
}

}  // namespace

void JsonText::add(std::string_view name, std::string_view value)
{
  addRaw(name, asJsonString(value));
}

void JsonText::add(std::string_view name, std::size_t value)
{
  addRaw(name, std::to_string(value));
}

void JsonText::add(std::string_view name, const std::vector<std::string>& values)
{
  addRaw(name, jsonList(values, asJsonString));
}

void JsonText::add(std::string_view name, const std::vector<JsonText>& values)
{
  addRaw(name, jsonList(values, [](const JsonText& value) { return value.text(); }));
}

void JsonText::addRaw(std::string_view name, std::string_view value)
{
  m_members.append(m_members.empty() ? "" : ",").append(asJsonString(name)).append(":").append(value);
}
