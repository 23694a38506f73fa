// A system with expressions, some objects that use them, and a count of what was recalculated.
#pragma once

#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "services/ExpressionEvaluatorKSLObject.h"
#include "services/ExpressionsKSLObject.h"
#include "services/UnitsKSLObject.h"
#include "tests/support/TestSystem.h"

#include <map>
#include <memory>
#include <string>

namespace orv::test {

inline constexpr const char* expressionRules =
    "RULES:\nCategories = variable, deletable, has-local-variable\nSchedulerTypes = S\n"
    "KSLObjectClasses = DataKSLObject, GenericKSLObject, ExpressionsKSLObject, ExpressionEvaluatorKSLObject, "
    "CountingObject, UnitsKSLObject\n"
    "SINGLETON: EXPRESSIONS\nKSLObject Class = ExpressionsKSLObject\nCategory = deletable\nEND\n"
    "SINGLETON: UNITS\nKSLObject Class = UnitsKSLObject\nEssential Parameter List = Unit System\nEND\n"
    "OBJECT: EXPRESSION EVALUATOR\nKSLObject Class = ExpressionEvaluatorKSLObject\nCategory = deletable\n"
    "Scheduler = S\nEssential Parameter List = Evaluated Expression\nOptional Parameter List = User Units\n"
    "Internal Parameter List = Result, Result Units\nEND\n"
    "OBJECT: EXPRESSION PREVIEW\nKSLObject Class = ExpressionEvaluatorKSLObject\nScheduler = S\n"
    "Essential Parameter List = Evaluated Expression\nInternal Parameter List = Result, Result Units\nEND\n"
    "OBJECT: WING\nKSLObject Class = CountingObject\nCategory = deletable\nScheduler = S\n"
    "Optional Parameter List = Length, Width, Tip\nEND\n"
    "OBJECT: PLAIN\nKSLObject Class = DataKSLObject\nOptional Parameter List = Length, Width\nEND\n"
    "OBJECT: GAUGE\nKSLObject Class = GenericKSLObject\nCategory = variable, deletable\nScheduler = S\n"
    "Optional Parameter List = Value\nEND\n"
    "PARAMETER: Evaluated Expression\nParameter Type = Expression\nLocal Type = S\nEND\n"
    "PARAMETER: User Units\nLocal Type = S\nEND\n"
    "PARAMETER: Length\nParameter Type = Real\nDefault = 1 [m]\nLocal Type = S\nEND\n"
    "PARAMETER: Width\nParameter Type = Quantity\nLocal Type = S\nEND\n"
    "PARAMETER: Tip\nParameter Type = Real Triplet\nLocal Type = S\nEND\n"
    "PARAMETER: Value\nParameter Type = Real\nLocal Type = S\nEND\n"
    "PARAMETER: Result\nEND\nPARAMETER: Result Units\nEND\nPARAMETER: Unit System\nEND\nEND";

// Notes each calculation under its path.
class CountingObject : public GenericKSLObject {
 public:
  static std::map<std::string, int>& counts()
  {
    static std::map<std::string, int> all;
    return all;
  }
  KSLObject* clone() const override
  {
    auto copy = std::make_unique<CountingObject>();
    copyInternals(copy.get());
    return copy.release();
  }
  void calculate(const std::string&) override { ++counts()[getPath()]; }
};

class ExpressionSystem {
 public:
  explicit ExpressionSystem(const std::string& rules = expressionRules) : m_system(rules) {}
  TestSystem* operator->() { return &m_system; }
  // The errors of running a text: one after the other, empty when it went well.
  std::string run(const std::string& text)
  {
    CountingObject::counts().clear();
    m_system.run(text);
    return m_system.errors();
  }
  std::string define(const std::string& lines) { return run("EXPRESSIONS:\n" + lines + "\nEND\n"); }
  std::string evaluator(const std::string& name, const std::string& text)
  {
    return run("&replace EXPRESSION EVALUATOR: " + name + "\nEvaluated Expression = " + text + "\nEND\n");
  }
  // Errors, else what was recalculated, after expressions, or the variable, were defined.
  std::string after(const std::string& lines)
  {
    const std::string errors = define(lines);
    return errors + recalculated();
  }
  std::string inlet(const std::string& value)
  {
    const std::string errors = run("GAUGE: inlet\nValue = " + value + "\nEND\n");
    return errors + recalculated();
  }
  static float length(const std::string& path) { return at(path)->getFloatValue("Length"); }
  // "WING:a 1, WING:b 2": what the last text recalculated.
  static std::string recalculated()
  {
    std::string text;
    for (const auto& [path, count] : CountingObject::counts())
      text += (text.empty() ? "" : ", ") + path.substr(1) + " " + std::to_string(count);
    return text;
  }
  static KSLObject* at(const std::string& path) { return ObjectDB::instance()->getObjectByPath(path); }
  static ExpressionsKSLObject& expressions() { return *ExpressionsKSLObject::current(); }
  // "5 [m]"
  static std::string result(const std::string& path)
  {
    const KSLObject* object = at(path);
    const std::string& units = object->getValue("Result Units");
    return object->getValue("Result") + (units.empty() ? "" : " [" + units + "]");
  }

 private:
  struct BaseTypes {
    BaseTypes()
    {
      GenericKSLObject::registerBaseType();
      UnitsKSLObject::registerBaseType();
      ExpressionsKSLObject::registerBaseType();
      ExpressionEvaluatorKSLObject::registerBaseType();
      KSLObject::registerBaseTypeWithFactory("CountingObject", new CountingObject);
    }
  };

  BaseTypes m_types;
  TestSystem m_system;
};

}  // namespace orv::test
