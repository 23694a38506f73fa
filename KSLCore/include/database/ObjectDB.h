// The database of all live objects.
#pragma once

#include "platform/ORVExport.h"
#include "database/KSLObject.h"
#include "database/ObjectHolder.h"
#include "database/ObjectWatch.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv {

class DBChangeNotify;
class PathIndex;
class RootKSLObject;

// Owns the tree of objects under one root and finds objects by path. Each context has one.
//
// Paths are simplified first; "" and "/" are the root. Pointers to objects hold until the object is deleted.
// Failures are of class "ObjectDB", function as the operation, type 4, unless stated otherwise; checks run
// before any change. Look-ups by path are O(length); lists "in path order" sort what they return.
class ORV_API ObjectDB {
 public:
  static ObjectDB* instance();  // made on first use
  // Null when there is none, and while it ends: for objects that end, which must not make a new one.
  static ObjectDB* current() noexcept;
  // Ends the database with all objects, telling no observer, and takes paths as they are again.
  static void destroyInstance();

  ObjectDB(const ObjectDB&) = delete;
  ObjectDB& operator=(const ObjectDB&) = delete;

  KSLObject* getRoot() const;
  std::size_t size() const;  // objects, the root not counted
  // Rises with every object that comes or goes: what was looked up is good as long as this has not moved.
  std::size_t changeCount() const { return m_changes; }
  // Paths of old versions are understood in look-ups. Off at start.
  static void supportOldStylePaths();

  // Takes the object into the tree below its parent path, owns it from then on and tells the observer, whose
  // failure undoes the addition. A refused object stays its caller's. In this order: internal::badParam "Null
  // pointer to KSLObject."; data::invalid "Invalid KSLObject. %s field is empty." with "Type", "name" or
  // "path"; data::duplicate "KSLObject '%s' (path '%s') already exists."; data::invalid "Parent of new object
  // ('%s')does not exist in the database."; data::invalid "Path '%s' is not normal." for a path that no
  // look-up could ever find.
  void addObject(KSLObject* object);
  // The same; the pointer keeps its object when the call fails. Returns the object.
  KSLObject* addObject(std::unique_ptr<KSLObject>&& object);

  // Deletes the object and its subtree, children before parents. The observer hears objectDeleteBegin of an
  // object before those of its children, and objectDeleteEnd after theirs; when the end is told, the path is
  // free. What it throws at a begin stops the deletion (what is deleted by then stays deleted), at an end it
  // is swallowed. It must not delete objects meanwhile. data::invalid "Input parameter p_path is empty.";
  // data::notFound "KSLObject '%s' does not exist."; internal::error "Attempt to delete object that has no
  // parent object ('%s')" for the root. O(subtree).
  void deleteObject(const std::string& path);
  void deleteObject(const SharedText& path);

  // A text with a leading "/" is a path, any other a name as for getObjectByName. data::invalid "Input
  // parameter path is empty.".
  bool hasObject(const std::string& pathOrName) const;
  KSLObject* getObjectByPath(const std::string& path) const;  // null when there is none
  // The same; quick for a text that the object shares, or whose hash is known.
  KSLObject* getObjectByPath(const SharedText& path) const;
  // Whether what would be the parent of an object with this path is there; quick for one sibling after the other.
  bool hasParentOf(const SharedText& path) const { return findParentHolder(path) != nullptr; }
  // Among the top-level objects only. Null when there is none; data::invalid "Object name %s is ambiguous.".
  KSLObject* getObjectByName(const std::string& name) const;

  // Children of the object at the path (of the root without one) in child order; none for an unknown path. An
  // empty type or category throws data::invalid "Input parameter %s is empty." with "p_type" or "p_cat".
  std::vector<KSLObject*> getObjectsByType(const std::string& path, const std::string& type) const;
  std::vector<KSLObject*> getObjectsByType(const std::string& type) const;
  std::vector<KSLObject*> getObjectsByCategory(const std::string& path, const std::string& category) const;
  std::vector<KSLObject*> getObjectsByCategory(const std::string& category) const;
  std::vector<std::string> getNamesByType(const std::string& path, const std::string& type) const;
  std::vector<std::string> getNamesByType(const std::string& type) const;
  std::vector<std::string> getNamesByCategory(const std::string& path, const std::string& category) const;
  std::vector<std::string> getNamesByCategory(const std::string& category) const;

