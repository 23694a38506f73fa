// What the rules say of types, in the form that checking many lines asks for.
#pragma once

#include "database/KSLObject.h"
#include "rules/ValueCheck.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace orv {

class GenericKSLObject;

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

struct CheckedParam {
  explicit CheckedParam(const ParamDefinition& param) : definition(&param), values(param) {}

  const ParamDefinition* definition;
  ValueCheck values;
  bool isReference = false;   // an object that computes links it
  bool isExpression = false;  // names in it stand for values
  bool isFormula = false;     // an object that computes links those names in it that are objects'
  bool isOptional = false;    // what an object that computes links, or anything else
  bool inAllContexts = true;  // of its type

  bool linksNames() const { return isReference || isExpression || isFormula; }
};

struct CheckedType {
  const KSLObject* prototype = nullptr;
  const GenericKSLObject* computing = nullptr;  // the same, when it computes
  std::string name;
  bool takesAnyParam = false;
  bool isVariable = false;                   // its objects can be used in expressions
  std::vector<std::string> valueSchedulers;  // then: which of its calculations their users follow
  std::vector<std::string> parents;
  std::vector<std::string> schedulers;
  std::vector<std::pair<std::string, std::string>> links;  // of these: the second is computed from the first
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

// Why a parameter of an object that chooses units cannot have the value, in the words of UnitsKSLObject; empty when it can,
// and for objects of other classes.
std::string whyNoPreference(const CheckedType& type, const std::string& param, const std::string& value);

}  // namespace orv
