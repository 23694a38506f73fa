// Objects that an undo took out of the database, for the redo that puts them back.
//
// To make an object anew and set its parameters one by one is most of what a redo does, and what is made comes to lie
// wherever memory is free. So an undo takes objects out whole, and its redo puts them back as they are.
//
// Invariants:
//  1. What is kept is as a new object is that was given just the parameters noted with it: nothing else that it was told
//     is left in it. What comes from its type is given to it again when it is put back.
//  2. It is put back only for a group that shows the noted parameters (the same memory at the same moment, ParamRun),
//     under its path, while copies of its type's prototype still begin as it did. Else it is made anew, as ever.
//  3. Only the class DataKSLObject, exactly, which computes nothing and stores what it is given; and only where nobody
//     observes. No code of a host runs when such an object is made, set or deleted, so nobody can tell.
//  4. It is in no database and in no tree, and ends with the step of the history that would bring it back.
//  5. Redo asks in the order opposite to that of the undo. What does not come back stays, with what is beneath it.
#pragma once

#include "platform/ORVUtilities.h"
#include "platform/internal/ParamRun.h"

#include <utility>

namespace orv {

class KSLObject;
class ObjectDB;

class UndoneObjects {
 public:
  UndoneObjects() noexcept = default;
  UndoneObjects(UndoneObjects&& other) noexcept : m_top(std::exchange(other.m_top, nullptr)) {}
  UndoneObjects& operator=(UndoneObjects other) noexcept
  {
    std::swap(m_top, other.m_top);
    return *this;
  }
  ~UndoneObjects();

  bool empty() const noexcept { return !m_top; }

  // Whether it can be taken out, as an object with these parameters.
  static bool canTake(const ObjectDB& database, const KSLObject& object, const store::ParamRun& params);
  // REQUIRES: it can, and nobody refers to it. Throws std::bad_alloc, and has done nothing then.
  void take(ObjectDB& database, KSLObject& object, const store::ParamRun& params);
  // Puts the one back that was taken last, as the object with this path and these parameters. Null, and nothing done, when
  // it would not be the same as one made anew. REQUIRES: the database has none with this path. Throws std::bad_alloc, and
  // has done nothing then.
  KSLObject* putBack(ObjectDB& database, const SharedText& path, const store::ParamRun& params);

  // Puts those of a later undo on top.
  void append(UndoneObjects later) noexcept;

 private:
  struct Kept;
  void drop() noexcept;
  static bool isUnseen(const ObjectDB& database);
  static const KSLObject* prototypeOf(const KSLObject& object);

  Kept* m_top = nullptr;  // a stack
};

}  // namespace orv
