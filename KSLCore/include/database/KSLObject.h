// The base of every object in the database.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "database/Category.h"
#include "database/Dependent.h"
#include "database/ObjectRules.h"
#include "database/ParamDefinition.h"
#include "database/ParamFilter.h"
#include "database/ParamSet.h"
#include "database/ParentChildInfo.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

class DependentUpdates;
class KSLStateLogger;
class ObjectChangeNotify;
class SchedulerObject;

// A node of the object tree: a type, a name and a path, typed parameters, categories, the objects that depend
// on it. Objects are cloned from the prototypes of the ObjectFactory and owned by the ObjectDB. There are
// millions of them: a parameter that was never written is shared with the prototype and costs nothing.
//
// Failures are of class "KSLObject" and type 4 unless stated otherwise; a failed call changes nothing.
class ORV_API KSLObject {
 public:
  class ParamNotify;
  using PathFunction = std::string (*)(const std::string& path);

  // ---- Virtual operations; their order is part of the contract with object classes in other libraries.

  // Parameters that are still there end with the object, and nobody is told.
  virtual ~KSLObject();
  KSLObject(const KSLObject&) = delete;
  KSLObject& operator=(const KSLObject&) = delete;

  // Children as ParentChildInfo orders them. Copies; tree walks use forEachChild.
  virtual std::vector<KSLObject*> getChildObjects() const;
  virtual std::vector<KSLObject*> getChildObjectsByName(const std::string& name) const;
  virtual std::vector<KSLObject*> getChildObjectsByType(const std::string& type) const;
  // data::notFound, "Object '%s' does not exist." with the whole text.
  virtual KSLObject* getChildObjectByNameAndType(const std::string& typeColonName) const;
  // In child order; none for a category that nobody registered.
  virtual std::vector<KSLObject*> getChildObjectsByCategory(const std::string& category) const;
  // The database's root when the object has no parent.
  virtual KSLObject* getParentObject() const;

  // The object that a path names, seen from here; never null. "" is the object itself. A component is "." or
  // "..", "TYPE:name", or a bare name, which must be unambiguous among the children. A path with a leading
  // "/" is looked up in the database, and else resolved from the root. With setSearchUpForRelativeObjects a
  // bare name that no child has is tried from each ancestor in turn, together with the rest of the path, the
  // nearest first. Throws data::notFound, function "getRelativeObjectInternal": "More than one object with
  // name '%s' exists." or "No object with name '%s' exists."; what getChildObjectByNameAndType throws; for an
  // absolute path that names nothing "Object '%s' does not exist.", with class and function deliberately
  // "GenericKSLObject" and "makeParentLinks".
  virtual KSLObject* getRelativeObject(const std::string& path) const;

  virtual std::string getSchedulerInfo() const = 0;
  virtual std::vector<KSLObject*> getSchedulerParentObjects() const;
  virtual void calculate(const std::string& schedulerType) = 0;
  virtual void update() = 0;
  virtual SchedulerObject* getSchedulerObject(const std::string& schedulerType) const = 0;

  // Notes, or forgets, that a parameter of another object refers to this one. Null throws
  // internal::nullPointer, "Input parameter %s is a null pointer.". O(log dependents).
  virtual void addDependent(KSLObject* object, const ParamDefinition* param);
  virtual void delDependent(KSLObject* object, const ParamDefinition* param);
  // Forgets them all, for this object and everything below it. Deletes no objects.
  virtual void deleteAllDependent();

