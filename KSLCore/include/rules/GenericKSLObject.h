// Objects that compute.
#pragma once

#include "platform/ORVUtilities.h"
#include "database/DataKSLObject.h"
#include "rules/NameLinks.h"
#include "rules/ObjectData.h"
#include "rules/SchedulerObject.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orv {

class LinkTransaction;
class NameLink;
class SchedulerTypes;

// Adds to the parameters schedulers, at most one calculate function for each of them, and links among them:
// what the RULES of a type say, shared by all its objects. An object has one SchedulerObject per scheduler
// type from its initialisation on.
//
// References. A parameter whose rules have a Remote Type refers to the objects that its list items name: data
// flows from their schedulers of the Remote Type into this object's scheduler of the Local Type. (Without a
// Local Type, or when this object lacks that scheduler, there is nothing to link; the parameter is still
// rewritten when what it names is deleted.) An item that starts with "/" is a path. Any other is sought in the
// object at the Remote Path (seen from this object; from the root with a leading "/") when there is one, then
// seen from this object, then at the top level; the first of these places with a candidate decides, an object that has
// a scheduler of the Remote Type. Items that are empty, and keywords (allowed values of the parameter), refer to
// nothing. All this is judged by a LinkTransaction, when all changes of a command are made. A text that equals the
// parameter's default waits for the one candidate that is not this object, for as long as it takes.
//
// Expressions. A parameter of the type "Expression", and an external one of the types "Real", "Real Triplet", "Real
// List", "Integer", "Integer List" and "Quantity" that has no Remote Type, refers to what its text uses; see
// ExpressionNames. Where it uses another parameter of the same object, setting that one marks both.
//
// Setting a parameter marks the scheduler of its Local Type, and what is downstream, as pending. What
// calculations set is recomputed rather than undone: keep such parameters internal.
//
// Failures are of class "GenericKSLObject" and type 4 unless stated otherwise; a failed call changes nothing.
class ORV_API GenericKSLObject : public DataKSLObject, public SchedulerOwner {
 public:
  GenericKSLObject();
  // Ends the links of this object's parameters. Failures are reported, not thrown: internal::error, function
  // "~GenericKSLObject", "Operation '%s' failed (system exception: %s)." or "Operation '%s' failed.
  // Insufficient memory.".
  ~GenericKSLObject() override;

  // Registers a fresh object as base type "GenericKSLObject". For the host, before the RULES are processed.
  static void registerBaseType();

  // For people, the same in every run: a heading, then a line for each scheduler with its state and, sorted by
  // path, its parents and children as "path (type) xcount".
  std::string getSchedulerInfo() const override;
  // The other objects that this one depends on directly, in path order.
  std::vector<KSLObject*> getSchedulerParentObjects() const override;

  // Runs the calculate function of the scheduler type on this object: a fresh instance from SharedLibrary;
  // nothing for a type without one. data::notFound, "Calculate function '%s' in library '%s' for object type
  // '%s' was not found."; what the loader says of it is reported before, with type 8. What the function throws
  // passes on. The function may delete this object.
  void calculate(const std::string& schedulerType) override;
  // Makes the links that wait, then updates every scheduler in the order of their types. Throws as
  // createDelayedParamLinks and SchedulerObject::update.
  void update() override;
  // data::notFound, "Scheduler type '%s' for object type '%s' not found."; also before the initialisation.
  SchedulerObject* getSchedulerObject(const std::string& schedulerType) const override;
  // Null instead of the exception.
  SchedulerObject* findSchedulerObject(std::string_view schedulerType) const noexcept;
  // All of them, in the order of their types; none before the initialisation.
  const std::vector<SchedulerObject>& getSchedulers() const noexcept { return m_schedulers; }

  KSLObject* clone() const override;
  // Makes the schedulers, joins them along the scheduler links and marks them all as pending; default values
  // that name objects are linked at the first update. data::invalid, function "initialize", "Scheduler object
  // of type '%s' in object '%s' is not null." for the second time; what setPath throws; for links in a circle
  // what SchedulerObject::addChild throws.
  void initialize(const std::string& parentPath, const std::string& name) override;
  void initialize(const std::string& name) override;
  // Stores without marking anything. What the text refers to is linked at the next update.
  std::string setValueWithoutPending(const std::string& name, const std::string& value) override;
  void setPending() override;
  using DataKSLObject::copyInternals;
  void write(std::ostream& out) const override;
  bool hasScheduler(std::string_view schedulerType) const noexcept override;
  std::vector<const KSLObject*> namedObjects(const ParamDefinition& param) const override;

  // Makes the links that are due: what their names mean changed, or an edge was refused by a walk of the graph. Marks
  // the schedulers that get other links. O(1) when none is due. Faults wait, with a warning for a missing object.
  void createDelayedParamLinks() override;
  // Those whose links wait or are due, in name order.
  std::vector<std::string> getDelayedParams() const;

  // ---- What calculations keep

  // Keeps what a calculation of this scheduler made, in place of what was kept. It ends when the scheduler is calculated
  // again or its calculation fails, and with the object. Throws as getSchedulerObject.
  void keepData(const std::string& schedulerType, std::unique_ptr<ObjectData> data);
  // Null without any, and while the scheduler is out of date. Whoever depends on the scheduler may use it in its own
  // calculation.
  const ObjectData* getData(std::string_view schedulerType) const noexcept;

