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
  std::string text =
      "RULES:\nCategories = deletable\nKSLObjectClasses = DataKSLObject\n"
      "PARAMETER: Shape\nAllowed String List = Round, Square\nDefault = Crooked\nEND\n"
      "PARAMETER: Visibility\nParameter Type = Logical\nDefault = On\nEND\n"
      "PARAMETER: Processing Mode\nAllowed String List = None, Session, State\nDefault = None\nEND\n";
  for (const char* type :
       {"OBJECT: A\nCategory = deletable\nOptional Parameter List = x, y, Shape\nInternal Parameter List = "
        "Cache",
        "OBJECT: B\nOptional Parameter List = x, y", "OBJECT: SYMBOL\nOptional Parameter List = x",
        "OBJECT: BOUNDARY\nOptional Parameter List = x, Visibility, Domain List",
        "OBJECT: DOMAIN\nOptional Parameter List = x, Visibility, Shape",
        "SINGLETON: DATA READER\nEssential Parameter List = Current Results File",
        "SINGLETON: FILE PROCESSING\nCategory = deletable\n"
        "Essential Parameter List = Processing Mode, Path Stack",
        "SINGLETON: STATE\nOptional Parameter List = Save State Objects\n"
        "Essential Parameter List = State Filename, Save State Mode, Read State Mode, Load Data"})
    text.append(type).append("\nKSLObject Class = DataKSLObject\nEND\n");
  for (const char* parameter :
       {"x\n", "y\n", "Cache\nDefault = 7\n", "Domain List\nDefault = All\n", "Current Results File\n",
        "Path Stack\nDefault = .\n", "State Filename\n", "Save State Mode\n", "Save State Objects\n",
        "Read State Mode\nDefault = Append\n", "Load Data\nDefault = False\n"})
    text.append("PARAMETER: ").append(parameter).append("END\n");
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