  // A fresh object of the same class, type and parameters, without identity. The caller owns it.
  virtual KSLObject* clone() const = 0;
  virtual void initialize(const std::string& parentPath, const std::string& name) = 0;
  virtual void initialize(const std::string& name) = 0;
  // Sets a parameter; the result is the line that an undo step replays.
  virtual std::string setValue(const std::string& name, const std::string& value) = 0;
  // Sets a parameter without marking anything for recomputation; returns the previous text.
  virtual std::string setValueWithoutPending(const std::string& name, const std::string& value) = 0;
  // The same two, all or nothing for the parameter named: what an override has stored before it throws is taken
  // back. For those who apply changes.
  void setWhole(const std::string& name, const std::string& value);
  void setWhole(const std::string& name, const SharedText& value);
  void setWholeWithoutPending(const std::string& name, const std::string& value);
  // data::notFound, "Parameter '%s' does not exist on object %s.". The pointer is this object's alone, and
  // shows what is set, until the parameter is removed. For that a parameter that was never written gets a
  // definition of its own, which takes memory: who only reads uses lookUpParam or the reads of values.
  // O(log parameters), plus once O(parameters written).
  virtual const ParamDefinition* getParam(const std::string& name) const;
  virtual void setPending() = 0;
  // Hands on what a prototype gives to its copies: the parameters, the singleton flag, the categories, the
  // type and a share of the rules. REQUIRES: a fresh target of the same class. Into an empty target O(1 +
  // parameters with a definition of their own): of a prototype those are all that were added to it, and each is
  // compared, because who holds one may have written it since the last copy.
  virtual void copyInternals(KSLObject* target) const;
  virtual void write(std::ostream& out) const;  // debug dump
  virtual bool hasValidData() const;
  virtual bool getBoundingBox(TripletBase<float>& min, TripletBase<float>& max) const;

 private:
  virtual KSLObject* getRelativeObjectInternal(const std::string& path) const;

 public:
  // ---- Identity

  const std::string& getName() const { return m_name; }
  const std::string& getType() const { return m_type.str(); }
  // Of an object nested deeply it is put together when it is first asked for, and kept with the object: who goes through
  // whole trees takes getSharedPath(). O(length) and as much memory then.
  const std::string& getPath() const { return m_path.str(); }
  const SharedText& getSharedPath() const { return m_path; }
  bool hasPath() const { return !m_path.empty(); }  // the root has none
  bool isSingleton() const { return m_singleton; }
  bool nameIs(std::string_view name) const { return m_name == name; }
  bool typeIs(std::string_view type) const { return m_type == type; }
  bool pathIs(std::string_view path) const { return m_path == path; }
  bool isA(std::string_view typeOrCategory) const;  // the type, or any category of the object
  const Category& getCategory() const { return m_category; }
  // "TYPE:" for a singleton, else "TYPE:name".
  std::string getTypeNameString() const;
  // (type, name) of "TYPE:name", comment dropped, as StringUtilities::splitObjectTypeAndName. ksl::invalid,
  // "Invalid object definition, expected: '%s', received: '%s'", when there is no colon.
  static std::pair<std::string, std::string> splitObjectTypeAndName(const std::string& text);
  // As ObjectFactory::registerBaseType.
  static void registerBaseTypeWithFactory(const std::string& name, KSLObject* prototype);

  // Parent paths are put into today's form before they are used; for texts of old versions. Off at start.
  static void supportOldStylePaths();
  static void resetPathNormaliser();

  // ---- Parameters

  bool hasParam(std::string_view name) const { return lookUpParam(name) != nullptr; }
  // For reading at once: takes no memory, and the pointer holds until the parameter is next written, removed
  // or asked for with getParam. Null when absent.
  const ParamDefinition* lookUpParam(std::string_view name) const { return m_params.find(name); }
  // Back to the default (unless the allowed values forbid that) and no longer set; nothing for an unknown
  // name. An observer may be told twice.
  void unsetParam(const std::string& name);
  bool isParamChanged(const std::string& name) const;  // throws as getParam
  void clearChangedParameters();
  void clearChangedParameters(const std::vector<std::string>& names);  // unknown names are ignored
  std::vector<std::string> getParamNames(ParamFilter filter) const;    // in name order
  // Of these the ones that the object's rules list in its present context; all without rules.
  std::vector<std::string> getParamNamesInContext(ParamFilter filter) const;
  // Calls visit(const ParamDefinition&) for every parameter in name order; it must not write, add or remove.
  // The references are good for the visit only: who keeps a parameter takes it from getParam.
  template <class Visit>
  void forEachParam(Visit visit) const
  {
    m_params.forEach(visit);
  }

