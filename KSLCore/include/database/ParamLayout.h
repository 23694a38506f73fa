// The parameters that all objects of a type have in common.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVUtilities.h"
#include "database/ParamDefinition.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace orv {

// Parameter prototypes in name order, shared by count between a prototype object and what is made from it.
// Never changed once it is shared. The prototypes are neither set nor changed and have no observer.
class ORV_API ParamLayout : public rcount_base {
 public:
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  std::size_t size() const { return m_entries.size(); }
  const ParamDefinition& operator[](std::size_t slot) const { return *m_entries[slot].prototype; }
  // The slot of a name, npos when there is none. O(log n).
  std::size_t find(std::string_view name) const;
  // The slots of those whose text may name something. O(1) but for the first time.
  const std::vector<std::uint32_t>& naming() const;

 private:
  friend class ParamSet;
  struct Entry {
    std::string_view name;  // stands in the prototype's rules
    std::shared_ptr<const ParamDefinition> prototype;
    mutable std::uint32_t follower = 0;  // the slot that was found after this one, the last time
  };
  std::size_t lowerBound(std::string_view name) const;
  void append(std::shared_ptr<const ParamDefinition> prototype);         // REQUIRES: a name behind all others
  std::size_t insert(std::shared_ptr<const ParamDefinition> prototype);  // REQUIRES: a name that is not there

  std::vector<Entry> m_entries;
  // Who sets a parameter looks for it several times in a row, and texts name parameters in the order in which they did
  // for the object before. Only where to look first: what stands there is compared.
  mutable std::size_t m_lastFound = 0;
  mutable std::vector<std::uint32_t> m_naming;
  mutable bool m_knowsNaming = false;  // till the next change
};

}  // namespace orv
