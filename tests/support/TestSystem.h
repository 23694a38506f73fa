// A whole system in a small language: text goes in, and what came of it comes out as text.
#pragma once

#include "platform/ORVApplicationSupport.h"
#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "platform/ORVUtilities.h"
#include "rules/AdditionalRules.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "command/KSLUpdateMode.h"
#include "actions/StateChangeObserver.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace orv {

// Makes every singleton, reads RULES, registers all executors (without a deletion filter and a modifier
// of copies) and setViewportView, and ends it all again. One at a time.
class TestSystem {
 public:
  // RULES with at least one type for everything that rules can say; see TestSystem.cpp.
  static const char* defaultRules();

  explicit TestSystem(const std::string& rules = defaultRules());
  ~TestSystem();
  TestSystem(const TestSystem&) = delete;
  TestSystem& operator=(const TestSystem&) = delete;

  // -- going in

  void run(const std::string& text, kslUpdateMode mode = kslUpdateDefault)
  {
    KSLCoreAPI::instance()->processKSL(text, mode);
  }
  // What a host calls, outside any text.
  void undo() { interface()->undo(); }
  void redo() { interface()->redo(); }
  // The action runs the function with the words of its line.
  using Action = std::function<void(const std::vector<std::string>& words)>;
  void registerAction(const std::string& word, Action action);
  // Called after each notification has been noted; it may throw.
  std::function<void(int type)> onNotification;

  // -- coming out

  // All objects as KSL text, in database order: external parameters that are essential or set; all
  // parameters.
  std::string state() const;
  std::string fullState() const;
  // The text of the main store without its RULES, indented.
  std::string store() const;
  // The same of any store.
  static std::string storeText(const KSLAPI& store);

  // What was reported since the last call: as a person sees it, one error after the other; as data.
  std::string errors();
  std::vector<ErrorMsg> errorList();
  // Types of the notifications since the last call: "0 4 5 16 1".
  std::string notifications() { return std::exchange(m_notifications, {}); }
  // The lines of setViewportView since the last call, with "; " between.
  std::string viewActions() { return std::exchange(m_viewActions, {}); }

  // What the state actions told of files since the last call: "type qst", "changed /x/a.qst qst" (with the file's
  // size, "missing" without one), with "; " between.
  std::string fileChanges() { return m_files.take(); }
  // What "> savestate" clears; the test sets it.
  StateChangeObserver& stateChanges() { return m_stateChanges; }

  // "2 (3)": two steps, of which the newest has three changes; "0" for none.
  std::string undoSteps() const { return steps(interface()->getUndoStack()); }
  std::string redoSteps() const { return steps(interface()->getRedoStack()); }

  // One line a change: "create /A:a", "param /A:a x = 1", "change /A:a x = 2 (1)", "drop /A:a x (1)",
  // "delete /A:a".
  static std::string render(const KSLChangeList& changes);

  // Store and database hold the same: objects, nesting, values that were set, order among siblings of a type.
  void expectConsistent() const;
  // What differs, for properties; empty when nothing does.
  std::string inconsistencies() const;

  KSLInterface* interface() const { return KSLInterface::instance(); }
  KSLAPI* text() const { return KSLInterface::instance()->getKSLAPI(); }
  Executive& executive() { return m_executive; }
  ActionFactory& actions() { return m_factory; }

 private:
  class NotificationLog : public Observer {
   public:
    explicit NotificationLog(TestSystem* owner) : m_owner(owner) {}
    void update(ObserverSubject* subject, int type) override;

   private:
    TestSystem* m_owner;
  };

  class FileLog : public FileChangeManager {
   public:
    void registerFileChange(const std::string& fileName, const std::string& type) override;
    void registerExternalFileChange(const std::string& fileName, const std::string& type) override;
    void registerFileType(const std::string& type) override;
    std::string take() { return std::exchange(m_text, {}); }

   private:
    void add(const std::string& entry) { m_text.append(m_text.empty() ? "" : "; ").append(entry); }
    std::string m_text;
  };

  static std::string steps(const HistoryStack& stack);
  void registerExecutors();

  ErrorCollector m_errors;
  NotificationLog m_log{this};
  std::string m_notifications;
  std::string m_viewActions;
  FileLog m_files;
  StateChangeObserver m_stateChanges;
  Executive m_executive;
  ActionFactory m_factory;
};

}  // namespace orv
