// A system that reads and writes files in a folder of its own.
#pragma once

#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/AdditionalRules.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "session/Registration.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <unistd.h>

namespace fuzz {

inline void require(bool good, const std::string& what)
{
  if (good)
    return;
  std::cerr << what << "\n";
  std::abort();
}

inline std::string file(const std::string& name)
{
  const std::string folder =
      std::filesystem::temp_directory_path() / ("ksl-fuzz-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  return folder + "/" + name;
}

class FileSystem {
 public:
  FileSystem()
  {
    orv::ErrorProgressReporter::instance()->setSink(&m_errors);
    orv::registerObjectClasses();
    m_executive.setActionFactory(&m_factory);
    orv::KSLInterface* owner = orv::KSLInterface::instance();
    owner->setExecutive(&m_executive);
    orv::registerActions(m_factory, m_executive);
    owner->getKSLAPI()->loadKSLData(orv::StringUtilities::stringToVector(rules, '\n'));
    orv::AdditionalRules options;
    options.applyObjectRules = true;
    owner->processRules(options);
  }
  ~FileSystem()
  {
    orv::KSLInterface::destroyInstance();
    orv::KSLCoreAPI::destroyInstance();
    orv::ObjectDB::destroyInstance();
    orv::ObjectFactory::destroyInstance();
    orv::ErrorProgressReporter::destroyInstance();
  }
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;

  void run(const std::string& text) { orv::KSLCoreAPI::instance()->processKSL(text, orv::kslUpdateDefault); }
  // Everything but what reading files leaves behind.
  std::string state() const
  {
    std::string text;
    for (const orv::KSLObject* object : orv::ObjectDB::instance()->getRoot()->getChildObjects())
      if (!object->typeIs("FILE PROCESSING") && !object->typeIs("SESSION") && !object->typeIs("STATE"))
        text += object->getState(orv::externalParams);
    return text;
  }
  // Errors, without warnings, since the last call.
  std::size_t takeErrors()
  {
    std::size_t count = 0;
    for (const orv::ErrorMsg& error : m_errors.errors())
      count += error.getType() == orv::errorType::warning ? 0 : 1;
    m_errors.clear();
    return count;
  }

 private:
  static constexpr const char* rules = R"(RULES:
  KSLObjectClasses = DataKSLObject
  Categories = deletable
  PARAMETER: x
  END
  PARAMETER: Processing Mode
  END
  PARAMETER: Path Stack
  END
  OBJECT: A
    KSLObject Class = DataKSLObject
    Category = deletable
    Optional Parameter List = x
  END
  OBJECT: B
    KSLObject Class = DataKSLObject
    Category = deletable
    Essential Parameter List = x
  END
  SINGLETON: FILE PROCESSING
    KSLObject Class = DataKSLObject
    Essential Parameter List = Processing Mode, Path Stack
  END
END
)";

  orv::ErrorCollector m_errors;
  orv::Executive m_executive;
  orv::ActionFactory m_factory;
};

}  // namespace fuzz
