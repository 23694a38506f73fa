// A system whose every part fails when the trap strikes: objects, some of which compute, a plug-in, observers, an action
// and the steps of long work; and all that a failed command must leave as it was.
#pragma once

#include "platform/ORVProgress.h"
#include "rules/GenericKSLObject.h"
#include "command/KSLUpdateRecorder.h"
#include "tests/faults/Trap.h"
#include "tests/support/TestSystem.h"

#include <string>
#include <vector>

namespace orv {

// An object that fails. Those with a scheduler get an area from the plug-in; with that of their parents, their sum tells
// whether all was calculated in order.
class FragileObject : public GenericKSLObject {
 public:
  std::string setValue(const std::string& name, const std::string& value) override
  {
    failAt(FaultKind::setValue);
    std::string old = GenericKSLObject::setValue(name, value);
    failAt(FaultKind::setValue);
    return old;
  }
  std::string setValueInternal(ParamDefinition* param, const std::string& value) override
  {
    std::string old = GenericKSLObject::setValueInternal(param, value);
    failAt(FaultKind::setValue);
    return old;
  }
  void initialize(const std::string& parentPath, const std::string& name) override
  {
    failAt(FaultKind::initialize);
    GenericKSLObject::initialize(parentPath, name);
  }
  void update() override
  {
    failAt(FaultKind::update);
    GenericKSLObject::update();
  }
  void createDelayedParamLinks() override
  {
    failAt(FaultKind::link);
    GenericKSLObject::createDelayedParamLinks();
  }
  void calculate(const std::string& type) override;
  KSLObject* clone() const override
  {
    auto copy = std::make_unique<FragileObject>();
    copyInternals(copy.get());
    return copy.release();
  }
};

// Registered before the RULES are read.
struct FragileType {
  FragileType() { KSLObject::registerBaseTypeWithFactory("Fragile", new FragileObject); }
};

// "> define PATH" submits two texts, and deletes the object between them.
class FragileExecutor : public ActionExecutor {
 public:
  void invoke(const std::vector<std::string>& words) override;
};

// Records what it hears of the database.
class FragileRecorder : public KSLUpdateRecorder {
 public:
  void paramChanged(const KSLObject* object, const ParamDefinition* param) override
  {
    failAt(FaultKind::observer);
    KSLUpdateRecorder::paramChanged(object, param);
  }
  void paramDeleted(const KSLObject* object, const std::string& name) override
  {
    failAt(FaultKind::observer);
    KSLUpdateRecorder::paramDeleted(object, name);
  }
  void objectAdded(const KSLObject* object) override
  {
    failAt(FaultKind::observer);
    KSLUpdateRecorder::objectAdded(object);
  }
  void objectDeleteBegin(const KSLObject* object) override
  {
    failAt(FaultKind::observer);
    KSLUpdateRecorder::objectDeleteBegin(object);
  }
  void objectDeleteEnd(const std::string& path, const KSLObject* object) override
  {
    const ScopeGuard record([&] { KSLUpdateRecorder::objectDeleteEnd(path, object); });
    failAt(FaultKind::observer);
  }
};

// Stops work between two of its steps, as people do, and all that follows until the trap is taken away.
class FragileWatcher : public ProgressWatcher {
 public:
  FragileWatcher() { set(this); }
  ~FragileWatcher() override { set(nullptr); }
  void stepped(const Progress*) override
  {
    m_stopped = trap.strikes(FaultKind::step) || m_stopped;
    if (m_stopped && trap.kind == FaultKind::step)
      throw Interrupt("FaultSweep", "stepped", "stopped");
  }

 private:
  bool m_stopped = false;
};

struct SweepSystem : FragileType, FragileRecorder, FragileWatcher, TestSystem {
  static const char* rules();

  // Objects are kept for a redo only while nobody observes or watches.
  explicit SweepSystem(bool isObserved = true);
  ~SweepSystem() override { SchedulerObject::setCatchExceptions(false); }

  // Those that compute.
  static std::vector<KSLObject*> nodes();
  // Calculates every one of them.
  void calculateAgain();
};

// All that is there when nothing is being done. A step back or forward may change the order of siblings.
struct SweepState {
  std::string texts;    // store and database, which must agree
  std::string objects;  // with what was calculated
  std::string graph;    // schedulers, what waits, dependents
  std::string history;  // the stacks, rendered

  static SweepState now();
};

// Links, dependents, what is pending and what was calculated, worked out anew from the texts.
void expectRightGraph(const std::string& when);

// A folder for plug-ins whose only one, which the objects need, is missing when the trap for loading strikes.
class SweepPlugins {
 public:
  SweepPlugins();
  ~SweepPlugins();
  SweepPlugins(const SweepPlugins&) = delete;
  SweepPlugins& operator=(const SweepPlugins&) = delete;
};

}  // namespace orv
