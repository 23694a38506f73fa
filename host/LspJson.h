// What the features of the language server have in common: places as the protocol writes them.
#pragma once

#include "LspWorkspace.h"

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

using LspJson = nlohmann::json;

// What stands behind these names in an object of objects; null where one is missing or something else stands.
const LspJson& memberOf(const LspJson& value, std::initializer_list<const char*> path);
// Empty for what is no text.
std::string textOf(const LspJson& value);
// None for what is no number from 0 on, or one beyond all lines; the protocol's largest is 2^31 - 1.
std::optional<std::size_t> countOf(const LspJson& value);
std::optional<LspPosition> positionOf(const LspJson& value);

LspJson toJson(const LspPosition& position);
LspJson rangeOf(const LspText& text, std::size_t offset, std::size_t size);
LspJson locationOf(const LspDocument& document, std::size_t offset, std::size_t size);
LspJson editOf(const LspText& text, std::size_t offset, std::size_t size, const std::string& newText);

// A request that cannot be answered, with the protocol's number for why.
struct LspFailure {
  static constexpr int parseError = -32700;
  static constexpr int invalidRequest = -32600;
  static constexpr int methodNotFound = -32601;
  static constexpr int invalidParams = -32602;
  static constexpr int internalError = -32603;
  static constexpr int notInitialized = -32002;
  static constexpr int requestFailed = -32803;
  int code;
  std::string message;
};
