// Actions without effect outside the objects.
#pragma once

#include "platform/ORVExport.h"
#include "command/ActionFactory.h"

#include <functional>
#include <string>
#include <vector>

namespace orv {

class Executive;

// Takes the place of an executive's actions while it lives, for those who only look: what changes objects, and reads
// files for that, is done; what writes files, prints or tells others is passed over. Words of the program's own are
// passed over unless they are given as harmless. The executive and its former actions outlive this.
class ORV_API QuietActions {
 public:
  // Hears of each action that is passed over, as its executor would: the word first, then its arguments.
  using PassedOver = std::function<void(const std::vector<std::string>& words)>;

  explicit QuietActions(Executive& executive, const std::vector<std::string>& harmless = {},
                        PassedOver passedOver = {});
  ~QuietActions();
  QuietActions(const QuietActions&) = delete;
  QuietActions& operator=(const QuietActions&) = delete;

 private:
  Executive& m_executive;
  ActionFactory* m_former;
  PassedOver m_passedOver;
  ActionFactory m_actions;
};

// The files that an action of the library writes, as it is given them: those of "savestate" and "session".
ORV_API std::vector<std::string> filesWrittenBy(const std::vector<std::string>& words);

}  // namespace orv
