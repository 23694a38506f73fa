// What was computed not long ago, for when it is wanted again: the core's memory of results, for VTK's data.
#pragma once

#include "platform/ORVResultMemory.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

class vtkDataObject;

namespace results {

using Making = orv::ResultMemory::Making;

// By the environment's KSL_RESULTS_MEMORY, in megabytes: how much may be kept that nobody uses. For the beginning of the
// library.
void limitMemory();

std::size_t bytesOf(vtkDataObject& data);

// What the key stands for: remembered, or made and remembered. All calculations come by here. Traces tell the function and
// what it is for, a path or a file.
template <class T, class Make>
std::shared_ptr<const T> remembered(const orv::ResultKey& key, const char* function,
                                    const std::string& subject, Make&& make)
{
  return orv::ResultMemory::instance().recall<T>(key, std::string(function) + " " + subject,
                                                 std::forward<Make>(make));
}

}  // namespace results
