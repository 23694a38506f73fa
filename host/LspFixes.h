// What is wrong, and what mends it.
#pragma once

#include "LspJson.h"

// Diagnostic[] of the last check.
LspJson diagnosticsOf(const LspDocument& document);
// CodeAction[] for what is wrong between two bytes.
LspJson fixesFor(const LspDocument& document, std::size_t begin, std::size_t end);
