// Objects that compute.
#pragma once

#include "platform/ORVUtilities.h"
#include "database/DataKSLObject.h"
#include "rules/SchedulerObject.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orv {

class LinkBatch;
class ReferenceLinks;
struct SchedulerTypes;

// Adds to the parameters schedulers, at most one calculate function for each of them, and links among them:
// what the RULES of a type say, shared by all its objects. An object has one SchedulerObject per scheduler
// type from its initialisation on.
//
// References. A parameter whose rules have a Remote Type refers to the objects that its list items name: data
// flows from their schedulers of the Remote Type into this object's scheduler of the Local Type. (Without a
// Local Type, or when this object lacks that scheduler, there is nothing to link; the parameter is still
// rewritten when what it names is deleted.) An item that starts with "/" is a path. Any other is sought in the
// object at the Remote Path (seen from this object; from the root with a leading "/") when there is one, then
// seen from this object, then at the top level; the first of these places with one hit decides, two hits in
// one place are an error. Items that are empty, and keywords (allowed values of the parameter) that name
// nothing, refer to nothing. A target that does not exist yet is linked later: at the end of the batch of
// changes, else at the next update; it is an error if it does not exist then, unless the whole text is the
// parameter's default, which waits for as long as it takes.
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

  // Makes the links of parameters that wait for them: their targets did not exist, or a link was refused by a
  // walk of the graph or by a batch. Marks the schedulers that get a link. O(1) when nothing waits. Throws as
  // a set does, and with function "makeParentLinks"
  //   data::notFound "Object '%s' referred to in '%s' does not exist." (item, parameter)
  // for a target that is still missing; that parameter and those after it keep waiting.
  void createDelayedParamLinks() override;
  // In name order.
  const std::vector<std::string>& getDelayedParams() const;

 protected:
  // Stores, links and marks; all or nothing. Throws what DataKSLObject::setValueInternal throws, and unless a
  // LinkBatch is open, which tries again at its end, with function "makeParentLinks":
  //   data::notFound "More than one object with name '%s' exists."
  //   data::invalid  "Cannot connect parameter %s to object %s(it does not have Scheduler type %s)." (the
  //                  object's path; a blank is missing in the text, which is compared as it stands)
  //   ksl::cyclicRef as SchedulerObject::addChild throws it
  //   data::notFound "Expression '%s' depends on a variable '%s' which does not exist.", the same with
  //                  "location" and "function", with function "makeVariableLinks" or "makeLocatorLinks"
  //   data::invalid  "Expression '%s' tries to use object '%s' as a variable.", function "makeVariableLinks"
  // O(text · log of the targets' links), and what is downstream the first time it is marked.
  std::string setValueInternal(ParamDefinition* param, const std::string& value) override;
  // Links what the text names; what cannot be linked now waits. A batch marks nothing for what was taken back.
  void valueRestored(const ParamDefinition& param) noexcept override;

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

  // To be called while a scheduler ends that is not among getSchedulers(): those that it leads to are told.
  void tellTargetGone(const SchedulerObject& scheduler) const noexcept;
  // To be called when names may stand for something else: the batch that is open has this object's links made
  // again, or those of all that the scheduler leads to, where they ask for others now.
  void askForLinks() noexcept;
  void askForLinksBelow(const SchedulerObject& scheduler) const noexcept;
  // A line of getSchedulerInfo().
  static std::string schedulerInfo(const SchedulerObject& scheduler);

 private:
  friend class LinkBatch;
  friend class LinkChange;
  friend class ReferenceLinks;
  class ActiveUpdate;
  enum class Judgement;
  struct Targets;

  void checkNotInitialized() const;
  void makeSchedulers();
  void joinSchedulers();
  void delayDefaults();
  void delayLinkable();
  SchedulerTypes& writableTypes();
  void setLocalPending(const ParamDefinition& param);
  bool isAnyPending() const noexcept;

  // Whether a text may ask for links, or the one before has.
  bool mayLink(const ParamDefinition& param, const std::string& text) const;
  void wakeLocalUsers(const std::string& used);
  // Finds what a text refers to.
  Targets makeParentLinks(const ParamDefinition& param, const std::string& text, Judgement judgement) const;
  void findReferences(const ParamDefinition& param, const std::string& text, Targets& targets) const;
  void addTarget(const ParamDefinition& param, KSLObject* target, Targets& targets,
                 const std::string& scheduler = {}, bool marks = true) const;
  void makeVariableLinks(const ParamDefinition& param, const std::string& text, Targets& targets) const;
  void makeLocatorLinks(const ParamDefinition& param, const std::string& text, Targets& targets) const;
  bool relink(const ParamDefinition& param);
  ReferenceLinks& links();
  void forgetLinks();
  void tellTargetGone() const noexcept;
  void noteTargetGone() noexcept;

  refcnt_ptr<SchedulerTypes> m_types;  // null without any; shared with the prototype
  std::vector<SchedulerObject>
      m_schedulers;                         // as m_types lists them; none before initialisation; never moved
  std::unique_ptr<ReferenceLinks> m_links;  // null without references
  std::uint64_t m_serial = 0;               // used once: tells an object from a later one at the same path
  std::uint32_t m_batchPlace = 0;           // one more than where a LinkBatch lists this object
};

}  // namespace orv
