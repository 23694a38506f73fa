// A text that an editor has open, with the positions of the language server protocol.
#pragma once

#include "platform/ORVSyntax.h"

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

// Counted from 0; a character is a UTF-16 unit, of which a character beyond the first 65,536 has two.
struct LspPosition {
  std::size_t line = 0;
  std::size_t character = 0;
};

// Bytes that are no UTF-8 count as one unit each. Positions that are not there mean the nearest that is before them.
class LspText {
 public:
  explicit LspText(std::string text);

  const orv::SyntaxTree& tree() const { return m_tree; }
  const std::string& text() const { return m_tree.text(); }
  std::size_t lineCount() const { return m_starts.size(); }
  std::size_t lineStart(std::size_t line) const { return m_starts[line]; }

  std::size_t offsetOf(const LspPosition& position) const;
  LspPosition positionOf(std::size_t offset) const;
  // The units of the bytes.
  static std::size_t unitsIn(std::string_view bytes);

  // Linear in the lines, with a small factor. True when the tree is another one now, and not the one before edited.
  bool edit(std::size_t offset, std::size_t removed, std::string_view inserted);

 private:
  void moveStarts(std::size_t offset, std::size_t removed, std::size_t inserted);
  void appendStarts(std::size_t from, std::size_t limit, std::vector<std::uint32_t>& starts) const;

  orv::SyntaxTree m_tree;
  std::vector<std::uint32_t> m_starts;  // of the lines, as the protocol counts them: CR alone ends one, too
};
