// What a change list holds: groups of changes, each of one object.
//
//   Changed   one parameter has another value
//   Listed    parameters that come, or go, and perhaps their object:  [ object ] { parameter } [ object ]
//
// A group names its parameters by a run that it shares with the node, or with other lists, so that a definition takes
// one group in each list, however many parameters it has. What a group says never changes (ParamRun sees to that): a
// list may be kept, copied and read at any time. To visitors a group is so many changes, each a KSLChange of its own.
#pragma once

#include "platform/ORVKSLAPI.h"
#include "ParamRun.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <variant>

namespace orv {

class ORV_API ChangeGroup {
 public:
  struct Changed {
    SharedText name;
    SharedText value;
    SharedText oldValue;
  };
  enum class Object : std::uint8_t { none, first, last };
  struct Listed {
    store::ParamRun run;  // its parameters from `from` on
    std::uint32_t from = 0;
    bool creates = true;      // else deletes
    bool descending = false;  // the last parameter first
    bool ofNode = false;      // the run is, or was, a node's: names once each, places ascending
    Object object = Object::none;

    std::size_t params() const noexcept { return run.size() - from; }
  };

  explicit ChangeGroup(KSLChange change);
  ChangeGroup(SharedText path, Changed changed) : m_path(std::move(path)), m_what(std::move(changed)) {}
  ChangeGroup(SharedText path, Listed listed) : m_path(std::move(path)), m_what(std::move(listed)) {}

  const SharedText& path() const noexcept { return m_path; }
  // One of the two.
  const Changed* changed() const noexcept { return std::get_if<Changed>(&m_what); }
  const Listed* listed() const noexcept { return std::get_if<Listed>(&m_what); }
  // How many changes it is; never 0 in a list.
  std::size_t size() const noexcept
  {
    const Listed* const all = listed();
    return all ? all->params() + (all->object != Object::none) : 1;
  }
  KSLChange operator[](std::size_t index) const;

  // The group that takes this one back, told in the same order.
  ChangeGroup inverse() const;
  // The same changes, the last one first.
  ChangeGroup reversed() const;

  // Takes one more change at its end, when it is of this object and sort. Changes nothing when it throws.
  bool take(const KSLChange& change);
  // The same for the last parameter of a node, of which the run is the node's.
  bool take(const SharedText& path, const store::ParamRun& params);
  // Forgets the last changes until so many are left.
  void truncate(std::size_t size) noexcept;
  // Its changes from one on. REQUIRES: it lists parameters in ascending order, an object first or not at all.
  ChangeGroup from(std::size_t index) const;

 private:
  SharedText m_path;
  std::variant<Changed, Listed> m_what;
};

// The groups of a list.
class ORV_API ChangeGroups {
 public:
  // As KSLChangeList::add. A modifier is shown the changes one by one, and what is left of them is added so.
  static void add(KSLChangeList& list, ChangeGroup group);
  // The last parameter of a node is new.
  static void addNewest(KSLChangeList& list, const SharedText& path, const store::ParamRun& params);

  // The list's only group; null when it has none or several.
  static const ChangeGroup* only(const KSLChangeList& list) noexcept;

  // Forgets the last changes of the group that begins with this one, until so many of it are left. What stands behind it
  // moves up. REQUIRES: at least one is left, and no more than it has; else nothing is done.
  static void cut(KSLChangeList& list, std::size_t change, std::size_t size) noexcept;

  // Finds the group that a change is in; quick when asked for one change after the other, either way. The list may be
  // changed meanwhile.
  class ORV_API Cursor {
   public:
    explicit Cursor(const KSLChangeList& list) noexcept;
    // REQUIRES: the list has the change. The pointer holds until the list is changed.
    const ChangeGroup* find(std::size_t change) noexcept;
    std::size_t first() const noexcept { return m_first; }  // change of the group found

   private:
    const KSLChangeList& m_list;
    const ChangeGroup* m_at = nullptr;  // null until it was asked; groups do not move until the list is cut
    std::size_t m_chunk = 0;            // of the list, counted from 1; 0 is the list's own first group
    std::size_t m_first = 0;
    std::size_t m_cuts = 0;
  };
};

}  // namespace orv
