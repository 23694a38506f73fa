// Finds out what a text names.
#pragma once

#include "rules/ExpressionNames.h"
#include "rules/NameLink.h"

#include <string>

namespace orv {

class GenericKSLObject;

// One text of one parameter, which the parameter need not hold. What cannot be linked as it stands is noted, never thrown.
class NameFinder {
 public:
  // `asked` gets the questions whose answers decided.
  static NamedTargets find(const GenericKSLObject& object, const ParamDefinition& param,
                           const std::string& text, std::vector<NameQuestion>& asked);

 private:
  NameFinder(const GenericKSLObject& object, const ParamDefinition& param, const std::string& text,
             std::vector<NameQuestion>& asked)
      : m_object(object),
        m_param(param),
        m_text(text),
        m_asked(asked)
  {}
  void makeParentLinks();
  void makeVariableLinks(const ExpressionNames::Uses& uses);
  void makeLocatorLinks(const std::vector<std::string>& locations);
  void addTarget(KSLObject* target, bool fits, const std::string& scheduler = {}, bool marks = true);
  void addComputed(KSLObject* target);
  void dropDoubles();
  void note(NamedTargets::Fault fault);
  void noteMissing(const char* function, std::string_view name, std::string message);
  void noteUnfit(const char* function, std::string_view name, std::string message);
  void noteAmbiguous(std::string_view name, const std::vector<KSLObject*>& candidates);

  const GenericKSLObject& m_object;
  const ParamDefinition& m_param;
  const std::string& m_text;
  std::vector<NameQuestion>& m_asked;
  NamedTargets m_found;
};

}  // namespace orv
