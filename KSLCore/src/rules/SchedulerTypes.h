// What the RULES say about the schedulers of an object type.
#pragma once

#include "platform/ORVUtilities.h"
#include "database/ParamDefinition.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// Shared by a prototype and the objects made from it; never changed once it is shared. Who fills it adds types and links in
// any order; settle() then puts them in the order in which objects have them, all at once: a type may have thousands.
class SchedulerTypes : public rcount_base {
 public:
  struct Function {
    std::string library;  // complete file name
    std::string name;     // empty: none
  };
  struct Entry {
    SharedText type;
    Function function;
  };
  // Between two entries; a place is npos for a type that is none of them.
  struct Link {
    std::size_t from;
    std::size_t to;
  };
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  bool contains(std::string_view type) const { return findFunction(type) != nullptr; }
  // REQUIRES: the type is not there.
  void insert(const std::string& type);
  // Null when there is no such type.
  Function* findFunction(std::string_view type);
  const Function* findFunction(std::string_view type) const
  {
    return const_cast<SchedulerTypes*>(this)->findFunction(type);
  }
  // False when it is there.
  bool addLink(const std::string& from, const std::string& to);
  // By their first type, then in order of addition.
  template <class Visit>
  void forEachLink(Visit visit) const
  {
    for (const auto& [from, targets] : m_links)
      for (const std::string& to : targets.inOrder)
        visit(from, to);
  }

  // Changes nothing when it fails.
  void settle();

  // What a parameter's rules mean here.
  struct ParamUse {
    // How its text may name something: not; as a number, an expression, or a list of objects.
    enum class Kind : std::uint8_t { plain, number, expression, reference };
    std::size_t scheduler;  // that of its Local Type; npos without
    Kind kind;
  };
  static ParamUse::Kind kindOf(const ParamDefinition::Rules& rules) noexcept;

  // -- once it is settled

  const std::vector<Entry>& entries() const { return m_entries; }  // sorted by type
  std::size_t find(std::string_view type) const noexcept;          // npos when absent
  ParamUse useOf(const ParamDefinition::Rules& rules) const noexcept;
  const std::vector<Link>& links() const { return m_linked; }  // as forEachLink visits them
  // Whether following the links leads nowhere twice, so that nobody has to look for a circle when an object makes them.
  bool isAcyclic() const { return m_acyclic; }

 private:
  struct Targets {
    std::vector<std::string> inOrder;
    std::set<std::string, std::less<>> known;
  };
  ParamUse lookUpUse(const ParamDefinition::Rules& rules) const noexcept;
  static bool findsNoCircle(const std::vector<Link>& links, std::size_t entries);

  std::vector<Entry> m_entries;
  std::map<std::string, Function, std::less<>> m_added;  // since it was settled
  std::map<std::string, Targets, std::less<>> m_links;
  std::vector<Link> m_linked;
  bool m_settled = true;
  bool m_acyclic = true;

  // Texts set the parameters of one object after another in one order: each use leads to the one that was asked for next.
  struct KnownUse {
    refcnt_ptr<const ParamDefinition::Rules> rules;
    ParamUse use;
    mutable std::uint32_t follower;
  };
  mutable std::vector<KnownUse> m_uses;
  mutable std::size_t m_lastUse = 0;
};

}  // namespace orv
