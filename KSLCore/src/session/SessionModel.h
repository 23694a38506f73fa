// What a session is made of.
#pragma once

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"
#include "actions/KSLCopyImpl.h"
#include "ChangeLog.h"
#include "CopiedOutputFiles.h"
#include "OutcomeNotes.h"
#include "ProtectedObjects.h"
#include "session/Session.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orv {

// Made, used and ended while the session's context is current.
class SessionModel {
 public:
  // Throws as Session's constructor.
  explicit SessionModel(SessionOptions options);
  ~SessionModel();
  SessionModel(const SessionModel&) = delete;
  SessionModel& operator=(const SessionModel&) = delete;

  ActionFactory& actions() { return m_actions; }

  // ---- An operation, or a command in pieces

  // While it lives, an operation is under way.
  class Inside {
   public:
    explicit Inside(SessionModel& model) : m_count(model.m_inside) { ++m_count; }
    ~Inside() { --m_count; }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

   private:
    std::size_t& m_count;
  };
  bool isInside() const { return m_inside > 0; }

  // Whether people know the text that is run while it lives, so that places in it can be told to them.
  class Places {
   public:
    Places(SessionModel& model, bool known) : m_known(model.m_placesKnown), m_before(m_known)
    {
      m_known = known;
    }
    ~Places() { m_known = m_before; }
    Places(const Places&) = delete;
    Places& operator=(const Places&) = delete;

   private:
    bool& m_known;
    bool m_before;
  };

  // What is reported and changed from here on belongs to the command that begins.
  void beginNotes();
  bool hasNotes() const { return m_notes != nullptr; }
  OutcomeNotes::Mark mark() const { return m_notes->mark(); }
  std::shared_ptr<OutcomeNotes> takeNotes();
  // What was reported since the mark, in notes that were made before.
  Outcome outcomeSince(OutcomeNotes::Mark mark, std::shared_ptr<OutcomeNotes> notes) const noexcept;
  // What came of the command; also the last one's from now on. Tells the observers.
  Outcome endNotes(std::string title = {});
  const Outcome& last() const { return m_last; }

  void report(const Error& error) noexcept;
  // In a handler: what is being handled, which is no Error of the library's.
  void reportCaught() noexcept;
  // A piece of the command has failed, and it was reported why, or the command processor knows: takes all of it back.
  void failCommand(bool isReported);
  void noteFailedCommand() { m_commandFailed = true; }
  bool hasCommandFailed() const { return m_commandFailed; }
  void forgetCommand() { m_commandFailed = false; }

  int observe(Session::Observer observer);
  void unobserve(int number) { m_observers.erase(number); }

 private:
  class Sink : public ErrorSink {
   public:
    explicit Sink(SessionModel* owner) : m_owner(owner) {}
    void report(const ErrorMsg& error) override;
    void inform(std::string_view text) override;

   private:
    SessionModel* m_owner;
  };
  class Watch : public orv::Observer {
   public:
    explicit Watch(SessionModel* owner) : m_owner(owner) {}
    void update(ObserverSubject* subject, int type) override;

   private:
    SessionModel* m_owner;
  };
  // Ends the command processor, which uses the executors, before these.
  struct Commands {
    ~Commands();
  };

  void readDefinitions();
  void registerExecutors();
  void tell(const Outcome& outcome);

  SessionOptions m_options;
  Sink m_sink{this};
  Watch m_watch{this};
  ProtectedObjects m_protection;
  CopiedOutputFiles m_outputFiles;
  KSLCopyImpl m_copying{&m_outputFiles};
  Executive m_executive;
  ActionFactory m_actions;
  Commands m_commands;

  const ErrorMsg m_lack;
  std::shared_ptr<OutcomeNotes> m_notes;  // of the command under way; null without one
  std::shared_ptr<OutcomeNotes> m_nextNotes = std::make_shared<OutcomeNotes>();
  ChangeLog m_changes;
  bool m_hasRun = false;    // a command came to its end since
  bool m_tookBack = false;  // one was taken back
  std::size_t m_rolledBack = 0;
  std::size_t m_inside = 0;  // operations under way, one within the other
  bool m_commandFailed = false;
  bool m_placesKnown = true;
  Outcome m_last;
  std::map<int, std::shared_ptr<const Session::Observer>> m_observers;
  int m_newestObserver = 0;
};

}  // namespace orv
