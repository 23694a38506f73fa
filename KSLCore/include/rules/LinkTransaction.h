// Makes what the names of parameters mean part of the graph, all together or not at all.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVKSLAPI.h"
#include "rules/Relocation.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orv {

class GenericKSLObject;
class KSLObject;
class NameIndex;
class NameLink;
class NameRewriter;
class ObjectDB;

// An update of many texts, from its first change to its end: who applies changes makes one before, and commits it when
// all are applied. Until then setting a parameter never fails for what its names mean: half-way through a list of
// changes an object may be missing, or there twice. Then
//   rewrites()  gives the texts that have to be said in full, because what came would give their names another meaning,
//               and those that follow a copied or renamed object; for the caller to apply, as changes like any other;
//   commit()    finds what all texts that are due mean, judges that, makes the edges of the graph, and marks the
//               schedulers of all that was set. When it throws, graph and marks are as they were before.
// Without a commit the graph stays as it was; what is due stays due, for the next transaction.
//
// A text that cannot be linked is an error of a command that set it, or another parameter of its object, or that broke
// the link; else, and in a replay (undo, redo, recovery), it waits, with one warning. Expressions that only others use
// are never at fault themselves: the objects at the end are.
class ORV_API LinkTransaction {
 public:
  enum class Kind { command, replay };
  // The relocation, of a copy or rename that this update is a part of, is not owned and may be null.
  explicit LinkTransaction(ObjectDB& database, Kind kind = Kind::command,
                           const Relocation* relocation = nullptr);
  ~LinkTransaction();
  LinkTransaction(const LinkTransaction&) = delete;
  LinkTransaction& operator=(const LinkTransaction&) = delete;

  // The innermost that is open; null without.
  static LinkTransaction* current() noexcept;

  // To be called before an object goes: true when this deletion is the second half of a rename, so that those who
  // refer to the object are to follow it.
  bool follow(const KSLObject& going);

  // For the database and the text store. Internal parameters are set at once: they belong to no text.
  KSLChangeList rewrites();

  // Before a rename: data::invalid, class "RenameExecutor", function "invoke", "Object '%s' cannot be renamed to '%s'
  // because expression '%s' of object '%s' cannot use that name.", when an expression in use needs the object and could
  // not write its new name, or would mean something else by it.
  static void requireNameFor(const Relocation& move);

  // Returns the paths of objects that got other links although no change names them. Throws as
  // GenericKSLObject::setValueInternal.
  std::set<SharedText> commit();

 private:
  friend class GenericKSLObject;
  struct Mark {
    GenericKSLObject* object;  // null when it has ended
    std::uint64_t schedulers;  // a bit each
  };

  void touch(NameLink& link) noexcept;
  void markLater(GenericKSLObject& object, std::size_t scheduler);
  void forget(const GenericKSLObject& object) noexcept;
  void markAll() noexcept;
  void close() noexcept;

  NameIndex& m_index;
  NameRewriter& rewriter();

  const Kind m_kind;
  const Relocation* const m_relocation;
  std::unique_ptr<NameRewriter> m_rewriter;  // made when there is something to rewrite
  LinkTransaction* m_outer = nullptr;
  std::vector<Mark> m_marks;
  bool m_open = true;
};

}  // namespace orv
