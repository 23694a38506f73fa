// How an application takes part in the replay of a session.
#pragma once

#include "platform/ORVExport.h"
#include "command/KSLUpdateMode.h"

#include <string>
#include <vector>

namespace orv {

class KSLAPI;

// Told of each piece of a session that is replayed: what its text defines up to an action line, and that line.
// Implemented by applications; see SessionUpdater for the course of a replay, and examples/embed/replay.cpp.
//
// The session's own text stands in a private store, which is emptied after every action line; the main store is the
// one that commands change. What an operation throws ends the replay and passes to its caller.
class ORV_API SessionUpdateStrategy {
 public:
  // The text up to an action line, or to the end, stands in the private store. Objects that it defines with "&replace"
  // are about to go from the main one.
  virtual void prepare(KSLAPI* mainStore, KSLAPI* privateStore) = 0;
  // The private store's text, one whole line an entry, unindented. What is appended to the output is run; nothing else
  // of the text is.
  virtual void acceptExpandedKSL(const std::vector<std::string>& lines, std::vector<std::string>& output) = 0;
  // The action line behind that text, without its ">"; `args` are those of KSLActionHandler. The output holds what
  // acceptExpandedKSL made of the text. An action that is not appended to it ("> " and the action) is not run.
  virtual void handleAction(std::vector<std::string>& output, KSLAPI* privateStore, KSLAPI* mainStore,
                            const std::string& action, const std::vector<std::string>& args) = 0;
  // The mode that the output is run with.
  virtual kslUpdateMode updateMode() = 0;

  virtual ~SessionUpdateStrategy();  // behind the operations, whose places are part of the contract
};

}  // namespace orv
