// The parameters of one object.
#pragma once

#include "database/ParamLayout.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace orv {

namespace store {
class ParamRun;
}

// Looks like a map from name to parameter, but costs memory only for what was written: every other parameter
// is read from the layout that the object shares with its prototype. A parameter that is about to be written
// gets a definition of its own (`own`), which from then on stands at the same address until it is removed.
// What was added to this set alone stands beside the layout: an object may get any number of parameters that its type does
// not have. They are moved into the layout when the set is copied.
class ORV_API ParamSet {
 public:
  ParamSet() = default;
  ParamSet(const ParamSet&) = delete;
  ParamSet& operator=(const ParamSet&) = delete;

  std::size_t size() const { return (m_layout ? m_layout->size() : 0) + (m_added ? m_added->size() : 0); }
  bool empty() const { return size() == 0; }

  // Null when absent. O(log n), no allocation. What it points to may be shared: to be read at once, not kept.
  const ParamDefinition* find(std::string_view name) const;
  // The object's own definition, made from the prototype when there is none yet; it gets the observer given
  // then. Null when absent.
  ParamDefinition* own(std::string_view name, ParamDefinition::NotifyChange* observer);
  // The same for a value that is about to be stored: one that is not allowed throws as
  // ParamDefinition::requireAllowed, and takes no memory.
  ParamDefinition* ownToSet(std::string_view name, const std::string& value,
                            ParamDefinition::NotifyChange* observer);
  // Null when absent, or when nothing was written yet.
  ParamDefinition* findOwn(std::string_view name);

  // REQUIRES: the name is not there. The pointer keeps its parameter when memory is short. O(log n).
  void add(std::unique_ptr<ParamDefinition>&& param);
  // A parameter that was taken out: what the type had, or what was added.
  class Taken {
   public:
    bool empty() const { return !m_prototype && m_added.empty(); }  // there was none
    // Its definition goes to the caller; null when nothing was written.
    std::unique_ptr<ParamDefinition> release()
    {
      return m_added.empty() ? std::move(m_own) : std::move(m_added.mapped());
    }

   private:
    friend class ParamSet;
    std::shared_ptr<const ParamDefinition> m_prototype;
    std::unique_ptr<ParamDefinition> m_own;  // null when nothing was written
    std::map<std::string_view, std::unique_ptr<ParamDefinition>>::node_type m_added;
  };
  // O(log n) for what was added, else O(n): the set no longer shares its layout then.
  Taken take(std::string_view name);
  // As it was, at the same address; nothing when the name is there again. Needs memory only for one that the type has,
  // when the room that it left was used.
  void putBack(Taken&& taken);
  void clear() noexcept;
  void swap(ParamSet& other) noexcept
  {
    std::swap(m_layout, other.m_layout);
    m_own.swap(other.m_own);
    m_added.swap(other.m_added);
  }

  // What has a definition of its own: what the type has, in name order, then what was added. `visit(ParamDefinition&)`
  // must not add or remove.
  template <class Visit>
  void forEachOwn(Visit visit)
  {
    for (const Own& param : m_own)
      visit(*param);
    if (m_added)
      for (auto& [name, param] : *m_added)
        visit(*param);
  }
  // All parameters in name order. `visit(const ParamDefinition&)` may ask for own definitions, but must not
  // write, add or remove.
  template <class Visit>
  void forEach(Visit visit) const
  {
    if (m_added)
      forEachMerged(visit);
    else
      forEachOfType(visit);
  }

  // Of these at least those whose text may name something: of an object as it was made, what its type knows of them.
  template <class Visit>
  void forEachNaming(Visit visit) const
  {
    if (!m_own.empty() || m_added)
      return forEach(visit);
    if (m_layout)
      for (const std::uint32_t slot : m_layout->naming())
        visit((*m_layout)[slot]);
  }

  // Gives an empty set the same parameters, each as ParamDefinition::clone would copy it. A prototype first
  // moves what it wrote into its layout (`publish`), so that its copies need nothing of their own.
  void copyTo(ParamSet& target, bool publish);

 private:
  friend class UndoneObjects;
  using Own = std::unique_ptr<ParamDefinition>;                                // knows its slot
  using Added = std::map<std::string_view, std::unique_ptr<ParamDefinition>>;  // by the names that they hold
  std::size_t slotOf(std::string_view name) const
  {
    return m_layout ? m_layout->find(name) : ParamLayout::npos;
  }
  template <class Visit>
  void forEachOfType(Visit& visit) const
  {
    std::size_t next = 0;
    const std::size_t slots = m_layout ? m_layout->size() : 0;
    for (std::size_t slot = 0; slot < slots; ++slot) {
      while (next < m_own.size() && m_own[next]->m_slot < slot)
        ++next;
      if (next < m_own.size() && m_own[next]->m_slot == slot)
        visit(static_cast<const ParamDefinition&>(*m_own[next]));
      else
        visit((*m_layout)[slot]);
    }
  }
  template <class Visit>
  void forEachMerged(Visit& visit) const
  {
    auto added = m_added->begin();
    const auto visitAddedBefore = [&](const ParamDefinition* param) {
      for (; added != m_added->end() && (!param || added->first < param->getName()); ++added)
        visit(static_cast<const ParamDefinition&>(*added->second));
    };
    const auto visitOfType = [&](const ParamDefinition& param) {
      visitAddedBefore(&param);
      visit(param);
    };
    forEachOfType(visitOfType);
    visitAddedBefore(nullptr);
  }
  ParamDefinition* findAdded(std::string_view name) const
  {
    if (!m_added)
      return nullptr;
    const auto found = m_added->find(name);
    return found == m_added->end() ? nullptr : found->second.get();
  }
  const ParamDefinition& at(std::size_t slot) const;
  ParamDefinition* ownSlot(std::size_t slot, ParamDefinition::NotifyChange* observer);
  std::vector<Own>::iterator ownAt(std::size_t slot);
  std::vector<Own>::const_iterator ownAt(std::size_t slot) const;
  ParamDefinition* insertCopy(std::vector<Own>::iterator place, std::size_t slot,
                              ParamDefinition::NotifyChange* observer);
  void insertOwn(std::size_t slot, std::unique_ptr<ParamDefinition> param);
  std::size_t insertSlot(std::shared_ptr<const ParamDefinition> prototype);
  ParamLayout& writableLayout();  // one that nobody shares
  void publishOwn();
  void publishAdded();
  // Whether it is an empty set of its layout that was given just these values, but for marks of change; and as if all had
  // just been given.
  bool holdsJust(const store::ParamRun& given) const;
  void markChanged() noexcept;
  // Whether copies of this prototype begin with the layout of the other.
  bool givesLayoutOf(const ParamSet& other);

  refcnt_ptr<ParamLayout> m_layout;  // null while there are no parameters; written only when not shared
  std::vector<Own> m_own;            // by slot
  std::unique_ptr<Added> m_added;    // null without any; none of a name that the layout has
};

}  // namespace orv
