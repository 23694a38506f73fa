// The tree of KSL texts that a store holds: nodes addressed by path, in text order.
//
// Invariants, held between any two calls:
//  1. Every node but the root stands in the index under its path, and in its parent's list of children once.
//  2. A node's path is its parent's path, "/", and its own component; a long one shares the parent's (SharedText). Parameter names are interned: equal names of
//     one tree are the same shared text.
//  3. Parameters and children of a node share one sequence of places; both lists ascend in it. Something new
//     takes the place after all others, so the order of first appearance is the order of text.
//  4. A name stands once among the parameters of a node.
//  5. Parameters are a run that others may share (ParamRun); those of a node with a parameter index nobody does.
//  6. A detached node is in no list and, with all below it, in no index; its own fields still say where it stood.
// Nothing here knows of changes, journals or rules.
#pragma once

#include "platform/ORVUtilities.h"
#include "platform/internal/ParamRun.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace orv::store {

struct Node {
  SharedText path;  // "" is the root's
  Node* parent = nullptr;
  Node* firstChild = nullptr;
  Node* lastChild = nullptr;
  Node* next = nullptr;
  Node* previous = nullptr;
  ParamRun params;
  std::unique_ptr<std::unordered_map<const void*, std::uint32_t>> paramIndex;  // of large nodes only
  std::uint32_t holes = 0;  // parameters of a large node that were removed: without a name, to be passed over
  std::uint32_t place = 0;
  std::uint32_t nextPlace = 0;  // for what comes next in this node
};

// The last component of a path, and its two halves; a component without ":" is a singleton, named after its
// type.
std::string_view lastComponent(const SharedText& path);
std::string_view typeOf(std::string_view component);
std::string_view nameOf(std::string_view component);

class Tree {
 public:
  Tree();
  ~Tree();
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  Node* root() { return &m_root; }
  const Node* root() const { return &m_root; }

  // Constant time; null when there is no such node. "" is the root.
  Node* find(std::string_view path) const { return find(path, SharedText::hashOf(path)); }
  Node* find(std::string_view path, std::uint32_t hash) const;  // SharedText::hashOf(path)
  Node* find(const SharedText& path) const;
  Node* findParent(const SharedText& path) const;
  // What is in a node, by a component that begins with "/" and makes the path a long one.
  Node* findBelow(const Node* parent, std::string_view component) const;

  // REQUIRES: the path is `parent`'s, "/" and a component, and no node has it.
  // The parameters, if any, ascend in their places.
  Node* create(Node* parent, SharedText path, ParamRun params = {});
  // Takes a node and all below it out of the tree and destroys them; the root is only emptied. Linear, no
  // recursion, never fails.
  void remove(Node* node) noexcept;

  // The same in two steps, of which the first can be taken back: a node that was detached keeps all below it, and
  // remembers its place. attach puts it there again, once all that was done to the tree since has been undone,
  // newest first; destroy ends it for good. None fails.
  void detach(Node* node) noexcept;
  void attach(Node* node) noexcept;
  static void destroy(Node* node) noexcept;

  // Behind its siblings.
  void moveLast(Node* node) noexcept;

  // How often nodes were taken out: who holds on to nodes looks for them again when it has moved on.
  std::size_t removals() const { return m_removals; }

  // Which of the node's parameters; `none` when it has no such one. The name must come from intern().
  static constexpr std::size_t none = static_cast<std::size_t>(-1);
  std::size_t findParam(const Node* node, const SharedText& name) const;
  void appendParam(Node* node, const SharedText& name, SharedText&& value);
  void changeParam(Node* node, std::size_t param, SharedText value);
  void removeParam(Node* node, std::size_t param);
  // Takes back an appendParam, all that was done to the node since having been undone.
  void dropNewestParam(Node* node) noexcept;
  // Puts back what removeParam took, at its place, once all that was done to the node since has been undone.
  void restoreParam(Node* node, Param param);

  // The one shared text of this tree for a parameter name.
  SharedText intern(std::string_view text);
  // The same for the parameter that a text names next in this node: siblings are alike.
  SharedText internNext(const Node* node, std::string_view text);
  SharedText intern(const SharedText& text);  // quick for a text that came from here
  // The same without making one; empty when the tree never saw the text.
  SharedText findInterned(std::string_view text) const;

  std::size_t size() const { return m_size; }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    Node* node = nullptr;
  };
  struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    std::size_t operator()(const SharedText& text) const { return (*this)(std::string_view(text.str())); }
  };
  struct TextEqual {
    using is_transparent = void;
    static std::string_view view(std::string_view text) { return text; }
    static std::string_view view(const SharedText& text) { return text.str(); }
    template <class A, class B>
    bool operator()(const A& a, const B& b) const
    {
      return view(a) == view(b);
    }
  };

  template <class Accept>
  Node* findIf(std::uint32_t hash, Accept accept) const;
  void growIndex();
  void insertIndex(Node* node) noexcept;
  void eraseIndex(const Node* node) noexcept;
  static void link(Node* node) noexcept;
  template <class Visit>
  static void forEachFrom(Node* top, Visit visit) noexcept;
  static void unlink(Node* node) noexcept;
  void destroyBelow(Node* node) noexcept;
  static void makeParamIndex(Node* node);
  static void dropHoles(Node* node) noexcept;
  static void closeHoles(Node* node) noexcept;

  Node m_root;
  std::vector<Slot> m_slots;  // open addressing, a power of two, at most two thirds full
  std::size_t m_size = 0;     // nodes in the index
  std::size_t m_removals = 0;
  std::unordered_set<SharedText, TextHash, TextEqual> m_names;
  std::array<SharedText, 64> m_recentNames;  // interned texts, each at the place that its address gives
  // The node asked for last: texts come object by object.
  mutable SharedText m_lastPath;
  mutable Node* m_lastNode = nullptr;
};

}  // namespace orv::store
