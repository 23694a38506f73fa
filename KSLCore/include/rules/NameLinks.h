// The links of one object.
#pragma once

#include "platform/ORVExport.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string_view>

namespace orv {

class NameLink;

// A map from the names of parameters to their links, which never move and all end together. Most objects that have any
// have one or two: these are a list in the order of the names, and take no memory beside their own; more than a dozen
// are looked up in a tree.
class ORV_API NameLinks {
 public:
  NameLinks() = default;
  ~NameLinks() { clear(); }
  NameLinks(const NameLinks&) = delete;
  NameLinks& operator=(const NameLinks&) = delete;

  bool empty() const noexcept { return m_word == 0; }
  // Null when absent. O(log n).
  NameLink* find(std::string_view name) const noexcept;
  // REQUIRES: there is none of its name. Unchanged when memory runs out.
  NameLink& insert(std::unique_ptr<NameLink> link);
  // In the order of the names: visit(NameLink&), which must not insert.
  template <class Visit>
  void forEach(Visit visit) const;
  void clear() noexcept;

 private:
  using Tree = std::map<std::string_view, std::unique_ptr<NameLink>>;
  static constexpr std::uintptr_t treeBit = 1;
  static constexpr std::size_t most = 12;  // of a list

  bool isTree() const noexcept { return (m_word & treeBit) != 0; }
  Tree* tree() const noexcept { return reinterpret_cast<Tree*>(m_word & ~treeBit); }
  NameLink* first() const noexcept { return reinterpret_cast<NameLink*>(m_word); }
  void makeTree();

  std::uintptr_t m_word = 0;  // the first of the list; or the tree, and the bit
};

}  // namespace orv
