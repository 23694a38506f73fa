// A system in which everybody who is called talks back: submits a text of his own.
#pragma once

#include "platform/ORVProgress.h"
#include "database/DBChangeNotify.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "tests/support/TestSystem.h"

#include <functional>
#include <string>
#include <vector>

namespace orv {

// Who may submit text; notification observers are told apart by their number.
enum class Place { executor, update, calculation, database, sink, progress, file, notification };

struct Talker {
  const char* name;
  Place place;
  int number = -1;
};
const std::vector<Talker>& talkers();

// Computes nothing; its overrides call their base and then tell the system where they are.
class TalkingObject : public GenericKSLObject {
 public:
  KSLObject* clone() const override;
  void update() override;
  void calculate(const std::string& type) override;
  std::string setValueInternal(ParamDefinition* param, const std::string& value) override;
};

// Types A (x, mode: on or off), plain, and B (x, sum, which is internal), which talks. Actions: "say" is a talking executor that first reports a
// warning and tells of a changed file; "fail" fails.
class TalkingSystem : private DBChangeNotify,
                      private ErrorSink,
                      private ProgressWatcher,
                      private FileChangeManager {
 public:
  TalkingSystem();
  ~TalkingSystem() override;

  // The text that the talker submits at his n-th occasion, once. With `swallows` he keeps what it throws.
  void let(const Talker& talker, unsigned long occasion, const std::string& text, bool swallows);
  // False when nothing was submitted; then whether the text came between the report of a failure and the end of the
  // recovery.
  bool hasSpoken() const { return m_spoken; }
  bool spokeInRecovery() const { return m_spokeInRecovery; }
  // Before or after the command.
  bool spokeOutside() const { return m_spokeOutside; }
  // Runs a command. Nothing may come out of it, and notifications that open have to be closed, innermost first.
  void run(const std::string& text);
  // Reports since the last call: failures, and refusals.
  std::vector<ErrorMsg> takeFailures() { return std::exchange(m_failures, {}); }
  int takeRefusals() { return std::exchange(m_refusals, 0); }
  // Store and database are the same, order of siblings included, and the next command works.
  void expectSound();

  // Told wherever somebody is called; what it throws is the caller's failure.
  std::function<void(Place)> onCall;
  std::function<void(KSLObject&)> onCalculation;  // before that
  std::function<void()> onRecovery;
  // Around what this system notes for itself: faults that a test arranges must not hit it.
  std::function<void(bool begins)> onNote;

  struct BaseType {
    BaseType();
  } m_baseType;
  TestSystem system;

 private:
  friend class TalkingObject;
  struct Notifications : Observer {
    explicit Notifications(TalkingSystem* owner) : m_owner(owner) {}
    void update(ObserverSubject*, int type) override { m_owner->notified(type); }
    TalkingSystem* m_owner;
  };
  void at(Place place, int number = -1);
  void notified(int type);
  template <class Note>
  void note(Note what);

  void paramChanged(const KSLObject*, const ParamDefinition*) override { at(Place::database); }
  void paramDeleted(const KSLObject*, const std::string&) override { at(Place::database); }
  void objectAdded(const KSLObject*) override { at(Place::database); }
  void objectDeleteBegin(const KSLObject*) override { at(Place::database); }
  void objectDeleteEnd(const std::string&, const KSLObject*) override { at(Place::database); }
  void report(const ErrorMsg& error) override;
  void stepped(const Progress*) override { at(Place::progress); }
  void registerFileChange(const std::string&, const std::string&) override { at(Place::file); }
  void registerExternalFileChange(const std::string&, const std::string&) override { at(Place::file); }
  void registerFileType(const std::string&) override {}

  inline static TalkingSystem* s_current = nullptr;
  Notifications m_notifications{this};
  Talker m_talker{"nobody", Place::executor};
  unsigned long m_left = 0;
  std::string m_text;
  bool m_swallows = false;
  bool m_spoken = false;
  bool m_spokeInRecovery = false;
  bool m_spokeOutside = false;
  bool m_recovering = false;
  bool m_inCommand = false;
  std::vector<int> m_open;  // notifications that end what has begun
  std::vector<ErrorMsg> m_failures;
  int m_refusals = 0;
};

}  // namespace orv
