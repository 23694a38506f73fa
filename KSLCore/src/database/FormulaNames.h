// Names in a text of the type "Formula", which a calculation reads in its own way: "0.5 * Density * mag(U)^2".
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv {

class ParamDefinition;

// Words of letters, digits, "_" and ".", and whatever stands in single quotes. A word with a "." may be a name with a
// part behind it, so what is before the first "." counts as a name, too. Words before a "(" are functions, and those in
// brackets units.
class FormulaNames {
 public:
  static bool isFormula(const ParamDefinition& param);
  // What a text of the parameter may name, piece by piece: each name of a formula once, else the items of a list.
  static std::vector<std::string> itemsOf(const ParamDefinition& param, std::string_view text);
  // Each once, in the order of the text. O(n log n).
  static std::vector<std::string> namesIn(std::string_view text);
  // The text with another name, in quotes where it needs them.
  static std::string renamed(std::string_view text, std::string_view from, std::string_view to);
};

}  // namespace orv
