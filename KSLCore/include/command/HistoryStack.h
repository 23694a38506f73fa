// A stack of undo steps.
#pragma once

#include "platform/ORVKSLAPI.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace orv {

// Change lists, the newest on top. The top is open while changes are added to it; once delimited, the next
// change starts a new list. Lists are made when their first change comes, and empty ones never stay. Grows
// until cleared.
class ORV_API HistoryStack {
 public:
  // Identifies a list for good: later lists have greater numbers, also on other stacks; 0 is none.
  using ListId = std::uint64_t;

  // The open list; starts one, named "undoredo", when the stack is delimited. The pointer holds until the
  // list is popped or cleared; shareTop keeps a list alive beyond that.
  KSLChangeList* writeableTop();
  std::shared_ptr<KSLChangeList> shareTop() const;  // null when empty
  const KSLChangeList* top() const;                 // null when empty
  ListId topId() const;
  // The number that the next list will exceed.
  static ListId newestId();

  void delimit();  // drops an empty top
  void pop();      // then delimits
  void clear();    // then delimits
  // Drops the lists newer than `id`, then delimits.
  void dropNewerThan(ListId id);
  bool isDelimited() const { return m_delimited; }
  std::size_t size() const { return m_lists.size(); }

  // Given to lists from now on, and to those on the stack. Not owned.
  void registerChangeListModifier(ChangeListModifierIF* modifier);

 private:
  struct Step {
    std::shared_ptr<KSLChangeList> list;
    ListId id;
  };
  bool m_delimited = true;
  SharedText m_listName{"undoredo"};
  std::vector<Step> m_lists;
  ChangeListModifierIF* m_modifier = nullptr;  // not owned
};

}  // namespace orv
