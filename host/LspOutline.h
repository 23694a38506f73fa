// What an editor shows of a text's own form: its blocks, its style, its words.
#pragma once

#include "LspJson.h"

#include <optional>
#include <utility>

// DocumentSymbol[]: the blocks. Those deeper than anybody nests stand beside their parents.
LspJson symbolsOf(const LspText& text);
// FoldingRange[]: blocks, comments and continued statements of more than one line.
LspJson foldingOf(const LspText& text);
// TextEdit[] that make the text that of "ksl fmt", for the statements that begin in these lines.
LspJson formatEdits(const LspText& text, std::size_t firstLine, std::size_t lastLine);

// The names of what tokens are, in the order of their numbers.
const std::vector<std::string>& tokenTypes();
// SemanticTokens of these lines.
LspJson tokensOf(const LspText& text, std::size_t firstLine, std::size_t lastLine);
