// One statement in the one style, without its indentation: what it says, where it may be and must be broken.
#pragma once

#include "platform/ORVSyntax.h"
#include "StatementText.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orv::syntax {

// Whether a byte begins a character in UTF-8, and so takes a column.
inline bool isColumn(char c) noexcept
{
  return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
}

class StatementLayout {
 public:
  // A statement with its comment put together, and where its lines begin in it.
  struct Whole {
    std::string_view text;
    std::vector<Piece> pieces;
    std::string room;
  };
  // The same statement as its reader puts it together (Blanks::single), and as it stands there (Blanks::kept), for the
  // sake of its comment.
  StatementLayout(const Whole& read, const Whole& kept, SyntaxTree::Kind kind);

  // Breaks lines that take more than `width` columns; the lines stand `indent` columns from the left, those that
  // continue the first one `step` more.
  void wrap(std::size_t indent, std::size_t step, std::size_t width);

  std::size_t lineCount() const { return m_breaks.size() + 1; }
  // What stands on a line before the comment; white space at its end belongs to the statement unless it is the last.
  std::string_view said(std::size_t line) const;
  // The comment on a line, or what there is of it.
  std::string_view comment(std::size_t line) const;

 private:
  void copyStatement(std::string_view statement, SyntaxTree::Kind kind);
  // Appends a part of the statement under way, its breaks with it.
  void copyTrimmed(std::string_view part);
  void dropIdleBreaks();
  std::size_t lineBegin(std::size_t line) const { return line == 0 ? 0 : m_breaks[line - 1]; }
  std::size_t lineEnd(std::size_t line) const
  {
    return line < m_breaks.size() ? m_breaks[line] : m_text.size();
  }
  // Where a line of the statement is broken best; `end` when nowhere.
  std::size_t breakBefore(std::size_t begin, std::size_t end, std::size_t room) const;
  // True when this range of the text takes no more columns than `room`. Looks at no more than that.
  bool fits(std::size_t begin, std::size_t end, std::size_t room) const;
  void findPlaces();

  const Whole* m_whole;     // that is copied from
  std::size_t m_piece = 1;  // of it, the next one to be placed
  std::string m_text;
  std::size_t m_end = 0;        // of what is said in m_text
  std::size_t m_comment = 0;    // where it begins there
  std::size_t m_breakable = 0;  // no break is put in before this
  std::size_t m_lastRun = 0;    // nor before this
  std::vector<std::size_t> m_breaks;
  std::vector<bool> m_places;  // by position: a line may begin here
};

}  // namespace orv::syntax
