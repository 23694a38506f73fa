// A stack of undo steps.
#pragma once

#include "platform/ORVKSLAPI.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace orv {

class UndoneObjects;

// Change lists, the newest on top. The top is open while changes are added to it; once delimited, the next
// change starts a new list. Lists are made when their first change comes, and empty ones never stay. Grows
// until cleared.
//
// Most steps are one change, or one object: of a step that is a single group, nothing but that is kept once it is
// delimited. It becomes a list again, and stays one, for whoever asks.
class ORV_API HistoryStack {
 public:
  // Identifies a list for good: later lists have greater numbers, also on other stacks; 0 is none.
  using ListId = std::uint64_t;

  HistoryStack();
  HistoryStack(const HistoryStack&) = delete;
  HistoryStack& operator=(const HistoryStack&) = delete;
  ~HistoryStack();

  // The open list; starts one, named "undoredo", when the stack is delimited. The pointer holds until the stack is
  // delimited, or the list popped or cleared; shareOpen keeps a list alive beyond that.
  KSLChangeList* writeableTop();
  std::shared_ptr<KSLChangeList> shareOpen();
  // Null when empty. The list is the step's until that is popped or cleared.
  std::shared_ptr<KSLChangeList> shareTop() const;
  const KSLChangeList* top() const;
  ListId topId() const;
  // Whether there is a step of this number, counted from the oldest, which is 0, that has changed an object whose path is
  // accepted. Linear in its objects.
  bool touches(std::size_t step, const std::function<bool(const SharedText& path)>& accepts) const;
  // Whether there is no step, or an open one without changes.
  bool isTopEmpty() const;
  // Has the top's changes taken back in a store. REQUIRES: there is a step.
  void takeTopBack(KSLAPIUpdateProcessor& store) const;
  // Objects that end with the top, unless they are taken from it; at once when there is none.
  void keepWithTop(UndoneObjects objects);
  UndoneObjects takeKept();
  // The number that the next list will exceed.
  static ListId newestId();

  void delimit();  // drops an empty top
  void pop();      // then delimits
  void clear();    // then delimits
  // Drops the lists newer than `id`, then delimits.
  void dropNewerThan(ListId id);
  bool isDelimited() const { return m_delimited; }
  std::size_t size() const;

  // Given to lists from now on, and to those on the stack. Not owned.
  void registerChangeListModifier(ChangeListModifierIF* modifier);

 private:
  struct Steps;
  bool m_delimited = true;
  SharedText m_listName{"undoredo"};
  std::unique_ptr<Steps> m_steps;
  ChangeListModifierIF* m_modifier = nullptr;  // not owned
};

}  // namespace orv
