// The parameters of one object.
#pragma once

#include "database/ParamLayout.h"

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace orv {

// Looks like a map from name to parameter, but costs memory only for what was written: every other parameter
// is read from the layout that the object shares with its prototype. A parameter that is about to be written
// gets a definition of its own (`own`), which from then on stands at the same address until it is removed.
class ORV_API ParamSet {
 public:
  ParamSet() = default;
  ParamSet(const ParamSet&) = delete;
  ParamSet& operator=(const ParamSet&) = delete;

  std::size_t size() const { return m_layout ? m_layout->size() : 0; }
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

  // REQUIRES: the name is not there. The pointer keeps its parameter when memory is short. O(n), as are the
  // removals.
  void add(std::unique_ptr<ParamDefinition>&& param);
  // A parameter that was taken out.
  struct Taken {
    std::shared_ptr<const ParamDefinition> prototype;  // null when there was none
    std::unique_ptr<ParamDefinition> own;              // null when nothing was written
  };
  Taken take(std::string_view name);
  // As it was, at the same address; nothing when the name is there again. Needs memory only when the room that
  // it left was used.
  void putBack(Taken&& taken);
  void clear() noexcept;
  void swap(ParamSet& other) noexcept
  {
    std::swap(m_layout, other.m_layout);
    m_own.swap(other.m_own);
  }

  // What has a definition of its own, in name order. `visit(ParamDefinition&)` must not add or remove.
  template <class Visit>
  void forEachOwn(Visit visit)
  {
    for (const Own& param : m_own)
      visit(*param);
  }
  // All parameters in name order. `visit(const ParamDefinition&)` may ask for own definitions, but must not
  // write, add or remove.
  template <class Visit>
  void forEach(Visit visit) const
  {
    std::size_t next = 0;
    for (std::size_t slot = 0; slot < size(); ++slot) {
      while (next < m_own.size() && m_own[next]->m_slot < slot)
        ++next;
      if (next < m_own.size() && m_own[next]->m_slot == slot)
        visit(static_cast<const ParamDefinition&>(*m_own[next]));
      else
        visit((*m_layout)[slot]);
    }
  }

  // Gives an empty set the same parameters, each as ParamDefinition::clone would copy it. A prototype first
  // moves what it wrote into its layout (`publish`), so that its copies need nothing of their own.
  void copyTo(ParamSet& target, bool publish);

 private:
  using Own = std::unique_ptr<ParamDefinition>;  // knows its slot
  std::size_t slotOf(std::string_view name) const
  {
    return m_layout ? m_layout->find(name) : ParamLayout::npos;
  }
  const ParamDefinition& at(std::size_t slot) const;
  ParamDefinition* ownSlot(std::size_t slot, ParamDefinition::NotifyChange* observer);
  std::vector<Own>::iterator ownAt(std::size_t slot);
  std::vector<Own>::const_iterator ownAt(std::size_t slot) const;
  ParamDefinition* insertCopy(std::vector<Own>::iterator place, std::size_t slot,
                              ParamDefinition::NotifyChange* observer);
  void insertOwn(std::size_t slot, std::unique_ptr<ParamDefinition> param);
  void reserveOwn();
  std::size_t insertSlot(std::shared_ptr<const ParamDefinition> prototype);
  ParamLayout& writableLayout();  // one that nobody shares
  void publishOwn();

  refcnt_ptr<ParamLayout> m_layout;  // null while there are no parameters; written only when not shared
  std::vector<Own> m_own;            // by slot
};

}  // namespace orv
