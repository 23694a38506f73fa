#include "platform/ORVUtilities.h"

#include <algorithm>
#include <numeric>

namespace orv::PathUtils {

std::string normalisePathBwdComp(const std::string& path)
{
  std::string simple = StringUtilities::simplifyPath(path);
  if (!simple.empty() && simple.front() != '/' && simple.find(':') < simple.find('/'))
    simple.insert(0, 1, '/');
  return simple;
}

std::string normalisePathsBwdComp(const std::string& paths)
{
  std::vector<std::string> items = StringUtilities::stringToVector(paths, ',');
  for (auto& item : items)
    item = normalisePathBwdComp(StringUtilities::removeWhitespace(item));
  return StringUtilities::vectorToString(items, ',');
}

namespace {

// Orders paths so that all that lies below a path follows it at once: "/" comes before every other character.
bool inTreeOrder(std::string_view a, std::string_view b) noexcept
{
  const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  if (y == b.end())
    return false;
  if (x == a.end() || *x == '/')
    return true;
  return *y != '/' && static_cast<unsigned char>(*x) < static_cast<unsigned char>(*y);
}

}  // namespace

std::vector<std::string> filterChildPaths(const std::vector<std::string>& paths)
{
  std::vector<std::size_t> order(paths.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&paths](std::size_t a, std::size_t b) { return inTreeOrder(paths[a], paths[b]); });
  std::vector<std::size_t> kept;
  for (const std::size_t index : order)
    if (kept.empty() || !isSameOrBelow(paths[index], paths[kept.back()]))
      kept.push_back(index);
  std::sort(kept.begin(), kept.end());
  std::vector<std::string> result;
  result.reserve(kept.size());
  for (const std::size_t index : kept)
    result.push_back(paths[index]);
  return result;
}

bool isSameOrBelow(std::string_view path, std::string_view ancestor) noexcept
{
  if (ancestor.empty() || ancestor == "/")
    return true;
  return path.substr(0, ancestor.size()) == ancestor
         && (path.size() == ancestor.size() || path[ancestor.size()] == '/');
}

std::string_view parentPath(std::string_view path) noexcept
{
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

std::string toForwardSlashes(std::string_view fileName)
{
  std::string out(fileName);
  std::replace(out.begin(), out.end(), '\\', '/');
  return out;
}

}  // namespace orv::PathUtils
