// The categories of an object, and the registry of all categories.
#pragma once

#include "platform/ORVExport.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

// A set of categories, one bit each. The first 64 of the registry stand in the object itself, further ones
// take memory only where they are set. Names and numbers are those of one registry in each context.
class ORV_API Category {
 public:
  // Registers a category under the next number. A name that is known keeps its number and still uses up a
  // number, on purpose: numbers are never given twice, whatever is read how often. O(log n).
  static void addCategory(const std::string& name);
  // All registered names, in name order.
  static std::vector<std::string> getCategories();
  // Forgets all names and starts numbering afresh. REQUIRES: no Category made before is asked any more; for
  // the end of the object factory and for tests.
  static void resetRegistry() noexcept;

  Category() = default;
  Category(const Category& other);
  Category(Category&& other) noexcept = default;
  Category& operator=(Category other) noexcept;
  ~Category() = default;

  // A name that is not registered throws internal::badParam, class "Category", function "setCategory" (or
  // "unsetCategory"), "Category '%s' is not recognized.".
  void setCategory(std::string_view name);
  void unsetCategory(std::string_view name);
  // False for a name that is not registered.
  bool isA(std::string_view name) const;

 private:
  std::uint64_t wordAt(std::size_t index) const noexcept;  // 0 beyond the end
  std::uint64_t& growTo(std::size_t index);

  std::uint64_t m_first = 0;
  std::unique_ptr<std::vector<std::uint64_t>> m_more;  // numbers from 64 on; null while none was set
};

}  // namespace orv
