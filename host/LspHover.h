// What is known of the words of a text.
#pragma once

#include "LspJson.h"

#include <string>

namespace orv {
struct ParamInfo;
struct TypeInfo;
}  // namespace orv

// Hover: of a type, of a parameter where its name or its value stands, or of an object or expression that is named. Null
// where nothing is known.
LspJson hoverAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset);

// As Markdown.
std::string markdownOf(const orv::TypeInfo& type);
std::string markdownOf(const orv::TypeInfo& type, const orv::ParamInfo& param);
