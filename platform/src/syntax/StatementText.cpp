#include "StatementText.h"

#include "platform/ORVUtilities.h"
#include "platform/src/parse/lexical.h"

namespace orv::syntax {

using StringUtilities::trimmed;

std::string_view joinStatement(std::string_view text, std::size_t begin, std::size_t end, Blanks blanks,
                               std::string& room, std::vector<Piece>* pieces)
{
  if (pieces)
    pieces->assign(1, {0, begin});
  lexical::TextLine line = lexical::lineAt(text, begin);
  if (!lexical::continues(line.text))
    return line.text;
  room.assign(line.text.substr(0, line.text.size() - 1));
  while (line.next < end) {
    line = lexical::lineAt(text, line.next);
    const std::string_view piece = trimmed(line.text);
    if (pieces)
      pieces->push_back({room.size(), static_cast<std::size_t>(piece.data() - text.data())});
    if (blanks == Blanks::single)
      StringUtilities::appendSimplified(room, piece);
    else
      room += piece;
    if (lexical::continues(piece))
      room.pop_back();
  }
  return room;
}

std::size_t endOfStatement(std::string_view text, std::size_t begin, std::size_t& lines)
{
  lexical::TextLine line = lexical::lineAt(text, begin);
  lines = 1;
  for (bool goesOn = lexical::continues(line.text); goesOn && line.next < text.size(); ++lines) {
    line = lexical::lineAt(text, line.next);
    goesOn = lexical::continues(trimmed(line.text));
  }
  return line.next;
}

}  // namespace orv::syntax
