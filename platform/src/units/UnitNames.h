// Where units differ from those of the database: words that people write otherwise, and values that it has
// rounded.
#pragma once

#include <string>
#include <string_view>

namespace orv {

// What has to be known of the database to read a word.
class UnitDictionary {
 public:
  virtual ~UnitDictionary();
  // Has a unit of this name or symbol; prefixes do not count.
  virtual bool knows(const std::string& word) const = 0;
  // What a word stands for, when the database has rounded it: exactUnits() by any of the unit's names. Else
  // empty.
  virtual std::string_view exactly(const std::string& word) const = 0;
};

// A word as the database is told it. With a hint it is refused: why, and what to write instead.
struct UnitWord {
  std::string text;
  std::string_view hint;
};

UnitWord readUnitWord(std::string_view word, const UnitDictionary& dictionary);

// Whether a word with "(a)" or "(g)" behind it is one of its own: "bar(g)".
bool takesPressureMark(std::string_view wordWithMark);

}  // namespace orv
