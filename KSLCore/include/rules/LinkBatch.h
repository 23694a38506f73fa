// Lets many changes settle before the links that they ask for are judged.
#pragma once

#include "platform/ORVExport.h"

#include <set>
#include <string>

namespace orv {

class GenericKSLObject;

// While a batch is open, setting a reference never fails for what its target is: half-way through a list of
// changes a target may be missing or ambiguous, a circle may be about to be broken, an object may be deleted
// and made again. Such links wait, and are made, or refused, by finish(). For the one who applies changes;
// calculations run after finish(), so what they set is judged at once. Batches nest: the innermost open one
// counts.
class ORV_API LinkBatch {
 public:
  LinkBatch() : m_outer(s_current) { s_current = this; }
  ~LinkBatch();
  LinkBatch(const LinkBatch&) = delete;
  LinkBatch& operator=(const LinkBatch&) = delete;

  // Ends the batch: makes the links that wait, in path order, and returns the paths of the objects that got
  // any. Throws as GenericKSLObject::createDelayedParamLinks. O(objects that wait).
  std::set<std::string> finish();

  // Null when none is open.
  static LinkBatch* current() noexcept { return s_current; }
  // The object has links that wait.
  void note(const GenericKSLObject& object);

 private:
  void close() noexcept;

  static LinkBatch* s_current;
  LinkBatch* m_outer;
  bool m_open = true;
  std::set<std::string> m_waiting;  // paths
};

}  // namespace orv