  // Children that are marked for deletion; type "ALL OBJECTS" means every type.
  std::vector<std::string> getNamesPendingDeletion(const std::string& path, const std::string& type) const;
  std::vector<std::string> getNamesPendingDeletion(const std::string& type) const;
  std::vector<std::string> getPathsPendingDeletion(const std::string& path, const std::string& type) const;
  std::vector<std::string> getPathsPendingDeletion(const std::string& type) const;

  // The whole database without the root, in path order.
  std::vector<KSLObject*> getAllObjects() const;
  std::vector<KSLObject*> getAllObjectsByCategory(const std::string& category) const;
  std::vector<std::string> getAllObjectPaths() const;
  std::vector<std::string> getAllObjectPathsByCategory(const std::string& category) const;
  // Puts (path, value) of every object that has the parameter into `results`, in path order. Lists (values
  // with a ",") are left out, on purpose.
  void getObjectsWithParameter(const std::string& paramName,
                               std::vector<std::pair<std::string, std::string>>& results) const;

  // For people: of each object given by path or name a separator line, its state text (all parameters) and
  // its scheduler list; without any given, all paths, one a line. One that does not exist is reported as
  // data::notFound of type 8, "Object '%s' does not exist.", and skipped; an ambiguous name throws. Empty for
  // an empty database.
  std::string getState(const std::vector<std::string>& pathsOrNames) const;

  // The one observer, not owned. It hears of all additions and deletions, and of changes of the objects that
  // are added from then on: objects that were there before keep silent, so register before loading. Null
  // takes it away from the objects too. A second one throws internal::error "Attempt to register
  // DBChangeNotify when one is already registered.".
  void registerChangeNotify(DBChangeNotify* observer);
  DBChangeNotify* getChangeNotify() const { return m_changeNotify; }  // null without one

  // What follows all objects from within the library, beside that observer; null at start. Lives as long as the
  // database.
  void setWatch(std::unique_ptr<ObjectWatch> watch) { m_watch = std::move(watch); }
  ObjectWatch* getWatch() const noexcept { return m_watch.get(); }

 private:
  class DeleteGuard;
  friend class DeleteGuard;
  friend class UndoneObjects;

  ObjectDB();
  ~ObjectDB();

  std::string normalised(const std::string& path) const;
  ObjectHolder* findObjectHolder(const std::string& path) const;
  ObjectHolder* findObjectHolder(const SharedText& path) const;
  ObjectHolder* findParentHolder(const SharedText& path) const;
  bool isNormalPath(const SharedText& path) const;
  ObjectHolder* checkedParentOf(const KSLObject* object) const;
  void insert(ObjectHolder* parent, KSLObject* object);
  void doDeleteObject(ObjectHolder* top);
  ObjectHolder* holderOf(const KSLObject* child) const;  // throws when the index lacks it
  void unlist(ObjectHolder* holder);
  void removeLeaf(ObjectHolder* holder);
  void appendStateOf(const std::string& pathOrName, std::string& text) const;
  std::vector<std::string> pendingDeletion(const std::string& path, const std::string& type,
                                           const std::string& (KSLObject::*text)() const) const;

  std::unique_ptr<ObjectWatch> m_watch;      // outlives the objects
  std::unique_ptr<PathIndex> m_index;        // owns the holders, the root's excepted, and their objects
  DBChangeNotify* m_changeNotify = nullptr;  // not owned
  KSLObject::PathFunction m_pathNormaliseFun = nullptr;  // null is the identity
  std::size_t m_changes = 0;
  bool m_ending = false;
  std::unique_ptr<RootKSLObject> m_root;
  std::unique_ptr<ObjectHolder> m_rootHolder;
  mutable ObjectHolder* m_lastParent = nullptr;  // the one asked for last, while it is there
};

}  // namespace orv
