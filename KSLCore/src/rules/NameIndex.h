// Who uses which names.
#pragma once

#include "database/NameQuestion.h"
#include "database/ObjectWatch.h"
#include "database/ParamDefinition.h"
#include "database/PointerIndex.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

class GenericKSLObject;
class LinkTransaction;
class NameLink;
class NameUses;
class ObjectDB;

// Knows for each question that was asked to find out what a name means which links depend on the answer. When an
// object comes or goes, or an expression is defined or given up, the links that asked for it are due: the cost is that
// of those links, whatever else there is. Keeps the links that are due, in the order in which they became so: of several
// faults the first is told.
//
// A text of the type "Expression" that uses no names has no link, only its place in that order: should the parameter
// name something before the next judgement, its link stands where the text did.
class NameIndex final : public ObjectWatch {
 public:
  NameIndex() = default;
  ~NameIndex() override;

  // Of the database; made on first use.
  static NameIndex& of(ObjectDB& database);
  // Null while there is no database, or one that ends, or one without an index.
  static NameIndex* current() noexcept;

  void objectAdded(KSLObject& object) noexcept override;
  void objectGoing(KSLObject& object) noexcept override;
  // The answer to a question is another.
  void changed(const KSLObject* place, std::string_view name) noexcept;

  template <class Visit>
  void forEachUser(const KSLObject* place, std::string_view name, Visit visit) const;

  // The update under way; null without.
  LinkTransaction* transaction() const noexcept { return m_transaction; }
  LinkTransaction* setTransaction(LinkTransaction* transaction) noexcept
  {
    return std::exchange(m_transaction, transaction);
  }

  // The parameter, which has no link, is set to what names nothing.
  void keepPlace(const GenericKSLObject& object, const ParamDefinition::Rules& param);
  // The object ends, or its links are judged: the places that it had are none.
  void forgetPlaces(const GenericKSLObject& object) noexcept;
  // A link was made for a parameter that may have a place.
  void noteMade() noexcept { m_madeLate = !m_places.empty(); }
  // Before all that is due is judged: each link comes to its place. Places end.
  void takePlaces();

  NameLink* firstDue() const noexcept { return m_firstDue; }
  std::size_t dueCount() const noexcept { return m_dueCount; }
  // Whether one that is due has been linked before.
  bool isLinkedDue() const noexcept { return m_linkedDue; }
  void addDue(NameLink& link) noexcept;
  void removeDue(NameLink& link) noexcept;

 private:
  friend class NameUses;
  struct Key {
    const KSLObject* place;
    std::string_view name;
    bool operator==(const Key&) const = default;
  };
  // One link that asked a question; in the table stands the last that asked it, which leads to the others.
  struct Use {
    NameLink* link = nullptr;  // null when the index has ended
    const KSLObject* place = nullptr;
    std::string name;
    Use* previous = nullptr;
    Use* next = nullptr;
  };
  struct KeyOf {
    Key operator()(const Use& use) const noexcept { return {use.place, use.name}; }
  };
  struct Hash {
    std::size_t operator()(const Key& key) const noexcept
    {
      return std::hash<std::string_view>()(key.name) ^ (std::hash<const void*>()(key.place) * 31);
    }
  };

  // Of a parameter since it was set; without one, the end of all places of the object until then.
  struct Place {
    const GenericKSLObject* object;
    const ParamDefinition::Rules* param;
    std::uint32_t number;
  };
  std::uint32_t nextNumber() noexcept;
  static const Place* firstPlace(const std::vector<Place>& sorted, const NameLink& link);
  void sortDue();

  PointerIndex<Use, KeyOf, Key, Hash> m_table;
  NameLink* m_firstDue = nullptr;
  NameLink* m_lastDue = nullptr;
  std::size_t m_dueCount = 0;
  std::vector<Place> m_places;               // by number
  std::uint32_t m_lastNumber = 0;            // of a link that became due, or a place
  bool m_linkedDue = false;                  // since the last time that none was due
  bool m_madeLate = false;                   // a link that may have a place before it became due
  LinkTransaction* m_transaction = nullptr;  // not owned
};

// The entries of one link in the index, for as long as this lives.
class NameUses {
 public:
  NameUses() = default;
  NameUses(NameIndex& index, NameLink& link, std::vector<NameQuestion>& asked);
  NameUses(NameUses&& other) noexcept { swap(other); }
  NameUses& operator=(NameUses&& other) noexcept
  {
    NameUses(std::move(other)).swap(*this);
    return *this;
  }
  ~NameUses();

 private:
  friend class NameIndex;
  void swap(NameUses& other) noexcept
  {
    m_uses.swap(other.m_uses);
    std::swap(m_count, other.m_count);
    std::swap(m_index, other.m_index);
  }
  std::unique_ptr<NameIndex::Use[]> m_uses;
  std::size_t m_count = 0;
  NameIndex* m_index = nullptr;
};

template <class Visit>
void NameIndex::forEachUser(const KSLObject* place, std::string_view name, Visit visit) const
{
  for (const Use* use = m_table.find({place, name}); use; use = use->next)
    visit(*use->link);
}

}  // namespace orv
