// Lets many changes settle before the links that they ask for are judged.
#pragma once

#include "platform/ORVExport.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace orv {

class GenericKSLObject;

// While a batch is open, setting a reference never fails for what its target is: half-way through a list of
// changes a target may be missing or ambiguous, a circle may be about to be broken, an object may be deleted
// and made again. Such links wait, and are made, or refused, by finish(). Schedulers are marked there too, so
// that changes along a chain do not mark its end again and again. For the one who applies changes;
// calculations run after finish(), so what they set is judged at once. Batches nest: the innermost open one
// counts.
class ORV_API LinkBatch {
 public:
  LinkBatch();
  // Marks what is left to be marked; links that wait go on waiting, until the end of the next batch.
  ~LinkBatch();
  LinkBatch(const LinkBatch&) = delete;
  LinkBatch& operator=(const LinkBatch&) = delete;

  // Ends the batch, once: makes the links that wait, in the order of the changes, then marks the schedulers of
  // all that was set. Returns the paths of the objects that lost a target to a later object at its path: the
  // changes do not name them. Throws as GenericKSLObject::createDelayedParamLinks. Linear in what was noted and
  // what is marked.
  std::set<std::string> finish();

  // Notes that a target of the object is being deleted: its links are looked at again when the batch ends.
  // Nothing when none is open.
  static void noteLostTarget(GenericKSLObject& object) noexcept;

  // Has the object's links that wait made by the next batch, if they wait until then: its updates may all come
  // from the walk that refuses them.
  static void linkInNext(const GenericKSLObject& object) noexcept;

  // Null when none is open.
  static LinkBatch* current() noexcept { return s_current; }

 private:
  friend class GenericKSLObject;
  struct Note {
    GenericKSLObject* object;  // null when it has ended
    std::uint64_t toMark = 0;  // its schedulers, a bit each
    std::uint64_t newest = 0;  // of these what the last set added
    bool lostTarget = false;
  };

  struct Unfinished {
    std::string path;
    std::uint64_t serial;  // another object may have come to the path
  };

  // The note of the object, made when there is none.
  static Note& noteOf(GenericKSLObject& object);
  // The object waits, and the changes may not name it: the batch that is open links it, else the next one.
  static void noteWaiting(GenericKSLObject& object) noexcept;
  static void forget(const GenericKSLObject& object) noexcept;
  void close() noexcept;
  static bool isUnfinished(const GenericKSLObject& object) noexcept;
  static void noteUnfinished();
  static void noteAllWaiting();
  void keepUnfinished() noexcept;
  void markNoted() noexcept;

  static LinkBatch* s_current;
  static std::vector<Note> s_notes;  // of all batches, those of inner ones behind those of outer ones
  // Objects that the next batch looks at. Those that waited or were to be marked when a batch failed are among
  // them: taking its changes back need not touch them.
  static std::vector<Unfinished> s_unfinished;
  // There was no memory to list one of them: all objects have to be asked.
  static bool s_unlisted;

  LinkBatch* m_outer;
  std::size_t m_first;  // of this batch's notes
  bool m_open = true;
  bool m_finished = false;
};

}  // namespace orv
