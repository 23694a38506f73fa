// Names in a text of the type "Formula", which a calculation reads in its own way: "0.5 * Density * mag(U)^2".
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class ParamDefinition;

// Words of letters, digits, "_" and ".", and what stands in single quotes; words before a "(" are functions, and those
// in brackets units. A name means the object that is called so; else, when it ends in ".x", ".y" or ".z", it means that
// component of the object before it. Names are plain: paths are none.
class FormulaNames {
 public:
  static bool isFormula(const ParamDefinition& param);
  // What a text of the parameter may name, piece by piece: each name of a formula once, else the items of a list.
  static std::vector<std::string> itemsOf(const ParamDefinition& param, std::string_view text);
  // Each once, in the order of the text, without quotes. O(n log n).
  static std::vector<std::string> namesIn(std::string_view text);
  // Calls `take` with each name where it stands in the text, without quotes.
  using Take = std::function<void(const std::string& name, std::string_view bytes)>;
  static void forEachName(std::string_view text, const Take& take);
  // What has the component that the name may mean: "U" for "U.x"; empty for other names.
  static std::string_view holderOf(std::string_view name);
  // Whether a formula can hold it, in quotes if need be.
  static bool isName(std::string_view name);
  // How many characters of a name in the text are the one to be replaced; 0 when it is another.
  using Length = std::function<std::size_t(const std::string& name)>;
  // The text with another name, in quotes where it needs them.
  static std::string renamed(std::string_view text, const Length& lengthIn, std::string_view to);
};

}  // namespace orv
