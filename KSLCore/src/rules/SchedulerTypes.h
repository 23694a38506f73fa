// What the RULES say about the schedulers of an object type.
#pragma once

#include "platform/ORVUtilities.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// Shared by a prototype and the objects made from it; never changed once it is shared.
struct SchedulerTypes : rcount_base {
  struct Function {
    std::string library;  // complete file name
    std::string name;     // empty: none
  };
  struct Entry {
    SharedText type;
    Function function;
  };
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  std::vector<Entry> entries;  // sorted by type
  std::vector<std::pair<std::string, std::string>>
      links;  // from, to; sorted by from, then in order of addition

  std::size_t find(std::string_view type) const noexcept;  // npos when absent
  bool insert(const std::string& type);                    // false when it is there
};

}  // namespace orv
