// A process of several that work as one: the first, which leads, and those that follow it.
#pragma once

#include "platform/ORVUtilities.h"
#include "MpiCommunicator.h"
#include "host/Team.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class Member : public Team {
 public:
  bool stopsNow(bool here) override { return m_communicator.stopsNow(here); }

 protected:
  explicit Member(MpiCommunicator& communicator);
  ~Member() override;
  Member(const Member&) = delete;
  Member& operator=(const Member&) = delete;

  // The library is up: commands come.
  void attach();
  // Runs a command in step with the others: done everywhere or nowhere, and what the models hold then is the same.
  void runTogether(const std::function<void()>& enter);

  MpiCommunicator& m_communicator;

 private:
  // When a command has gone well here, or failed, the others hear of it.
  class Vote : public orv::Observer {
   public:
    explicit Vote(MpiCommunicator& communicator) : m_communicator(communicator) {}
    void update(orv::ObserverSubject* subject, int type) override;

   private:
    MpiCommunicator& m_communicator;
  };
  void compareModels();

  Vote m_vote;
  Team* m_former;
};

class Leader : public Member {
 public:
  explicit Leader(MpiCommunicator& communicator) : Member(communicator) {}
  // Sends the others home.
  ~Leader() override;

  void begin(const std::vector<std::string>& libraries, bool validate,
             const std::function<void()>& up) override;
  void prepare(orv::ActionFactory& actions, std::unique_ptr<orv::ActionExecutor> saving,
               orv::FileChangeManager* files) override;
  void follow(const TeamCommand& command, const std::function<void()>& enter) override;
};

class Follower : public Member {
 public:
  explicit Follower(MpiCommunicator& communicator);
  ~Follower() override;
  // Until the leader is at its end.
  void run();

  void begin(const std::vector<std::string>&, bool, const std::function<void()>&) override {}
  void prepare(orv::ActionFactory&, std::unique_ptr<orv::ActionExecutor>, orv::FileChangeManager*) override {}
  void follow(const TeamCommand&, const std::function<void()>&) override {}

 private:
  struct Model;
  bool obey(const std::vector<std::string>& order);
  void enter(const TeamCommand& command) const;

  std::unique_ptr<Model> m_model;
};
