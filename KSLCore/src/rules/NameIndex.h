// Who uses which names.
#pragma once

#include "database/NameQuestion.h"
#include "database/ObjectWatch.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace orv {

class LinkTransaction;
class NameLink;
class NameUses;
class ObjectDB;

// Knows for each question that was asked to find out what a name means which links depend on the answer. When an
// object comes or goes, or an expression is defined or given up, the links that asked for it are due: the cost is that
// of those links, whatever else there is. Keeps the links that are due, in the order in which they became so.
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

  NameLink* firstDue() const noexcept { return m_firstDue; }
  void addDue(NameLink& link) noexcept;
  void removeDue(NameLink& link) noexcept;

 private:
  friend class NameUses;
  struct Key {
    const KSLObject* place;
    std::string_view name;
    bool operator==(const Key&) const = default;
  };
  struct Use;
  // Those who asked a question; at least one.
  struct Users {
    const KSLObject* place;
    std::string name;
    mutable Use* first = nullptr;
    operator Key() const noexcept { return {place, name}; }
  };
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(const Key& key) const noexcept
    {
      return std::hash<std::string_view>()(key.name) ^ (std::hash<const void*>()(key.place) * 31);
    }
  };
  struct Equal {
    using is_transparent = void;
    bool operator()(const Key& a, const Key& b) const noexcept { return a == b; }
  };
  struct Use {
    NameLink* link = nullptr;
    const Users* users = nullptr;
    Use* previous = nullptr;
    Use* next = nullptr;
  };
  using Table = std::unordered_set<Users, Hash, Equal>;

  Table m_table;
  NameLink* m_firstDue = nullptr;
  NameLink* m_lastDue = nullptr;
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
  const auto found = m_table.find(Key{place, name});
  if (found == m_table.end())
    return;
  for (const Use* use = found->first; use; use = use->next)
    visit(*use->link);
}

}  // namespace orv
