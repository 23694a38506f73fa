// What entering a text would do, without doing it.
#pragma once

#include "platform/ORVError.h"
#include "platform/ORVExport.h"
#include "command/KSLUpdateInfo.h"
#include "command/TextSource.h"
#include "session/CalculationLog.h"

#include <string>
#include <vector>

namespace orv {

struct Plan {
  struct Param {
    std::string name;
    std::string before;
    std::string after;
    bool internal = false;
  };
  struct Object {
    enum Kind { added, changed, deleted };
    Kind kind = changed;
    std::string path;
    // Of a new object those that are set, of one that changes those that become different, in name order.
    std::vector<Param> params;
  };
  // A file that a recalculated object names in a parameter of the category "File": it may be read or written.
  struct NamedFile {
    std::string path;
    std::string param;
    std::string file;
  };
  // What one of the texts would do.
  struct Step {
    KSLUpdateInfo::UpdateList items;  // as KSLCoreAPI::getUpdateInfo gives them once the text is entered
    std::vector<ErrorMsg> reports;
    bool failed = false;  // an error is among these: all of the text would be taken back
  };

  std::vector<Step> steps;
  // The difference between before and after all of it, in path order; of what is deleted each object.
  std::vector<Object> objects;
  std::vector<CalculationLog::Entry> calculations;  // `command` counts the texts from 0
  std::vector<NamedFile> namedFiles;
  std::vector<std::string> writtenFiles;  // by actions
  std::vector<std::string> passedOver;    // action lines whose effect is not known, without the ">"
};

// Plans what KSLCoreAPI::externalProcessKSL would do with texts, each as one command.
//
// The texts are entered into a copy of the process, which then ends: in this one nothing is touched, no observer is
// told, and objects, pending calculations, history and store are as before, to the letter. In the copy nothing is
// calculated, files that texts read are read, and none is written; what only a calculation knows (results, values that
// it sets, further texts that it enters) is not in the plan. Actions are done as QuietActions does them.
//
// Costs what entering costs, without calculations, and the copy of the process's tables of memory. Threads of the
// program are not in the copy. Whoever watches (ProgressWatcher) is told now and then, and stops it with what he throws.
// Throws internal::error, class "Planner", function "plan", "Operation '%s' failed (system exception: %s)." with "plan"
// when there is no copy to be had or it came to a bad end, and while a command is under way.
class ORV_API Planner {
 public:
  // The program's own actions that are done rather than passed over; see QuietActions.
  explicit Planner(std::vector<std::string> harmlessActions = {}) : m_harmless(std::move(harmlessActions)) {}

  struct Text {
    std::vector<std::string> lines;
    TextSource source = {};  // as its errors name it
  };
  Plan plan(const std::vector<Text>& texts) const;

 private:
  std::vector<std::string> m_harmless;
};

}  // namespace orv
