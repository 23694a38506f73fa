// The link of one parameter's names: what its text names, and how far the graph follows that.
//
// The text decides. What a text names is a function of the texts in the database; it is found anew at the end of the
// update in which the text was set, or in which anything came or went that was asked for to find it (NameIndex). In
// between the link is *due*, and shows what was found before.
//
//   state     the names of the text                              which others see as
//   none      mean no objects                                    -
//   linked    all mean objects, and all edges stand              linked
//   missing   some mean nothing: waits for it to come            delayed
//   refused   are ambiguous, mean objects that do not fit, close delayed
//             a circle, or are linked to by a walk of the graph:
//             waits for a text or the objects to change
//   forgiven  some mean what a calculation deleted: waits, and   delayed
//             is no error, until the text is another
//
//   by                                what happens
//   GenericKSLObject::setValue…       due, and touched when a command does it (LinkTransaction::touch); at once when
//                                     a calculation does it
//   setValueWithoutPending            due and set aside: no later command is to blame for what it says
//   NameIndex::changed                due: something came or went under one of its names
//   NameLink::lose                    due: a target ends. Forgiven at once when no command is under way
//   LinkJudgement::finish             none, linked, missing or refused, as the text now says; missing stays forgiven
//                                     while the text is the forgiven one. Due again when an edge was refused
//   LinkJudgement::~LinkJudgement     without a finish nothing changes: what was due stays due
//
// A fault (missing or refused) is an error when a command touched the parameter, or another of its object, or broke a
// link that stood; see LinkTransaction. A default text is never at fault.
#pragma once

#include "platform/ORVUtilities.h"
#include "database/ParamDefinition.h"
#include "rules/NameIndex.h"
#include "rules/NameLinks.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class GenericKSLObject;
class KSLObject;
class SchedulerObject;

// What one name means.
struct NameTarget {
  KSLObject* object = nullptr;  // null for an item that means nothing
  SharedText scheduler;         // of the object; empty: the one that the parameter's rules name
  bool marks = true;            // false: there is no scheduler to link to
  bool scheduled = false;       // an edge leads from it
  bool isNew = false;           // it learned of the parameter by this link
  bool parted = false;          // the edge is taken away for as long as the transaction lasts
  SharedText gonePath;          // where the object was that has gone

  bool isSame(const NameTarget& other) const
  {
    return object == other.object && scheduler == other.scheduler && marks == other.marks;
  }
};

// What the names of a text mean, for the judgement under way.
struct NamedTargets {
  // Why the text cannot be linked as it stands.
  struct Fault {
    bool missing = false;    // else there is too much, or the wrong thing
    bool ambiguous = false;  // then with notes
    std::string function;
    std::string message;
    std::vector<std::string> notes;
    std::string name;  // that is at fault
    // Of a parameter of this object.
    [[noreturn]] void raise(const KSLObject& owner, const std::string& param) const;
  };

  // Of the link, as it was found. What is asked of all links comes first: there may be a million.
  NameLink* link = nullptr;
  std::vector<NameTarget> list;  // of references one for each item; of expressions one for each object
  bool isDefault = false;        // the text is the parameter's default
  bool mayNameNothing = false;   // so it, or the RULES, may wait without error
  bool usesDefinitions = false;  // some targets define the names
  bool stands = false;           // the link is so already
  bool owed = false;             // it had an edge refused before
  bool wasDue = false;
  bool isTouched = false;
  bool isDefinition = false;               // the owner defines names
  bool waitsInPeace = false;               // the owner waits without error
  const ParamDefinition* param = nullptr;  // whose text it is; null when the object has lost it
  std::shared_ptr<const Fault> fault;      // the first; few texts have one
  std::shared_ptr<const Fault> refusal;    // the first that is no missing object
  // Other parameters of the object that an expression uses; null without.
  std::unique_ptr<const std::vector<std::string>> locals;
  NameUses uses;  // the questions that the finding asked
};

class NameLink {
 public:
  enum class State : std::uint8_t { none, linked, missing, refused, forgiven };

  NameLink(GenericKSLObject& owner, refcnt_ptr<const ParamDefinition::Rules> rules);
  // Ends the link: objects that it names forget the parameter. Edges end with the schedulers.
  ~NameLink();
  NameLink(const NameLink&) = delete;
  NameLink& operator=(const NameLink&) = delete;

  GenericKSLObject& owner() const { return m_owner; }
  const ParamDefinition::Rules& rules() const { return *m_rules; }
  const std::string& name() const { return m_rules->name; }
  const ParamDefinition* param() const;  // null when the object has lost it
  const std::string& text() const;

  State state() const { return m_state; }
  bool waits() const { return m_state >= State::missing; }
  bool isDue() const { return m_dueIn != nullptr; }
  // Due, and not only to be asked again.
  bool isOwed() const
  {
    return isDue() && (m_lost || m_aside || m_owes || (!m_linkedOnce && !text().empty()));
  }
  const std::vector<NameTarget>& targets() const { return m_targets; }
  bool hasLocals() const { return m_locals != nullptr; }
  // Whether the expression uses the other parameter of its object.
  bool usesLocal(const std::string& param) const;
  // The text is the one that was linked.
  bool saysWhatItSaid() const { return !m_touched && !m_aside && m_linkedOnce; }

  // The object, or the names that it defines, ends. `byCommand`: an update is under way, which sees to the rest.
  void lose(const KSLObject& object, bool byCommand) noexcept;
  void setDue() noexcept;
  void setAside() noexcept;
  // What its names mean may have changed.
  void noteChange(bool byCommand) noexcept;

 private:
  friend class LinkJudgement;
  friend class LinkTransaction;
  friend class NameIndex;
  friend class NameLinks;
  friend class NameRewriter;

  SchedulerObject* childScheduler() const;
  SchedulerObject* parentScheduler(const NameTarget& target) const;
  bool isForgiven() const;
  void forgive() noexcept;

  GenericKSLObject& m_owner;
  const refcnt_ptr<const ParamDefinition::Rules> m_rules;
  std::vector<NameTarget> m_targets;
  std::unique_ptr<const std::vector<std::string>> m_locals;  // null without
  NameUses m_uses;
  std::unique_ptr<std::string> m_forgiven;  // the text; null without
  NamedTargets* m_next = nullptr;           // found by the judgement under way
  NameIndex* m_dueIn = nullptr;             // null when it is not due
  NameLink* m_previousDue = nullptr;
  NameLink* m_nextDue = nullptr;
  NameLink* m_sibling = nullptr;  // the next in the list of the object's links
  std::uint32_t m_number = 0;     // among those that are due
  State m_state = State::none;
  bool m_touched : 1 = false;
  bool m_lost : 1 = false;       // a target ended since it was judged
  bool m_aside : 1 = false;      // the text was set behind the commands
  bool m_blameless : 1 = false;  // so was it, or what it names changed so
  bool m_linkedOnce : 1 = false;
  bool m_owes : 1 = false;   // an edge that was refused, by a circle or a walk of the graph
  bool m_sound : 1 = false;  // of a definition: neither it nor what it uses, however far, is at fault
};

template <class Visit>
void NameLinks::forEach(Visit visit) const
{
  if (isTree())
    for (auto& [name, link] : *tree())
      visit(*link);
  else
    for (NameLink* link = first(); link; link = link->m_sibling)
      visit(*link);
}

}  // namespace orv
