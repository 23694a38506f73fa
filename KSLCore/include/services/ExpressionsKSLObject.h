// Named expressions.
#pragma once

#include "platform/ORVExpressions.h"
#include "rules/GenericKSLObject.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv {

class ExpressionCache;
class VariableNames;

// The object of the type "EXPRESSIONS": every parameter is one named expression, and setting a name that is not
// there adds it. What stands in one may use the others, also names that are set later; docs/expressions.md says
// how names are looked up. RULES decide where the object stands: it is found by being there. With several of them the
// first counts.
//
// A text is parsed when it is set, and evaluated when somebody asks. Values are kept until the name, or one that
// it uses, is set. A value that depends on an object used as a variable is never kept.
//
// Each name has a SchedulerObject of its own, whose type is the name: below those of the names that it uses, and
// above those of the objects that use it. Setting a name marks that one. The empty text means that there is no
// such expression: objects that use it, however indirectly, are as much at fault as with a name that never was.
//
// Failures are of class "ExpressionsKSLObject" and type 4 unless stated otherwise; a failed call changes
// nothing.
class ORV_API ExpressionsKSLObject : public GenericKSLObject {
 public:
  ExpressionsKSLObject();
  ~ExpressionsKSLObject() override;

  // Registers a fresh object as base type "ExpressionsKSLObject". For the host, before the RULES are processed.
  // From then on, until the factory is destroyed, names in expressions have values, and objects are linked to what
  // their expressions use.
  static void registerBaseType();
  // The one whose names count; null when there is none. Not owned.
  static ExpressionsKSLObject* current() noexcept;

  // ---- The expressions

  bool hasExpression(const std::string& name) const;
  // Function "getExpressionText": data::notFound, "Expression '%s' does not exist.".
  const std::string& getExpressionText(const std::string& name) const;
  // The value; of a text that is one number, or one name, as that is written, else in base units.
  // data::notFound, function "evaluate", "Expression '%s' does not exist."; what ExpressionEvaluator throws, for
  // this expression or for one that it uses; ksl::cyclicRef, when an object that is used as a variable leads
  // back here. O(1) from the cache, else linear in the texts that are out of date.
  Quantity evaluate(const std::string& name) { return evaluateFully(name).getQuantity(); }
  ExpressionValue evaluateFully(const std::string& name);
  // The expressions that use a name, directly or through others, in name order. O(users).
  std::vector<std::string> getDependents(const std::string& name) const;
  using KSLObject::getDependents;

  // Forgets all values, and the counts.
  void clearCache();
  // How often a value was asked for, by a caller or by another expression, and was there; and how often one
  // was computed.
  struct Counts {
    std::size_t hits = 0;
    std::size_t misses = 0;
    bool operator==(const Counts& other) const { return hits == other.hits && misses == other.misses; }
  };
  Counts getCacheCounts() const;

  // ---- As an object

  std::string getSchedulerInfo() const override;
  // Updates the schedulers of the names that were set since the last update, or all after setPending.
  void update() override;
  SchedulerObject* getSchedulerObject(const std::string& schedulerType) const override;
  // The copy has no object rules, so that state texts list every expression.
  KSLObject* clone() const override;
  void initialize(const std::string& parentPath, const std::string& name) override;
  void initialize(const std::string& name) override;
  // data::invalid for a name that cannot be used in expressions, function "setValue", "'%s' is not a name that
  // expressions can use."; for the text what ExpressionEvaluator throws, an unknown function included; and
  // ksl::cyclicRef, class "SchedulerObject", function "addChild", with the object's path and the names:
  //   "Tried to make object %s (%s) reference itself."
  //   "Attempt to create a cyclic dependency between object %s (%s) and object %s (%s)."
  std::string setValue(const std::string& name, const std::string& value) override;
  std::string setValueWithoutPending(const std::string& name, const std::string& value) override;
  void setPending() override;

  bool definesNames() const noexcept override { return true; }
  void forEachDefinedName(const std::function<void(const std::string&)>& visit) const override;
  bool holdsExpression(const ParamDefinition&) const override { return true; }
  SchedulerObject* linkedScheduler(const ParamDefinition::Rules& rules) const noexcept override;
  void markUsers(const ParamDefinition::Rules& rules) noexcept override;

 protected:
  std::string setValueInternal(ParamDefinition* param, const std::string& value) override;
  bool mayLink(const ParamDefinition&, const std::string&) const override { return true; }
  void valueRestored(const ParamDefinition& param) noexcept override;

 private:
  friend class NameValues;

  void addExpression(const std::string& name, const std::string& value, bool aside);
  void tellOfMeaning(const std::string& name, bool wasDefined) const noexcept;
  std::vector<SchedulerObject*> takeWaiting();

  std::unique_ptr<ExpressionCache> m_cache;
  std::unique_ptr<VariableNames> m_names;  // of the prototype that is registered
  std::vector<SchedulerObject*> m_marked;  // since the last update
  bool m_allMarked = false;
  std::shared_ptr<bool> m_lives;  // false once this object ends, for those who call others
};

}  // namespace orv
