// Replays a session with the application's help.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVKSLAPI.h"

#include <set>
#include <string>
#include <vector>

namespace orv {

class SessionUpdateStrategy;

// Reads the text of a session into a store of its own. At every action line, and at the end, it hands what it has read
// to the strategy, and runs what the strategy makes of it:
//
//   definitions   → prepare, acceptExpandedKSL ┐
//   action line   → handleAction               ┴→ output → processKSL, in the strategy's mode
//
// Objects that the text defines with "&replace" are built anew: they are deleted from the main store before the
// strategy is asked, and their headers in the output get the directive again. Outside any text the main store must not
// run ahead of the database, so there the deletion is a "> delete" line at the head of the output instead.
class ORV_API SessionUpdater : public KSLActionHandler, public KSLReplaceModeHandler {
 public:
  // The strategy is not owned and outlives the updater. Null throws internal::error, class and function
  // "SessionUpdater", "Null pointer passed to constructor.".
  explicit SessionUpdater(SessionUpdateStrategy* strategy);
  ~SessionUpdater() override;
  SessionUpdater(const SessionUpdater&) = delete;
  SessionUpdater& operator=(const SessionUpdater&) = delete;

  // Throws what reading the text, the strategy and, inside another text, running its output throw; the rest is not
  // replayed then. Each output is a text of its own outside any other: one that fails is reported and taken back, and
  // the replay goes on.
  void processKSL(const std::string& text);

  // Of the private store.
  bool handleAction(const std::string& action, const std::vector<std::string>& args) override;
  void objectReplaced(const std::string& path) override;

 private:
  std::vector<std::string> flush();
  std::vector<std::string> deleteReplaced() const;
  void process(const std::vector<std::string>& output);

  KSLAPI m_private;
  KSLAPI* m_main;                     // the command processor's
  SessionUpdateStrategy* m_strategy;  // not owned
  std::set<KSLPath> m_replaced;       // since the last action line
  bool m_processing = false;
};

}  // namespace orv
