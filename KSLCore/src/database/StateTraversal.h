// Decides what belongs in the state of objects, and walks it.
#pragma once

#include "database/KSLObject.h"
#include "database/ObjectRules.h"
#include "database/ParamFilter.h"

#include <optional>

namespace orv {

// Which parameters of one object belong in its state text. The object's context is read once.
//
// A value of the context parameter that the rules do not know must not cost anybody's work: the object then
// counts as in every context as to what it may hold, and as in none as to what it must hold, so all that was
// set is written.
class ParamInclusion {
 public:
  ParamInclusion(const KSLObject& object, ParamFilter filter, bool strip);
  // Its kind is asked for, and an external one is listed by the rules in the object's context.
  bool isListed(const ParamDefinition& param) const;
  // Listed, essential or set, and not stripped.
  bool includes(const ParamDefinition& param) const;

 private:
  bool isEssential(const ParamDefinition& param) const;
  void findContext(const KSLObject& object);

  ParamFilter m_filter;
  bool m_strip;
  const ObjectRules* m_rules;                     // may be null
  std::optional<ObjectRules::Context> m_context;  // empty without rules
  bool m_contextUnknown = false;
};

// Walks an object and its subtree without recursion. The root is no more than the place of its children.
class StateTraversal {
 public:
  StateTraversal(ParamFilter filter, bool strip, KSLStateLogger& logger)
      : m_filter(filter),
        m_strip(strip),
        m_logger(logger)
  {}
  // Of the external parameters that were set, whatever the context: what makes one object of a type differ from the
  // others, and shows again when the context does.
  static StateTraversal ofSettings(KSLStateLogger& logger);
  void run(const KSLObject& top);

 private:
  struct Visit {
    const KSLObject* object;
    bool leaving;
  };
  void enter(const KSLObject& object);
  void tellParameters(const KSLObject& object) const;
  void pushChildren(const KSLObject& object);

  ParamFilter m_filter;
  bool m_strip;
  bool m_settingsOnly = false;
  KSLStateLogger& m_logger;
  std::vector<Visit> m_pending;  // the next one last
};

}  // namespace orv
