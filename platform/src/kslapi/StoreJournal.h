// A tree's memory for going back.
//
// One rule: the entry of a change is there before the change is made, and is taken out again, which cannot fail, when
// the change threw and made nothing. So going back always finds the tree as the newest entry left it.
//
// A node and the parameters that are appended to it one after the other share one entry. Marks count changes: an entry
// is as many as it names, and leaves bit by bit when a mark stands within it.
//
// What is deleted waits here, whole, until it is confirmed: taking a deletion back puts the very nodes where they were,
// among the same siblings. Therefore entries may name nodes by their address: a node that an older entry names is in
// the tree again when its turn comes, and no newer entry names one that was destroyed.
//
//   entries leave    at the old end by confirm: nodes detached there are destroyed
//                    at the new end by undo:    nodes detached there are attached again
#pragma once

#include "StoreTree.h"

#include <deque>

namespace orv::store {

class Journal {
 public:
  explicit Journal(Tree& tree) : m_tree(tree) {}
  ~Journal() { confirm(m_size); }
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  // -- changes, all or nothing; arguments as those of the tree's operations

  Node* create(Node* parent, SharedText path, ParamRun params = {});
  void appendParam(Node* node, const SharedText& name, SharedText&& value);
  void changeParam(Node* node, std::size_t param, SharedText value);
  void removeParam(Node* node, std::size_t param);
  void remove(Node* node);

  // -- going back; linear in the changes and what they took out

  // Of changes. A node that is created with its parameters is one.
  std::size_t size() const { return m_size; }
  // Takes back the newest changes until `size` are left. Fails only for lack of memory, where a parameter is put back or
  // has its former value again; all that came before is then taken back, and a second call goes on.
  void undo(std::size_t size);
  // Forgets the oldest changes.
  void confirm(std::size_t count) noexcept;

 private:
  enum class Kind : std::uint8_t { create, appendParams, changeParam, removeParam, remove };
  struct Entry {
    Node* node;                // of a parameter its object's
    SharedText name;           // of the parameter
    SharedText value;          // that it had
    std::uint32_t number = 0;  // its place; of parameters appended, how many
    Kind kind;
    std::size_t size() const
    {
      return kind == Kind::create ? 1 + number : kind == Kind::appendParams ? number : 1;
    }
  };
  void push(Entry entry);
  void pop() noexcept;
  void revertNewest();

  Tree& m_tree;
  std::deque<Entry> m_entries;
  std::size_t m_size = 0;
};

}  // namespace orv::store
