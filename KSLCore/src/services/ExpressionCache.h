// The expressions of one object: what they say, who uses whom, and their values.
#pragma once

#include "platform/ORVExpressions.h"
#include "rules/SchedulerObject.h"
#include "services/ExpressionsKSLObject.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

// INVARIANTS, between calls:
//  1. `uses` and `users` mirror each other.
//  2. Where one entry uses another and both have schedulers, these are linked once; except for what a walk of the
//     graph refused, which `joinMissing` makes up for.
//  3. An entry that is valid uses no entry whose value it was computed with and that has changed since.
class ExpressionCache {
 public:
  struct Entry;
  struct ByName {
    bool operator()(const Entry* a, const Entry* b) const { return a->name < b->name; }
  };
  struct Entry {
    std::string name;
    ExpressionDef expression;  // parsed, if there is one
    bool defined = false;      // else it is only used
    std::vector<Entry*> uses;  // in the order of the expression's names
    std::set<Entry*, ByName> users;
    std::unique_ptr<SchedulerObject> scheduler;  // from the first definition on

    ExpressionValue value;
    std::exception_ptr error;  // in place of a value
    bool valid = false;
    bool computing = false;
    std::uint64_t computedIn = 0;  // the evaluation that computed it last; 0: something changed since
    bool outside = false;          // uses, directly or not, what is no expression here
    Entry* next = nullptr;         // in the list of those to be invalidated
  };
  // Gives what is no expression a value, if there is anything of that name.
  using Outside = std::function<std::optional<ExpressionValue>(
      const std::string& name, const ExpressionDef& expression, const std::string& parameter)>;
  // Replaces one expression: what may fail is done when constructed, and taken back unless committed.
  class Change;

  ExpressionCache(KSLObject* owner, Outside outside) : m_owner(owner), m_outside(std::move(outside)) {}

  Entry* find(std::string_view name);
  const Entry* find(std::string_view name) const;
  // REQUIRES: the entry is defined.
  const ExpressionValue& valueOf(Entry& entry);
  std::vector<std::string> usersOf(std::string_view name) const;
  void clear();
  const ExpressionsKSLObject::Counts& counts() const { return m_counts; }

  // Links that a walk of the graph refused. Tells, as below, of each scheduler that is out of date with it.
  using Mark = std::function<void(SchedulerObject& user)>;
  void joinMissing(const Mark& mark);
  // Links what is used, but no expression here, to the scheduler that the function knows for its name (or null).
  // False when some link was refused by a walk of the graph.
  bool joinOutside(const std::function<SchedulerObject*(const std::string& name)>& schedulerOf,
                   const Mark& mark);
  // Changes whenever an expression does.
  std::uint64_t version() const { return m_version; }

  template <class Visit>
  void forEachScheduler(Visit visit) const
  {
    for (const auto& [name, entry] : m_entries)
      if (entry->scheduler)
        visit(*entry->scheduler);
  }

 private:
  Entry& use(const std::string& name);
  void drop(Entry& entry) noexcept;
  static void invalidate(Entry& start) noexcept;
  void partOutside(const Entry& user) noexcept;
  bool isReady(const Entry& entry) const { return entry.valid || entry.computedIn == m_evaluation; }
  void bringUpToDate(Entry& entry);
  void compute(Entry& entry);
  ExpressionValue computed(Entry& entry);

  KSLObject* m_owner;
  Outside m_outside;
  std::map<std::string, std::unique_ptr<Entry>, std::less<>> m_entries;
  std::set<Entry*, ByName> m_missing;
  std::vector<std::pair<std::string, std::string>> m_unjoined;  // user, used
  ExpressionsKSLObject::Counts m_counts;
  std::uint64_t m_evaluation = 0;
  std::uint64_t m_version = 0;
  int m_depth = 0;  // of evaluations: an object outside may ask back
};

class ExpressionCache::Change {
 public:
  // The text is parsed, or empty: then there is no such expression any more. Throws what
  // SchedulerObject::addChild throws.
  Change(ExpressionCache& cache, const std::string& name, ExpressionDef expression);
  ~Change();
  Change(const Change&) = delete;
  Change& operator=(const Change&) = delete;

  void commit() noexcept;

 private:
  void prepare();
  void join(Entry& used, Entry& user);
  void takeBack() noexcept;

  ExpressionCache& m_cache;
  Entry& m_entry;
  ExpressionDef m_expression;
  std::vector<Entry*> m_uses;
  std::vector<Entry*> m_sortedUses;                 // the new ones
  std::vector<Entry*> m_added;                      // that learned of a new user
  std::vector<std::pair<Entry*, Entry*>> m_joined;  // used, user
  bool m_newScheduler = false;
  bool m_committed = false;
};

}  // namespace orv