  // What a calculation of this scheduler makes hangs on this, for the ResultMemory: the function; the values of the
  // parameters with this Local Type, of those that name none, and of those of schedulers that come before it in this
  // object, expressions by what they give now; and what those schedulers keep, and those of the objects that these
  // parameters name keep for them. Of what keeps nothing, its path and the values of all its parameters count. Not in it are
  // the object's own name and path, files, units that are preferred, and whatever else a function asks: it adds these. Throws as
  // getSchedulerObject. O(values).
  ResultKey resultKey(const std::string& schedulerType) const;
  // The same without what other objects and schedulers keep, and without the names of references that have to name an
  // object: for who asks for results of these at other times, and adds their keys.
  ResultKey ownResultKey(const std::string& schedulerType) const;

  // ---- What its parameters name; for those who link

  // Parameters define names, which others use: their faults are those of the users.
  virtual bool definesNames() const noexcept { return false; }
  // The names that it defines now.
  virtual void forEachDefinedName(const std::function<void(const std::string&)>&) const {}
  // Shows its errors, and so may name what is not there.
  virtual bool waitsWithoutError() const noexcept { return false; }
  // Whether names in a parameter's text stand for values.
  virtual bool holdsExpression(const ParamDefinition& param) const;
  // The scheduler that a parameter's links lead into; null without.
  virtual SchedulerObject* linkedScheduler(const ParamDefinition::Rules& rules) const noexcept;
  // That scheduler is out of date.
  virtual void markUsers(const ParamDefinition::Rules& rules) noexcept;
  const NameLinks& nameLinks() const noexcept { return m_links; }
  NameLink* findNameLink(std::string_view param) const noexcept { return m_links.find(param); }
  // One more, or less, of them is due.
  void countDue(int change) noexcept { m_dueLinks += static_cast<std::uint32_t>(change); }
  // Expressions that name nothing have no link. Makes that of those that have the part in their text.
  void linkPlainTexts(std::string_view part) noexcept;
  // An expression of a parameter uses others of this object: the category, if there is one.
  void markLocalVariable() noexcept;

 protected:
  // Stores, links and marks; all or nothing. Throws what DataKSLObject::setValueInternal throws. Without a
  // LinkTransaction, which judges when all is set, throws with function "makeParentLinks":
  //   data::notFound "Object '%s' referred to in '%s' does not exist." (item, parameter; from a transaction only)
  //   data::notFound "More than one object with name '%s' exists.", with notes
  //   data::invalid  "Cannot connect parameter %s to object %s(it does not have Scheduler type %s)." (the
  //                  object's path; a blank is missing in the text, which is compared as it stands)
  //   ksl::cyclicRef as SchedulerObject::addChild throws it
  //   data::notFound "Expression '%s' depends on a variable '%s' which does not exist.", the same with
  //                  "location" and "function", with function "makeVariableLinks" or "makeLocatorLinks"
  //   data::invalid  "Expression '%s' tries to use object '%s' as a variable.", function "makeVariableLinks"
  // O(text · log of the targets' links), and what is downstream the first time it is marked.
  std::string setValueInternal(ParamDefinition* param, const std::string& value) override;
  // Links what the text names; what cannot be linked now waits.
  void valueRestored(const ParamDefinition& param) noexcept override;
  // Whether a text may ask for links, or the one before has.
  virtual bool mayLink(const ParamDefinition& param, const std::string& text) const;
  // A parameter that was not there has its text: it is linked now, or by the transaction that is open; with
  // `aside` by the next one, as what setValueWithoutPending sets.
  void linkAdded(const ParamDefinition& param, bool aside);

  // data::duplicate, function "addSchedulerObject", "Duplicate data: Scheduler type '%s' already exists.".
  void addScheduler(const std::string& schedulerType) override;
  // data::duplicate, "Duplicate scheduler link between '%s:%s' and '%s:%s'." (object type and scheduler type
  // of either end).
  void addSchedulerLink(const std::string& from, const std::string& to) override;
  // data::notFound, "Scheduler type '%s' for object type '%s' not found."; data::duplicate, "Duplicate data:
  // Scheduler type '%s' for object type '%s' already exists.".
  void addFunction(const std::string& schedulerType, const std::string& library,
                   const std::string& function) override;

  // What KSLObject::copyInternals hands on, and a share of the scheduler types, links and functions. Derived
  // classes call it in their clone().
  virtual void copyInternals(GenericKSLObject* target) const;

  // A line of getSchedulerInfo().
  static std::string schedulerInfo(const SchedulerObject& scheduler);

 private:
  friend class LinkTransaction;
  class ActiveUpdate;

  void checkNotInitialized() const;
  void makeSchedulers();
  void joinSchedulers();
  void linkDefaults();
  SchedulerTypes& writableTypes();
  void setLocalPending(const ParamDefinition& param, LinkTransaction* transaction);
  // `plain`: to a text that needs no link.
  void noteSet(const ParamDefinition& param, LinkTransaction* transaction, bool plain = false);
  SchedulerObject* localScheduler(const ParamDefinition::Rules& rules) const noexcept;
  void wakeLocalUsers(const std::string& used, LinkTransaction* transaction);
  bool needsNoLink(const ParamDefinition& param, const std::string& text) const;
  NameLink& nameLink(const ParamDefinition& param);
  void dropData(std::size_t scheduler) noexcept;

  refcnt_ptr<SchedulerTypes> m_types;  // null without any; shared with the prototype
  std::vector<SchedulerObject>
      m_schedulers;  // as m_types lists them; none before initialisation; never moved
  NameLinks m_links;
  std::uint32_t m_dueLinks : 31;
  std::uint32_t m_hasPlainTexts : 1;  // expressions that were set and have no link
  std::uint32_t m_markPlace = 0;      // one more than where a LinkTransaction lists this object
  using KeptData = std::vector<std::unique_ptr<ObjectData>>;
  std::unique_ptr<KeptData> m_data;  // one for each scheduler; null when nothing was ever kept
};

}  // namespace orv
