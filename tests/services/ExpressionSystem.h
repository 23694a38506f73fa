// A system with expressions, some objects that use them, and a count of what was recalculated.
#pragma once

#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "services/ExpressionEvaluatorKSLObject.h"
#include "services/ExpressionsKSLObject.h"
#include "tests/support/TestSystem.h"

#include <map>
#include <memory>
#include <string>

namespace orv::test {

inline constexpr const char* expressionRules = R"(RULES:
  Categories = variable, deletable, has-local-variable
  KSLObjectClasses = DataKSLObject, GenericKSLObject, ExpressionsKSLObject, ExpressionEvaluatorKSLObject, CountingObject
  SchedulerTypes = S
  SINGLETON: EXPRESSIONS
    KSLObject Class = ExpressionsKSLObject
    Category = deletable
  END
  SINGLETON: LIBRARY
    KSLObject Class = DataKSLObject
  END
  OBJECT: EXPRESSION EVALUATOR
    KSLObject Class = ExpressionEvaluatorKSLObject
    Category = deletable
    Scheduler = S
    Essential Parameter List = Evaluated Expression
    Optional Parameter List = User Units
    Internal Parameter List = Result, Result Units
  END
  OBJECT: EXPRESSION PREVIEW
    KSLObject Class = ExpressionEvaluatorKSLObject
    Scheduler = S
    Essential Parameter List = Evaluated Expression
    Internal Parameter List = Result, Result Units
  END
  PARAMETER: Evaluated Expression
    Parameter Type = Expression
    Local Type = S
  END
  PARAMETER: User Units
    Local Type = S
  END
  PARAMETER: Result
  END
  PARAMETER: Result Units
  END
  OBJECT: WING
    KSLObject Class = CountingObject
    Category = deletable
    Scheduler = S
    Optional Parameter List = Length, Width, Tip, Note
  END
  PARAMETER: Length
    Parameter Type = Real
    Default = 1 [m]
    Local Type = S
  END
  PARAMETER: Width
    Parameter Type = Quantity
    Local Type = S
  END
  PARAMETER: Tip
    Parameter Type = Real Triplet
    Local Type = S
  END
  PARAMETER: Note
  END
  OBJECT: PLAIN
    KSLObject Class = DataKSLObject
    Optional Parameter List = Length, Width
  END
  OBJECT: GAUGE
    KSLObject Class = GenericKSLObject
    Category = variable, deletable
    Scheduler = S
    Optional Parameter List = Value
  END
  PARAMETER: Value
    Parameter Type = Real
    Local Type = S
  END
END
)";

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
      ExpressionsKSLObject::registerBaseType();
      ExpressionEvaluatorKSLObject::registerBaseType();
      KSLObject::registerBaseTypeWithFactory("CountingObject", new CountingObject);
    }
  };

  BaseTypes m_types;
  TestSystem m_system;
};

}  // namespace orv::test
