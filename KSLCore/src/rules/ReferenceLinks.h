// The links that an object's parameters have made.
#pragma once

#include "platform/ORVUtilities.h"
#include "database/ParamDefinition.h"
#include "rules/GenericKSLObject.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// What is done about a target that is not as it should be.
enum class GenericKSLObject::Judgement {
  atOnce,  // a missing one is waited for, any other fault is an error
  later,   // every fault is waited for
  final    // every fault is an error, except a missing one in a default value
};

// What a text refers to, each once, in the order of the text.
struct GenericKSLObject::Targets {
  struct Target {
    KSLObject* object;
    SharedText scheduler;  // of the object; empty: the one that the parameter's rules name
    bool marks;            // false: there is no scheduler to link to
    bool operator==(const Target& other) const
    {
      return object == other.object && scheduler == other.scheduler.str() && marks == other.marks;
    }
  };
  std::vector<Target> list;
  std::vector<std::string> locals;  // other parameters of the object that an expression uses
  Judgement judgement = Judgement::atOnce;
  bool mayMiss = false;  // a missing target is no error: the text is the default, or the target was deleted
  bool waits = false;    // something is missing, or was refused for now

  void dropDoubles();
  // Notes a fault: the parameter waits, or the error is thrown.
  template <class MakeError>
  void refuse(bool missing, MakeError makeError);
};

// Says which objects were linked when, not what the texts name now: a target may be gone, or another object may
// have taken its path, so a link is ended only when path and serial number still fit.
class ReferenceLinks {
 public:
  struct Link {
    std::string path;
    std::uint64_t serial;  // 0 for an object that has no schedulers
    SharedText scheduler;  // of the target; empty: the one that the parameter's rules name
    bool scheduled;        // the schedulers were linked

    bool operator==(const Link&) const = default;
  };
  // An expression in the parameter `user` uses the object's own parameter `used`.
  struct LocalUse {
    std::string used;
    std::string user;
  };
  struct OfParam {
    refcnt_ptr<const ParamDefinition::Rules> rules;
    std::vector<Link> links;
  };

  bool waits() const { return m_targetsGone || m_inDoubt || m_lost || !m_delayed.empty(); }
  // Nobody knows which parameters have the links that they ask for: all are to be asked.
  void setInDoubt(bool inDoubt) noexcept { m_inDoubt = inDoubt; }
  bool isInDoubt() const noexcept { return m_inDoubt; }

  const std::vector<std::string>& delayed() const { return m_delayed; }
  bool delay(const std::string& param);  // false when it was delayed already
  void settle(const std::string& param);

  // Null when the parameter has made none.
  OfParam* find(const std::string& param);
  // Whether the parameter has made any, or uses others of the object, or waits.
  bool knows(const std::string& param);
  // Room for a parameter's links, so that `replace` needs none.
  void prepare(const ParamDefinition& param);
  void replace(const ParamDefinition& param, std::vector<Link>& links) noexcept;

  const std::vector<OfParam>& params() const { return m_params; }
  std::vector<LocalUse>& localUses() { return m_localUses; }
  // `behind` the back of the changes: a calculation deleted a target. What names it then waits without an error
  // until it is set again, for no command could mend it.
  void noteTargetGone(bool behind)
  {
    m_targetsGone = true;
    m_goneBehind = m_goneBehind || behind;
  }
  // Forgiven is a text rather than a parameter: a command that failed puts the text back.
  bool isForgiven(const std::string& param, const std::string& text) const;
  void endForgiveness(const std::string& param, const std::string& text) noexcept;
  // Drops the links of an object whose targets are gone; their parameters wait.
  void dropGone(const GenericKSLObject& object);
  // Whether links were dropped since this was last ended.
  bool hasLost() const noexcept { return m_lost; }
  void endLoss() noexcept { m_lost = false; }

  // The object that a link leads to; null when it is gone or the database ends.
  static KSLObject* targetOf(const Link& link);
  static std::uint64_t serialOf(const KSLObject& object);
  // Of the schedulers that a parameter links from.
  static const std::string& remoteTypeOf(const ParamDefinition::Rules& rules);
  // Where a link begins. REQUIRES: the scheduler is there.
  static SchedulerObject* schedulerOf(KSLObject& target, const ParamDefinition::Rules& rules,
                                      const SharedText& type);
  // Ends a link of the object; nothing when its target is gone.
  static void end(GenericKSLObject& object, const ParamDefinition::Rules& rules, const Link& link,
                  bool dependentStays);

 private:
  std::vector<OfParam>::iterator at(std::string_view param);
  void forgive(const ParamDefinition& param);

  std::vector<OfParam> m_params;                                // sorted by name
  std::vector<std::string> m_delayed;                           // sorted
  std::vector<std::pair<std::string, std::string>> m_forgiven;  // parameter and text, a few
  std::vector<LocalUse> m_localUses;                            // a few
  bool m_targetsGone = false;
  bool m_goneBehind = false;
  bool m_lost = false;
  bool m_inDoubt = false;
};

// Replaces the links of one parameter: makes the new ones when constructed and ends the old ones when committed;
// without that the new ones are taken back.
class LinkChange {
 public:
  LinkChange(GenericKSLObject& object, const ParamDefinition& param, GenericKSLObject::Targets targets);
  ~LinkChange();
  LinkChange(const LinkChange&) = delete;
  LinkChange& operator=(const LinkChange&) = delete;

  void commit() noexcept;
  // Once committed: true when other links stand now than before.
  bool hasChanged() const { return m_changed; }

 private:
  using Link = ReferenceLinks::Link;
  bool isAsRecorded() const;
  void make();
  void makeLink(const GenericKSLObject::Targets::Target& target);
  bool linkSchedulers(SchedulerObject& parent);
  void noteLocals();
  void takeBack() noexcept;
  void markLocalVariable() noexcept;
  void end(const Link& link, bool dependentStays) noexcept;

  GenericKSLObject& m_object;
  const ParamDefinition& m_param;
  GenericKSLObject::Targets m_targets;
  SchedulerObject* m_child;                           // null when there is nothing to link
  const bool m_misses;                                // a target is not there, or not fit
  std::vector<Link> m_links;                          // the new ones
  std::vector<bool> m_newDependent;                   // for each: the target did not know of the parameter
  std::vector<ReferenceLinks::LocalUse> m_localUses;  // of the object; the present ones once committed
  bool m_newlyDelayed = false;
  bool m_idle = false;     // the right objects were linked already
  bool m_dropped = false;  // a scheduler was updating its children, and took no new one
  bool m_changed = false;
  bool m_committed = false;
};

}  // namespace orv
