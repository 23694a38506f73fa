// Checks changes against RULES before they are applied. What was found out for one object holds for the next ones of its
// type, whose parameters mostly come in the same order: nobody changes RULES meanwhile.
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
  Validation(const Rules& rules, const KSLValidator* validator) : m_rules(rules), m_validator(validator) {}

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
  void checkPlace();
  void checkParam(const SharedText& name, const SharedText& value);
  Judge* judgeOf(const SharedText& name);
  Judge* learn(const SharedText& name);
  std::unique_ptr<Judge> makeJudge(const std::string& param) const;

  const Rules& m_rules;
  const KSLValidator* m_validator;
  Types m_types;
  Types::value_type* m_type = nullptr;  // of the object under way
  std::unique_ptr<Judge> m_unkept;      // of a parameter beyond those that are kept
  SharedText m_path;
  PathText m_text;         // of it, when it is long
  std::size_t m_next = 0;  // of its parameters
};

}  // namespace orv::store
