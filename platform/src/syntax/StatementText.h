// One statement put together from its lines, and the way back from it to the text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orv::syntax {

// Where a line of a statement begins: in the statement, and in the text.
struct Piece {
  std::size_t joined;
  std::size_t offset;
};

// What readers do to white space when they join lines: single blanks in the lines that continue another. `kept` leaves
// it as it is, so that every byte has its place.
enum class Blanks { single, kept };

// The statement on the lines of `text` from `begin` to `end`, comment included. A view into the text when it is one
// line, else into `room`; `pieces`, when given, gets one piece a line.
std::string_view joinStatement(std::string_view text, std::size_t begin, std::size_t end, Blanks blanks,
                               std::string& room, std::vector<Piece>* pieces = nullptr);

// Where the statement that begins at `begin` ends, and how many lines it has.
std::size_t endOfStatement(std::string_view text, std::size_t begin, std::size_t& lines);

}  // namespace orv::syntax
