// Objects that compute, through commands: what they calculate, and what depends on what.
#pragma once

#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "tests/support/TestSystem.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv::test {

inline const char* const computeRules = R"(RULES:
  Categories = deletable
  KSLObjectClasses = DataKSLObject, Computing
  SchedulerTypes = Data, Geometry
  PARAMETER: Value
    Local Type = Data
  END
  PARAMETER: Note
  END
  PARAMETER: Source
    Parameter Type = String List
    Local Type = Data
    Remote Type = Data
  END
  PARAMETER: Main
    Local Type = Data
    Remote Type = Data
    Default = main
  END
  PARAMETER: Pick
    Local Type = Data
    Remote Type = Data
    Allowed String List = None, p, q
    Default = None
  END
  PARAMETER: Inside
    Local Type = Data
    Remote Type = Data
    Remote Path = /GROUP:g
  END
  PARAMETER: Shape
    Local Type = Data
    Remote Type = Geometry
  END
  PARAMETER: Outline
    Local Type = Geometry
    Remote Type = Data
  END
  PARAMETER: Beside
    Parameter Type = String List
    Local Type = Geometry
    Remote Type = Data
  END
  PARAMETER: Formula
    Parameter Type = Expression
    Local Type = Data
  END
  OBJECT: NODE
    KSLObject Class = Computing
    Category = deletable
    Scheduler = Data
    Optional Parameter List = Value, Note, Source, Pick, Inside, Shape, Beside, Formula
  END
  OBJECT: STAGED
    KSLObject Class = Computing
    Scheduler = Data, Geometry
    Scheduler Links = Data, Geometry
    Optional Parameter List = Source, Outline
  END
  OBJECT: USER
    KSLObject Class = Computing
    Scheduler = Data
    Optional Parameter List = Main, Value
  END
  OBJECT: GROUP
    KSLObject Class = DataKSLObject
    Category = deletable
    Optional Parameter List = Note
  END
END
)";

// Logs its calculations, and does in them what the test wants.
class Computing : public GenericKSLObject {
 public:
  inline static std::string log;
  inline static std::function<void(Computing&)> onCalculate;

  KSLObject* clone() const override
  {
    auto copy = std::make_unique<Computing>();
    copyInternals(copy.get());
    return copy.release();
  }
  void calculate(const std::string& type) override
  {
    log += (log.empty() ? "" : " ") + getName() + (type == "Data" ? "" : ":" + type);
    if (onCalculate)
      onCalculate(*this);
  }
};

class ComputeTest : public ::testing::Test {
 protected:
  // Before the system reads its RULES.
  struct BaseType {
    BaseType() { ObjectFactory::instance()->registerBaseType("Computing", std::make_unique<Computing>()); }
    ~BaseType()
    {
      Computing::log.clear();
      Computing::onCalculate = nullptr;
      SchedulerObject::setCatchExceptions(false);
    }
  } m_baseType;
  TestSystem m_system{computeRules};

  // What one command calculates.
  std::string run(const std::string& text)
  {
    m_system.run(text, kslUpdateAtEnd);
    return take();
  }
  static std::string take() { return std::exchange(Computing::log, {}); }
  std::string undo()
  {
    m_system.undo();
    return take();
  }
  std::string redo()
  {
    m_system.redo();
    return take();
  }
  // Siblings in the graph follow each other as memory has them, and deleted objects come back behind their
  // siblings.
  static std::string sorted(const std::string& text, char separator)
  {
    std::vector<std::string> parts = StringUtilities::stringToVector(text, separator);
    std::sort(parts.begin(), parts.end());
    return StringUtilities::vectorToString(parts, separator);
  }
  std::string sortedState() const { return sorted(m_system.fullState(), '\n'); }
  static std::string node(const std::string& name, const std::string& lines = {})
  {
    return "NODE: " + name + "\n" + lines + "\nEND\n";
  }
  static std::string value(const std::string& path, const std::string& param)
  {
    const KSLObject* object = ObjectDB::instance()->getObjectByPath(path);
    return object ? object->getValue(param) : "no such object";
  }
  static std::string parents(const std::string& path)
  {
    std::string text;
    for (const KSLObject* parent : ObjectDB::instance()->getObjectByPath(path)->getSchedulerParentObjects())
      text += (text.empty() ? "" : " ") + parent->getPath();
    return text;
  }
  void expectRefused(const std::string& text, const ErrorMsg& error)
  {
    const std::string before = m_system.fullState();
    run(text);
    const std::vector<ErrorMsg> errors = m_system.errorList();
    ASSERT_EQ(errors.size(), 1u) << text;
    EXPECT_EQ(errors.front(), error) << toText(errors.front());
    EXPECT_EQ(m_system.fullState(), before);
    m_system.expectConsistent();
  }
  static ErrorMsg missing(const std::string& item, const std::string& param)
  {
    return {"GenericKSLObject", "makeParentLinks",
            "Object '" + item + "' referred to in '" + param + "' does not exist.", 4};
  }
  static ErrorMsg cyclic(const std::string& parent, const std::string& child)
  {
    return {"SchedulerObject", "addChild",
            "Attempt to create a cyclic dependency between object " + parent + " (Data) and object " + child
                + " (Data).",
            4};
  }
};

}  // namespace orv::test
