// What expressions depend on.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVExpressions.h"

#include <string>
#include <vector>

namespace orv {

class KSLObject;

// Tells objects that compute which names an expression uses and what they stand for. The expressions service
// implements and installs it; until then parameters of the type "Expression" depend on nothing.
class ORV_API ExpressionNames {
 public:
  struct Uses {
    std::vector<std::string> variables;
    std::vector<std::string> locations;
    std::vector<std::string> functions;
    bool localVariable = false;  // the expression uses a variable of its own object
  };
  // What a variable's name stands for.
  struct Variable {
    KSLObject* object = nullptr;  // null when there is none of that name
    bool isVariable = false;      // the object is of a kind that can be used as a variable
  };

  virtual ~ExpressionNames();

  // The names in an expression, in the order of first appearance.
  virtual Uses namesIn(const ExpressionDef& expression) const = 0;
  // What a name stands for, seen from the object that holds the expression. Locations and functions are null
  // when there are none of that name.
  virtual Variable findVariable(const KSLObject& from, const std::string& name) const = 0;
  virtual KSLObject* findLocation(const KSLObject& from, const std::string& name) const = 0;
  virtual KSLObject* findFunction(const KSLObject& from, const std::string& name) const = 0;

  // Null when none is installed.
  static const ExpressionNames* installed() noexcept;
  // Not owned; null takes it away. Returns the one before.
  static const ExpressionNames* install(const ExpressionNames* names) noexcept;
};

}  // namespace orv
