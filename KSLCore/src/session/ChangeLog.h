// What commands change, one after the other.
#pragma once

#include "database/DBChangeNotify.h"
#include "session/Outcome.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orv {

// What there is to tell is kept when the change is made, which fails where there is no memory for it: at the end of a
// deletion and of a command nothing can.
class ChangeLog : public DBChangeNotify {
 public:
  // Of what was deleted later nothing is said but that. O(changes times depth).
  std::vector<Change> take() noexcept;
  void clear() noexcept;

  void objectAdded(const KSLObject* object) override;
  void objectDeleteBegin(const KSLObject* object) override;
  void objectDeleteEnd(const std::string& path, const KSLObject* objectOrNull) override;
  void paramChanged(const KSLObject* object, const ParamDefinition* param) override;
  void paramDeleted(const KSLObject* object, const std::string& paramName) override;

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view path) const noexcept
    {
      return std::hash<std::string_view>()(path);
    }
  };
  void makeRoom();
  void add(Change change);
  bool isDeletedLater(std::size_t change) const noexcept;

  std::vector<Change> m_changes;    // with room for the deletions under way
  std::vector<Change> m_deletions;  // under way, innermost last
  // Where a path was deleted last, as a count of changes up to there; 0 for not at all.
  std::unordered_map<std::string, std::size_t, Hash, std::equal_to<>> m_deletedAt;
};

}  // namespace orv
