// What expressions depend on.
#pragma once

#include "platform/ORVExport.h"
#include "database/NameQuestion.h"

#include <string>
#include <vector>

namespace orv {

class KSLObject;
class ParamDefinition;

// Tells objects that compute which names an expression uses and what they stand for. The expressions service
// implements and installs it; until then expressions depend on nothing.
class ORV_API ExpressionNames {
 public:
  struct Uses {
    std::vector<std::string> variables;
    std::vector<std::string> locations;
    std::vector<std::string> functions;
    // Other parameters of the object itself that stand in, directly or in one another's texts; what their texts
    // use is in the lists above.
    std::vector<std::string> locals;
  };
  // What a variable's name stands for.
  struct Variable {
    KSLObject* object = nullptr;  // null when there is none of that name, or several
    bool isVariable = false;      // the object is of a kind that can be used as a variable
    // The object's scheduler that a change of the variable marks; empty for the one that the parameter's rules
    // name.
    std::string scheduler = {};
    bool marks = true;  // false: a change marks nothing, so there is nothing to link to
    // The value is what calculations of the object leave: it comes after all its schedulers.
    bool isComputed = false;
    std::vector<KSLObject*> several = {};
  };

  virtual ~ExpressionNames();

  // The names in a text, each once, in the order of first appearance; none of a text that cannot be read. The
  // parameter of the object is where the text stands or is about to; it may still hold another. Not asked of texts of
  // which ExpressionDef::mayUseNames says that they use none.
  virtual Uses namesIn(const KSLObject& object, const ParamDefinition& param,
                       const std::string& text) const = 0;
  // What a name stands for, seen from the object that holds the expression, and what was asked to find that out.
  // Locations and functions are null when there are none of that name.
  virtual Variable findVariable(const KSLObject& from, const std::string& name,
                                std::vector<NameQuestion>& asked) const = 0;
  virtual KSLObject* findLocation(const KSLObject& from, const std::string& name) const = 0;
  virtual KSLObject* findFunction(const KSLObject& from, const std::string& name) const = 0;

  // Null when none is installed.
  static const ExpressionNames* installed() noexcept;
  // Not owned; null takes it away. Returns the one before.
  static const ExpressionNames* install(const ExpressionNames* names) noexcept;
};

}  // namespace orv
