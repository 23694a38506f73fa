// A system that reads and writes files in a folder of its own.
#pragma once

#include "platform/ORVSystem.h"
#include "fuzz/FuzzSystem.h"

#include <filesystem>
#include <string>
#include <unistd.h>

namespace orv::fuzz {

inline std::string fileNamed(const std::string& name)
{
  const std::string folder =
      std::filesystem::temp_directory_path() / ("ksl-fuzz-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  return folder + "/" + name;
}

class FileSystem : public System {
 public:
  FileSystem() : System(Actions::all) { define(rules); }

  static void run(const std::string& text) { KSLCoreAPI::instance()->processKSL(text, kslUpdateDefault); }
  // Everything but what reading files leaves behind.
  static std::string state()
  {
    std::string text;
    for (const KSLObject* object : ObjectDB::instance()->getRoot()->getChildObjects())
      if (!object->typeIs("FILE PROCESSING") && !object->typeIs("SESSION") && !object->typeIs("STATE"))
        text += object->getState(externalParams);
    return text;
  }

 private:
  static constexpr const char* rules =
      "RULES:\nKSLObjectClasses = DataKSLObject\nCategories = deletable\nPARAMETER: x\nEND\n"
      "PARAMETER: Processing Mode\nEND\nPARAMETER: Path Stack\nEND\n"
      "OBJECT: A\nKSLObject Class = DataKSLObject\nCategory = deletable\nOptional Parameter List = x\nEND\n"
      "OBJECT: B\nKSLObject Class = DataKSLObject\nCategory = deletable\nEssential Parameter List = x\nEND\n"
      "SINGLETON: FILE PROCESSING\nKSLObject Class = DataKSLObject\n"
      "Essential Parameter List = Processing Mode, Path Stack\nEND\nEND\n";
};

}  // namespace orv::fuzz
