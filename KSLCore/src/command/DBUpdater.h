// How the changes of a text store reach the typed objects.
#pragma once

#include "platform/ORVUtilities.h"
#include "platform/internal/PathText.h"

#include <string>

namespace orv {

class DependentUpdates;
class KSLObject;
class LinkTransaction;
class ObjectDB;
class UndoneObjects;

namespace store {
class ParamRun;
}

// What a change processor may do to the objects.
class DBUpdater {
 public:
  virtual ~DBUpdater();
  // Whether createObject does anything.
  virtual bool createsObjects() const = 0;
  virtual bool hasObject(const SharedText& path) = 0;
  virtual void createObject(const SharedText& path) = 0;
  virtual void deleteObject(const SharedText& path) = 0;
  virtual void setParam(const SharedText& path, const std::string& name, const std::string& value) = 0;
  virtual void unsetParam(const SharedText& path, const std::string& name) = 0;
  // Null when it is not there. Good until changeCount() moves on.
  virtual KSLObject* find(const SharedText& path) = 0;
  // Whether an object with this path has a place to stand in.
  virtual bool hasParentOf(const SharedText& path) = 0;
  // Whether nobody could tell if parameters were unset just before their object goes.
  virtual bool goesUnseen(const SharedText&) { return false; }
  // The same as deleteObject, but the object is kept, which has just these parameters; and as createObject and setting them,
  // with the one kept. False, or null, when nothing was done: the object has to be deleted, or made.
  virtual bool takeOut(const SharedText&, const store::ParamRun&, UndoneObjects&) { return false; }
  virtual KSLObject* putBack(const SharedText&, const store::ParamRun&, UndoneObjects&) { return nullptr; }
  // Whether the object's update does anything.
  virtual bool computes(const KSLObject&) const { return true; }
  // Moves on whenever an object comes or goes.
  virtual std::size_t changeCount() const { return 0; }
};

// Applies everything. Objects that are missing are ignored, except by createObject.
class ObjectDBUpdater : public DBUpdater {
 public:
  // None is owned.
  ObjectDBUpdater(ObjectDB* database, DependentUpdates* dependents, LinkTransaction* links);
  bool createsObjects() const override { return true; }
  bool hasObject(const SharedText& path) override;
  void createObject(const SharedText& path) override;
  void deleteObject(const SharedText& path) override;
  void setParam(const SharedText& path, const std::string& name, const std::string& value) override;
  void unsetParam(const SharedText& path, const std::string& name) override;
  KSLObject* find(const SharedText& path) override;
  bool hasParentOf(const SharedText& path) override;
  bool goesUnseen(const SharedText& path) override;
  bool takeOut(const SharedText& path, const store::ParamRun& params, UndoneObjects& undone) override;
  KSLObject* putBack(const SharedText& path, const store::ParamRun& params, UndoneObjects& undone) override;
  bool computes(const KSLObject& object) const override;
  std::size_t changeCount() const override;

 private:
  const std::string& parentText(const SharedText& path);
  template <class Remove>
  void remove(KSLObject& object, Remove remove);

  ObjectDB* m_database;
  DependentUpdates* m_dependents;
  LinkTransaction* m_links;
  // Of the parent that an object is being made in.
  std::string m_shortText;
  PathText m_longText;
};

// Sets parameters of objects that exist, without marking anything for recomputation. Creates, deletes and
// unsets nothing: store and database part company here, on purpose; a later redo brings them together.
class ObjectDBUpdaterNoAction : public DBUpdater {
 public:
  explicit ObjectDBUpdaterNoAction(ObjectDB* database) : m_database(database) {}
  bool createsObjects() const override { return false; }
  bool hasObject(const SharedText& path) override;
  void createObject(const SharedText& path) override;
  void deleteObject(const SharedText& path) override;
  void setParam(const SharedText& path, const std::string& name, const std::string& value) override;
  void unsetParam(const SharedText& path, const std::string& name) override;
  KSLObject* find(const SharedText& path) override;
  bool hasParentOf(const SharedText& path) override;

 private:
  ObjectDB* m_database;
};

}  // namespace orv
