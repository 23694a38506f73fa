// What was computed not long ago, for when it is wanted again: the core's memory of results, for VTK's data.
#pragma once

#include "platform/ORVResultMemory.h"
#include "Communicator.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

class vtkDataObject;

namespace results {

struct Mesh;
struct Place;

// By the environment's KSL_RESULTS_MEMORY, in megabytes: how much may be kept that nobody uses. For the beginning of the
// library.
void limitMemory();

std::size_t memoryOf(vtkDataObject& data);

// A result while it is made. What it takes is the same for all processes, that of the one where it takes most: so their
// memories, which have the same limit, let go of the same results.
class Making {
 public:
  explicit Making(orv::ResultMemory::Making& making) : m_making(making) {}
  void takes(std::size_t bytes);
  template <class T>
  std::shared_ptr<const T> hold(const std::shared_ptr<const T>& other)
  {
    return m_making.hold(other);
  }

 private:
  orv::ResultMemory::Making& m_making;
};

// A place in the mesh, whose data is there: with all else that it has.
std::shared_ptr<Place> completed(std::shared_ptr<Place> place, const std::shared_ptr<const Mesh>& mesh,
                                 const orv::ResultKey& key, Making& making);

bool isTrueForAll(const char* what, bool isTrueHere);

// What the key stands for: remembered, or made and remembered. All calculations come by here. Traces tell the function and
// what it is for, a path or a file.
//
// Making it may take all processes: so it is found by all of them, or made by all, whatever each of them remembers.
template <class T, class Make>
std::shared_ptr<const T> remembered(const orv::ResultKey& key, const char* function,
                                    const std::string& subject, Make&& make)
{
  orv::ResultMemory& memory = orv::ResultMemory::instance();
  const std::string what = std::string(function) + " " + subject;
  const auto makeHere = [&make](orv::ResultMemory::Making& inner) {
    Making making(inner);
    return make(making);
  };
  if (Communicator::instance().isAlone() || isTrueForAll("remembered", memory.has<T>(key)))
    return memory.recall<T>(key, what, makeHere);
  return memory.makeAnew<T>(key, what, makeHere);
}

}  // namespace results
