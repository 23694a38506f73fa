#include "Memory.h"

#include "Pieces.h"

#include <algorithm>
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

std::size_t memoryOf(vtkDataObject& data)
{
  return std::size_t(1024) * data.GetActualMemorySize();
}

void Making::takes(std::size_t bytes)
{
  const std::vector<std::size_t> all = ofAll("memory", bytes);
  m_making.takes(*std::max_element(all.begin(), all.end()));
}

std::shared_ptr<Place> completed(std::shared_ptr<Place> place, const std::shared_ptr<const Mesh>& mesh,
                                 const orv::ResultKey& key, Making& making)
{
  place->mesh = making.hold(mesh);
  place->units = mesh->units;
  place->key = key;
  making.takes(memoryOf(*place->data));
  return place;
}

bool isTrueForAll(const char* what, bool isTrueHere)
{
  const std::vector<char> all = ofAll(what, static_cast<char>(isTrueHere));
  return std::find(all.begin(), all.end(), 0) == all.end();
}

}  // namespace results
