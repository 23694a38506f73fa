#include "Memory.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <vtkDataObject.h>

namespace results {

void limitMemory()
{
  const char* const text = std::getenv("KSL_RESULTS_MEMORY");
  std::size_t megabytes = 0;
  if (text && std::from_chars(text, text + std::strlen(text), megabytes).ec == std::errc())
    orv::ResultMemory::instance().setLimit(megabytes << 20);
}

std::size_t bytesOf(vtkDataObject& data)
{
  return std::size_t(1024) * data.GetActualMemorySize();
}

}  // namespace results
