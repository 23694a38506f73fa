// A system that records and replays.
#pragma once

#include "database/ObjectDB.h"
#include "actions/WriteSessionExecutor.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TestSystem.h"

#include <memory>
#include <regex>
#include <string>

namespace orv {

class SessionTest : public testing::Test {
 protected:
  static constexpr const char* head =
      "# Session file started: TIME\n# libORVKSLCore 1.0.0, text beyond ASCII as {U+HHHH}\n\n\n";
  static constexpr const char* foot = "# Session file stopped: TIME\n\n";

  // As a host enters what its user typed.
  static void enter(const std::string& text)
  {
    KSLCoreAPI::instance()->externalProcessKSL(StringUtilities::stringToVector(text, '\n'));
  }
  static bool isRecording() { return KSLCoreAPI::instance()->getSessionWriter()->isRecording(); }

  // A file with its times made equal.
  std::string contents(const std::string& name = "s.ksl") const
  {
    static const std::regex time("(started|stopped): [0-9]+-[0-9]+-[0-9]+ [0-9]+:[0-9]+:[0-9]+");
    return std::regex_replace(folder.read(name), time, "$1: TIME");
  }

  // The objects without those that the file actions keep for themselves.
  std::string work()
  {
    for (const char* path : {"/FILE PROCESSING", "/SESSION"})
      if (ObjectDB::instance()->getObjectByPath(path))
        system->run(std::string("> delete ") + path);
    return system->state();
  }

  void startAfresh()
  {
    system.reset();
    system = std::make_unique<TestSystem>();
  }

  TempFolder folder;
  std::unique_ptr<TestSystem> system = std::make_unique<TestSystem>();
};

}  // namespace orv
