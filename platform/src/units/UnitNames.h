// Where the words of units people write differ from those of the database.
#pragma once

#include <string_view>

namespace orv {

// A word of its own meaning. Exactly one of the two texts is given.
struct UnitName {
  std::string_view word;
  std::string_view databaseWord;  // what the database calls it
  std::string_view hint;          // why it is refused, and what to write instead
};

// Null for a word that means in the database what everyone expects.
const UnitName* findUnitName(std::string_view word) noexcept;

}  // namespace orv
