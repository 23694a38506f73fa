#include "Memory.h"

#include "Data.h"
#include "Pieces.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <list>
#include <mutex>

namespace results {

namespace {

struct Entry {
  std::string key;
  std::shared_ptr<const void> value;
  std::size_t kilobytes;
};

// Shared by all models of the process. The newest stand first.
std::mutex guard;
std::list<Entry>& entries()
{
  static auto* const all =
      new std::list<Entry>;  // cleared by the end of the library, which comes before VTK's
  return *all;
}

std::size_t limit()
{
  std::size_t megabytes = 512;
  if (const char* const text = std::getenv("KSL_RESULTS_MEMORY"))
    std::from_chars(text, text + std::strlen(text), megabytes);
  return 1024 * megabytes;
}

}  // namespace

// What one process has to make, all make: it may take all of them.
std::shared_ptr<const void> Memory::find(const std::string& key)
{
  const std::shared_ptr<const void> known = findHere(key);
  const std::vector<char> all = ofAll("remembered", static_cast<char>(known != nullptr));
  return std::find(all.begin(), all.end(), 0) == all.end() ? known : nullptr;
}

std::shared_ptr<const void> Memory::findHere(const std::string& key)
{
  const std::lock_guard lock(guard);
  for (auto at = entries().begin(); at != entries().end(); ++at) {
    if (at->key != key)
      continue;
    entries().splice(entries().begin(), entries(), at);
    return at->value;
  }
  return nullptr;
}

void Memory::add(const std::string& key, std::shared_ptr<const void> value, std::size_t kilobytes)
{
  const std::lock_guard lock(guard);
  entries().push_front({key, std::move(value), kilobytes});
  std::size_t held = 0;
  for (auto at = entries().begin(); at != entries().end();) {
    const bool isOurs = at->value.use_count() == 1;
    held += isOurs ? at->kilobytes : 0;
    at = isOurs && held > limit() ? entries().erase(at) : std::next(at);
  }
}

void Memory::clear()
{
  const std::lock_guard lock(guard);
  entries().clear();
}

std::size_t Memory::sizeOf(const Mesh& mesh)
{
  std::size_t kilobytes = mesh.cells->GetActualMemorySize();
  for (const Region& region : mesh.regions)
    kilobytes += region.faces->GetActualMemorySize();
  return kilobytes;
}

}  // namespace results
