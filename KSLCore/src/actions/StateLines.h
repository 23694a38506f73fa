// The text of a state file, line by line.
#pragma once

#include "platform/ORVError.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class KSLObject;
class ParamDefinition;

// Writes headers, parameters and ends behind one another. Nearly all lines hold short names and values without
// anything special: these are put together where they stay, and what they begin with is kept for each parameter and
// each type, found by where the name lies, which must not change while a text is made. All other lines are looked at
// in full, escaped and continued where they must be, and reported or left out when no reader could take them.
//
// Who is told of a warning may submit texts, which take objects away: reports wait until the text is complete.
class StateLines {
 public:
  explicit StateLines(std::string_view head);

  // False, and reported, for an object whose header could not be read.
  bool header(const KSLObject& object, std::size_t depth);
  // The parameters of an object that belong into a state. False when one could not be read, was reported and left out.
  bool parameters(const KSLObject& object, std::size_t depth);
  void end(std::size_t depth);

  // What was written up to a moment, for which it can be cut back to it.
  struct Mark {
    std::size_t pieces;
    std::size_t size;  // of the last of them
    bool operator==(const Mark&) const = default;
  };
  Mark mark() const { return {m_pieces.size(), m_size}; }
  void cutBackTo(const Mark& mark);
  // KSL that is no object's, behind the rest.
  void append(std::string_view text);

  // To be told of with what was found here, in this order.
  void report(const Error& error) { m_reports.emplace_back(error); }
  // Tells of it. Objects may have gone then.
  void tell();

  // The text, which lies here: a long one in many pieces, so that none is ever copied to make room.
  std::vector<std::string_view> text() const;

 private:
  // What lines with this name begin with: "  Name = ", "  TYPE:".
  struct Start {
    const void* name = nullptr;  // where it lies
    std::size_t indent = 0;
    std::size_t size = 0;
    std::array<char, 80> text{};
  };
  // null for one that is to be looked at in full
  const Start* paramStart(const std::string& name, std::size_t indent);
  const Start* headerStart(const std::string& type, std::size_t indent);
  // Where it is kept, or the place for it.
  Start& placeOf(const void* name, std::size_t indent);
  static bool keep(Start& place, const std::string& name, std::size_t indent, std::string_view sign);

  void reportLeftOut(const char* function, const std::string& line);
  bool parameter(const KSLObject& object, const std::string& name, const std::string& value,
                 std::size_t depth);
  bool appendSimple(const ParamDefinition& param, std::size_t depth);
  void appendStarted(const Start& start, std::string_view text);
  void appendLine(std::string_view text, std::size_t depth);
  char* roomFor(std::size_t size);

  // Names by place; two that meet in one would drive each other out, so each has some to go to.
  static constexpr std::size_t tries = 4;
  std::array<Start, 128> m_starts;
  struct Piece {
    std::unique_ptr<char[]> text;
    std::size_t room = 0;
    std::size_t size = 0;  // of those that are full
  };
  std::vector<Piece> m_pieces;
  std::size_t m_size = 0;                         // of the last
  std::vector<const ParamDefinition*> m_toWrite;  // of one object; kept for its memory
  std::vector<ErrorMsg> m_reports;
};

}  // namespace orv
