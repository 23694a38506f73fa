// Checks changes against RULES before they are applied. What was found out for one object holds for the next ones of its
// type, whose parameters mostly come in the same order, also in later lists, until RULES change.
#pragma once

#include "platform/ORVKSLAPI.h"
#include "platform/internal/PathText.h"
#include "platform/internal/ValueJudges.h"
#include "StoreRules.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv {
class ChangeGroup;
}

namespace orv::store {

class Validation {
 public:
  // The validator may be null.
  Validation(const Rules& rules, const KSLValidator* validator)
      : m_rules(rules),
        m_validator(validator),
        m_judges(dynamic_cast<const ValueJudges*>(validator)),
        m_asOf(rules.changes())
  {}
  // Whether what was found out still holds.
  bool holds() const { return m_rules.changes() == m_asOf; }

  // Throws what KSLAPI::validateKSLData does, of the first change that is refused.
  void check(const KSLChangeList& changes);

 private:
  using Judge = ValueJudges::Judge;
  struct Param {
    SharedText name;
    std::unique_ptr<Judge> judge;  // null: takes any value
  };
  struct Type {
    std::vector<Param> params;  // that it lists, as they came first
    std::vector<std::string> parents;
  };
  using Types = std::map<std::string, Type, std::less<>>;

  void check(const ChangeGroup& group);
  void enter(const SharedText& path);
  bool isLike(const SharedText& path) const;
  void checkPlace();
  void judge(Judge& judge, const SharedText& name, const SharedText& value) const;
  // Null when any value will do.
  Judge* judgeOf(const SharedText& name)
  {
    const std::vector<Param>& params = m_type->second.params;
    if (m_next < params.size() && params[m_next].name.same(name))
      return params[m_next++].judge.get();
    return findJudge(name);
  }
  Judge* findJudge(const SharedText& name);
  Judge* learn(const SharedText& name);
  std::unique_ptr<Judge> makeJudge(const std::string& param) const;

  const Rules& m_rules;
  const KSLValidator* m_validator;
  const ValueJudges* m_judges;  // the same one, when it is both
  const std::size_t m_asOf;     // changes of the rules
  Types m_types;
  Types::value_type* m_type = nullptr;  // of the object under way
  std::unique_ptr<Judge> m_unkept;      // of a parameter beyond those that are kept
  SharedText m_path;
  PathText m_text;  // of it, when it is long
  std::size_t m_prefix =
      0;  // length of what the paths of those beside it that are of its type begin with; 0 for none
  bool m_mayStand = false;  // where it does, as they do
  std::size_t m_next = 0;   // of its parameters
};

}  // namespace orv::store
