// What the rules say of types, in the form that checking many lines asks for.
#pragma once

#include "platform/ORVUnits.h"
#include "database/KSLObject.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orv {

class GenericKSLObject;

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

struct CheckedParam {
  enum class Kind { text, logical, number, integer, numbers, integers, triplet };

  const ParamDefinition* definition = nullptr;
  Kind kind = Kind::text;
  bool isReference = false;                  // an object that computes links it
  bool isExpression = false;                 // names in it stand for values
  bool inAllContexts = true;                 // of its type
  std::string units;                         // of the default
  std::optional<UnitDimensions> dimensions;  // that values must have; none when any will do
};

struct CheckedType {
  const KSLObject* prototype = nullptr;
  const GenericKSLObject* computing = nullptr;  // the same, when it computes
  std::string name;
  bool takesAnyParam = false;
  bool isVariable = false;  // its objects can be used in expressions
  std::vector<std::string> parents;
  std::vector<std::string> schedulers;
  std::string contextRule;
  std::string defaultContext;
  std::unordered_map<std::string, CheckedParam, TextHash, std::equal_to<>> params;

  const CheckedParam* findParam(std::string_view param) const;
  bool hasScheduler(std::string_view scheduler) const;
  // For messages, in name order.
  std::vector<std::string> paramNames() const;
};

// Each type is looked at once.
class CheckedTypes {
 public:
  // Null for a type that the rules do not define.
  const CheckedType* find(std::string_view name);

 private:
  std::unordered_map<std::string, std::unique_ptr<CheckedType>, TextHash, std::equal_to<>> m_types;
};

// Why the parameter cannot have the value, in the words of its reader; empty when it can, as far as can be seen. Allowed
// values and names are not looked at.
std::string whyRefused(const CheckedParam& param, std::string_view value);
// The same of an object that chooses units, in the words of UnitsKSLObject; empty for objects of other classes.
std::string whyNoPreference(const CheckedType& type, const std::string& param, const std::string& value);

}  // namespace orv