  // Name to value text of the external (internal) parameters. With UnitSystemTypes::preferred, numbers come
  // in the units of the object's "User Units" parameter, else in those preferred for the parameter; a value
  // that cannot be converted comes as stored. `difference` as in ParamDefinition::getValue.
  std::map<std::string, std::string> getParams(UnitSystemTypes::UnitsType units, bool difference) const;
  std::map<std::string, std::string> getInternalParams(UnitSystemTypes::UnitsType units,
                                                       bool difference) const;

  // Reads of a parameter; throw as getParam and as the reads of ParamDefinition, and take no memory. In
  // expressions, names may stand for other parameters of this object.
  const std::string& getValue(const std::string& name) const { return readParam(name).getValue(); }
  int getIntValue(const std::string& name) const;
  float getFloatValue(const std::string& name) const;
  float getFloatValue(const std::string& name, const std::string& units) const;
  Quantity getQuantityValue(const std::string& name) const;
  TripletBase<float> getTripletValue(const std::string& name) const;
  TripletBase<float> getTripletValue(const std::string& name, const std::string& units) const;
  bool getBoolValue(const std::string& name) const;
  std::vector<int> getIntArray(const std::string& name) const;
  std::vector<float> getFloatArray(const std::string& name) const;
  std::vector<float> getFloatArray(const std::string& name, const std::string& units) const;
  // In full precision; empty units: as written.
  std::vector<double> getRealArray(const std::string& name, const std::string& units) const;
  TripletBase<double> getPointValue(const std::string& name, const std::string& units) const;

  // ---- Observation

  // The one observer of this object's parameters, not owned; null takes it away (also twice). A second one
  // throws internal::error, "Attempt to register ObjectChangeNotify when one is already registered.".
  void registerObjectChangeNotify(ObjectChangeNotify* observer);
  bool isObserved() const { return m_paramNotify != nullptr; }

  // ---- State text

  // The object and its subtree as KSL text; each external parameter that the rules list and that is essential
  // or set. The root's text is that of its children. Linear in the text; no recursion.
  std::string getState(ParamFilter filter) const;
  void appendState(std::string& out, ParamFilter filter) const;  // the same, appended
  std::string getAppStrippedState() const;  // external ones, application content left out
  void traverseState(ParamFilter filter, bool strip, KSLStateLogger* logger) const;

  // Reports, for each parameter that refers to this object or to anything below it, its value without these
  // references; or its default, when it may not be empty. Parameters of objects below it, and expressions, are
  // left as they are.
  void addToDependentUpdates(DependentUpdates* updates) const;
  const DependentSet& getDependents() const;

  // ---- Rules, tree, flags

  void setObjectRules(refcnt_ptr<const ObjectRules> rules) { m_rules = std::move(rules); }
  const ObjectRules* getObjectRules() const { return m_rules.get(); }
  // Not owned; null is the place outside any tree.
  void setParentChildInfo(const ParentChildInfo* info);
  void forEachChild(const ChildVisitor& visit) const { m_place->forEachChild(visit); }
  bool isPendingDelete() const { return m_pendingDelete; }
  void setPendingDelete(bool pending) { m_pendingDelete = pending; }
  // Whether it has a scheduler of this type, and so can be meant where one is asked for.
  virtual bool hasScheduler(std::string_view schedulerType) const noexcept;
  // What each item of a parameter's text names; null for nothing. As linked, where the object links what its
  // parameters name.
  virtual std::vector<const KSLObject*> namedObjects(const ParamDefinition& param) const;
  void setValidData(bool valid) { m_validData = valid; }
  void setSearchUpForRelativeObjects(bool searchUp) { m_searchUp = searchUp; }
  bool searchesUpForRelativeObjects() const { return m_searchUp; }

 protected:
  KSLObject();

  void setType(const std::string& type, bool singleton);
  // Gives identity, once. data::invalid, in this order: "Attempt to set object path from parent '%s' and name
  // '%s' before type is known.", "Object '%s' already initialized.", "Input parameter p_name is empty.", and
  // with function "initialize" "'%s' is a singleton object, but name '%s' does not equal type.".
  void setPath(const std::string& parentPath, const std::string& name);

