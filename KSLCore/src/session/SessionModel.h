// What a session is made of.
#pragma once

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"
#include "actions/KSLCopyImpl.h"
#include "ChangeLog.h"
#include "CopiedOutputFiles.h"
#include "ProtectedObjects.h"
#include "session/Session.h"

#include <cstddef>
#include <map>
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
  std::size_t reportCount() const { return m_reports.size(); }
  // What was reported since there were so many.
  Outcome outcomeSince(std::size_t reportCount) const;
  // What came of the command; also the last one's from now on. Tells the observers.
  Outcome endNotes(const std::string& title = {});
  const Outcome& last() const { return m_last; }

  void report(const Error& error);
  // A piece of the command has failed, of this or, when it is null, of what the command processor knows: reports why and
  // takes all of it back.
  void failCommand(const Error* error);
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

  std::vector<ErrorMsg> m_reports;  // since the last command began, also outside any
  ChangeLog m_changes;
  bool m_hasRun = false;    // a command came to its end since
  bool m_tookBack = false;  // one was taken back
  std::size_t m_rolledBack = 0;
  std::size_t m_inside = 0;  // operations under way, one within the other
  bool m_commandFailed = false;
  bool m_placesKnown = true;
  Outcome m_last;
  std::map<int, Session::Observer> m_observers;
  int m_newestObserver = 0;
};

}  // namespace orv
