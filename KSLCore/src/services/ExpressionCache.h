// The expressions of one object: what they say, who uses whom, and their values.
#pragma once

#include "platform/ORVExpressions.h"
#include "rules/SchedulerObject.h"
#include "services/ExpressionsKSLObject.h"

#include <exception>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

// INVARIANTS, between calls:
//  1. `uses` and `users` mirror each other.
//  2. An entry that is valid uses no entry whose value it was computed with and that has changed since.
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

    // Kept by NameValues.
    ExpressionValue value;
    std::exception_ptr error;  // in place of a value
    bool valid = false;
    Entry* next = nullptr;  // in the list of those to be invalidated
    bool stays = false;     // used by both texts of a change
  };
  // Replaces one expression, and puts the former one back unless it is kept.
  class Change;

  explicit ExpressionCache(KSLObject* owner) : m_owner(owner) {}

  Entry* find(std::string_view name) const;
  // Null for a name that has no expression.
  Entry* findDefined(std::string_view name) const;
  std::vector<std::string> usersOf(std::string_view name) const;
  void clear();
  // REQUIRES: the name has no expression.
  void dropScheduler(const std::string& name) noexcept;
  ExpressionsKSLObject::Counts& counts() { return m_counts; }

  template <class Visit>
  void forEach(Visit visit) const
  {
    for (const auto& [name, entry] : m_entries)
      visit(*entry);
  }

 private:
  Entry& use(const std::string& name);
  void drop(Entry& entry) noexcept;
  static void invalidate(Entry& start) noexcept;

  KSLObject* m_owner;
  std::map<std::string, std::unique_ptr<Entry>, std::less<>> m_entries;
  ExpressionsKSLObject::Counts m_counts;
};

class ExpressionCache::Change {
 public:
  // The text is parsed, or empty: then there is no such expression any more.
  Change(ExpressionCache& cache, const std::string& name, ExpressionDef expression);
  ~Change();
  Change(const Change&) = delete;
  Change& operator=(const Change&) = delete;

  void keep() noexcept { m_kept = true; }

 private:
  void prepare();
  void exchange() noexcept;
  void end() noexcept;

  ExpressionCache& m_cache;
  Entry& m_entry;
  ExpressionDef m_expression;  // the former one, once they are exchanged
  std::vector<Entry*> m_uses;  // likewise
  bool m_newScheduler = false;
  bool m_kept = false;
};

}  // namespace orv