  // Takes ownership when it succeeds. data::duplicate, "Duplicate data: Parameter '%s' already exists."; null
  // throws internal::nullPointer, "Input parameter %s is a null pointer." with "p_param". O(log
  // parameters).
  void addParameter(ParamDefinition* param);
  // The same; the pointer keeps its parameter when the call fails.
  void addParameter(std::unique_ptr<ParamDefinition>&& param);
  // data::notFound, "%s '%s' does not exist." with "Parameter". O(parameters) for one that
  // the type has, else as adding.
  void removeParameter(const std::string& name);
  // All at once, each told to the observer as removed, in name order. The observer hears of all, whatever it
  // throws; the first of it passes on then. Linear, unlike single removals.
  void removeAllParameters();
  // All at once, told to nobody. Destructors of classes that fill objects call it.
  void freeParameters() noexcept;
  // A parameter that was set and had to be taken back behind setValue has its former text again. Nothing here;
  // a class that derives something from texts brings it in line.
  virtual void valueRestored(const ParamDefinition& param) noexcept;
  // Null when absent. The writable form gives the object a definition of its own: use it to write only.
  const ParamDefinition* findParam(std::string_view name) const { return m_params.find(name); }
  ParamDefinition* findParam(std::string_view name);
  // Of all parameters at least those whose text may name something, as forEachParam.
  template <class Visit>
  void forEachNamingParam(Visit visit) const
  {
    m_params.forEachNaming(visit);
  }
  // Of all parameters at least those that were ever set, as forEachParam.
  template <class Visit>
  void forEachOwnParam(Visit visit)
  {
    m_params.forEachOwn([&visit](const ParamDefinition& param) { visit(param); });
  }
  // The writable form for a value that is about to be stored: throws as ParamDefinition::requireAllowed.
  ParamDefinition* findParamToSet(std::string_view name, const std::string& value);

  // What is to be said of a parameter that this object does not have.
  Diagnostic unknownParam(const std::string& name) const;

  Category& category() { return m_category; }

  // Of an object whose class is known to be one of the library's own, with no override of setValue: a line that nobody
  // reads need not be made, and what fails has stored nothing.
  void setPlainClass() { m_plainClass = true; }
  bool isPlainClass() const { return m_plainClass; }
  // The same of one that stores what it is given, and nothing more.
  void setStoringClass() { m_plainClass = m_storingClass = true; }
  // Whether the result of the setValue that has just begun is read by nobody.
  bool takeLineUnread();
  // Who calls setValueInternal with a value of which requireAllowed was asked, and does not read what comes back, says so
  // before, in a plain class.
  void noteAllowed() { m_valueAllowed = true; }
  bool takeAllowed()
  {
    const bool allowed = m_valueAllowed;
    m_valueAllowed = false;
    return allowed;
  }

 private:
  friend class ObjectHolderImpl;
  friend class UndoneObjects;
  template <class Set>
  void allOrNothing(const std::string& name, Set set);
  friend class PrototypeEditor;

  static bool hasPathNormaliser() noexcept;
  template <class Read>
  auto readNaming(const std::string& name, Read read) const;
  const ParamDefinition& readParam(const std::string& name) const;
  void checkNewParameter(const ParamDefinition* param) const;
  void adopt(std::unique_ptr<ParamDefinition>& param);
  ParamDefinition::NotifyChange* paramObserver() const;
  ObjectChangeNotify* observer() const;

  Category m_category;
  std::unique_ptr<DependentSet> m_dependents;  // null without any
  std::string m_name;
  SharedText m_type;               // shared with the prototype
  SharedText m_path;               // with the text store
  mutable ParamSet m_params;       // what is asked for becomes the object's own; a copied prototype publishes
  const ParentChildInfo* m_place;  // never null, not owned
  std::unique_ptr<ParamNotify> m_paramNotify;  // knows the observer; null without one
  refcnt_ptr<const ObjectRules> m_rules;
  std::uint32_t m_siblingSlot = 0;  // where the parent's holder lists this object
  bool m_validData : 1;
  bool m_singleton : 1;
  bool m_pendingDelete : 1;
  bool m_searchUp : 1;
  bool m_plainClass : 1;
  bool m_storingClass : 1;
  bool m_valueAllowed : 1;
  bool m_lineUnread : 1;  // setWhole drops the line of the setValue that it is about to call
};

}  // namespace orv
