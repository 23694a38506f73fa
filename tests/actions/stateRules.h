// Types for state files: the work (A, B), a program type (SYMBOL), what results define (BOUNDARY, DOMAIN), their
// reader, and the objects of the file actions.
#pragma once

#include "database/ObjectDB.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TestSystem.h"

#include <optional>
#include <string>

namespace orv {

inline const std::string stateRules = [] {
  std::string text = R"(RULES:
  Categories = deletable
  KSLObjectClasses = DataKSLObject
  PARAMETER: Shape
    Allowed String List = Round, Square
    Default = Crooked
  END
  PARAMETER: Visibility
    Parameter Type = Logical
    Default = On
  END
  PARAMETER: Processing Mode
    Allowed String List = None, Session, State
    Default = None
  END
  OBJECT: A
    KSLObject Class = DataKSLObject
    Category = deletable
    Optional Parameter List = x, y, Shape
    Internal Parameter List = Cache
  END
  OBJECT: B
    KSLObject Class = DataKSLObject
    Optional Parameter List = x, y
  END
  OBJECT: SYMBOL
    KSLObject Class = DataKSLObject
    Optional Parameter List = x
  END
  OBJECT: BOUNDARY
    KSLObject Class = DataKSLObject
    Optional Parameter List = x, Visibility, Domain List
  END
  OBJECT: DOMAIN
    KSLObject Class = DataKSLObject
    Optional Parameter List = x, Visibility, Shape
  END
  SINGLETON: DATA READER
    KSLObject Class = DataKSLObject
    Essential Parameter List = Current Results File
  END
  SINGLETON: FILE PROCESSING
    KSLObject Class = DataKSLObject
    Category = deletable
    Essential Parameter List = Processing Mode, Path Stack
  END
  SINGLETON: STATE
    KSLObject Class = DataKSLObject
    Essential Parameter List = State Filename, Save State Mode, Read State Mode, Load Data
    Optional Parameter List = Save State Objects
  END
)";
  const std::pair<const char*, const char*> defaults[] = {{"x", ""},
                                                          {"y", ""},
                                                          {"Cache", "7"},
                                                          {"Domain List", "All"},
                                                          {"Current Results File", ""},
                                                          {"Path Stack", "."},
                                                          {"State Filename", ""},
                                                          {"Save State Mode", ""},
                                                          {"Save State Objects", ""},
                                                          {"Read State Mode", "Append"},
                                                          {"Load Data", "False"}};
  for (const auto& [name, value] : defaults)
    text.append("PARAMETER: ").append(name).append("\nDefault = ").append(value).append("\nEND\n");
  return text + "END";
}();

class StateFiles : public testing::Test {
 protected:
  // The blocks of a state file: without the two lines above them, which hold the time and the version.
  std::string body(const std::string& name) const
  {
    const std::string text = folder.read(name);
    const std::size_t begin = text.find("\n\n");
    return begin == std::string::npos ? text : text.substr(begin + 2);
  }
  // The objects that are there without the loader's own.
  std::string work() const
  {
    std::string text;
    for (const KSLObject* object : ObjectDB::instance()->getRoot()->getChildObjects())
      if (!object->typeIs("FILE PROCESSING"))
        object->appendState(text, externalParams);
    return text;
  }
  void save(const std::string& name, const std::string& more = {})
  {
    system.run("> savestate filename=" + folder / name + more);
  }
  void load(const std::string& name, const std::string& more = {})
  {
    system.run("> readstate filename=" + folder / name + more);
  }

  // For another row of a table.
  void restart()
  {
    m_system.reset();
    m_system.emplace(stateRules);
  }

 private:
  std::optional<TestSystem> m_system{std::in_place, stateRules};

 protected:
  TempFolder folder;
  TestSystem& system = *m_system;
};

}  // namespace orv
