// What a skilled engineer would write by hand for one of the jobs, without the rest of the library: the texts
// scanned by hand into a map of maps, and into flat arrays of views with one hash index.
#pragma once

#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {

// ------------------------------------------------------------------------------------------------------- scanning

inline std::string_view stripped(std::string_view text)
{
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos)
    return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Calls sink.begin(type, name), sink.param(name, value) and sink.end().
template <class Sink>
void scanText(std::string_view text, Sink& sink)
{
  while (!text.empty()) {
    const std::size_t stop = std::min(text.find('\n'), text.size());
    const std::string_view line = stripped(text.substr(0, stop));
    text.remove_prefix(std::min(stop + 1, text.size()));
    if (line.empty())
      continue;
    if (line == "END") {
      sink.end();
      continue;
    }
    const std::size_t mark = line.find_first_of(":=");
    if (mark == std::string_view::npos)
      throw std::runtime_error("syntax");
    const std::string_view left = stripped(line.substr(0, mark));
    const std::string_view right = stripped(line.substr(mark + 1));
    if (line[mark] == ':')
      sink.begin(left, right);
    else
      sink.param(left, right);
  }
}

// ---------------------------------------------------------------------------------------------------- map of maps

class MapStore {
 public:
  void load(std::string_view text)
  {
    m_step.clear();
    Loader loader{*this, {}, {}, nullptr};
    scanText(text, loader);
  }

  // Sets parameters that are there.
  void edit(std::string_view text)
  {
    m_step.clear();
    Editor editor{*this, {}, {}};
    scanText(text, editor);
  }

  void undo()
  {
    for (auto change = m_step.rbegin(); change != m_step.rend(); ++change)
      change->name.empty() ? void(change->node = m_objects.extract(change->path)) : swapValue(*change);
  }

  void redo()
  {
    for (Change& change : m_step)
      change.name.empty() ? void(m_objects.insert(std::move(change.node))) : swapValue(change);
  }

  // Everything at and below a path: no name of the model holds a character below "0" after its "/".
  void erase(const std::string& path)
  {
    m_objects.erase(m_objects.find(path), m_objects.lower_bound(path + "0"));
  }

  std::string get(const std::string& path, const std::string& name) const
  {
    return m_objects.at(path).at(name);
  }
  std::size_t size() const { return m_objects.size(); }

 private:
  using Params = std::map<std::string, std::string, std::less<>>;
  using Objects = std::map<std::string, Params>;
  struct Change {  // without a name: the object was made
    std::string path;
    std::string name;
    std::string value;
    Objects::node_type node;
  };
  struct Loader {
    MapStore& store;
    std::string path;
    std::vector<std::size_t> open;
    Params* params;
    void begin(std::string_view type, std::string_view name)
    {
      open.push_back(path.size());
      path.append("/").append(type).append(":").append(name);
      params = &store.m_objects[path];
      store.m_step.push_back({path, {}, {}, {}});
    }
    void param(std::string_view name, std::string_view value) { (*params)[std::string(name)] = value; }
    void end()
    {
      path.resize(open.back());
      open.pop_back();
    }
  };
  struct Editor {
    MapStore& store;
    std::string path;
    std::vector<std::size_t> open;
    void begin(std::string_view type, std::string_view name)
    {
      open.push_back(path.size());
      path.append("/").append(type).append(":").append(name);
    }
    void param(std::string_view name, std::string_view value)
    {
      const auto object = store.m_objects.find(path);
      if (object == store.m_objects.end())
        throw std::runtime_error("no object");
      const auto held = object->second.find(name);
      if (held == object->second.end())
        throw std::runtime_error("no parameter");
      store.m_step.push_back({path, held->first, std::exchange(held->second, std::string(value)), {}});
    }
    void end()
    {
      path.resize(open.back());
      open.pop_back();
    }
  };
  void swapValue(Change& change) { std::swap(m_objects.at(change.path).at(change.name), change.value); }

  Objects m_objects;
  std::vector<Change> m_step;
};

// ----------------------------------------------------------------------------------------------- flat, with views

class FlatStore {
 public:
  FlatStore() : m_nodes(1), m_index(1024, 0) {}

  void load(std::string_view text)
  {
    m_texts.emplace_back(text);
    Loader loader{*this, 0};
    scanText(m_texts.back(), loader);
  }

  // Sets parameters that are there.
  void edit(std::string_view text)
  {
    m_changes.clear();
    m_made.clear();
    Editor editor{*this, 0};
    scanText(m_texts.emplace_back(text), editor);
  }

  void undo()
  {
    for (auto change = m_changes.rbegin(); change != m_changes.rend(); ++change)
      std::swap(m_params[change->first].value, change->second);
    for (auto node = m_made.rbegin(); node != m_made.rend(); ++node) {
      removeIndex(*node);
      unlink(*node);
    }
  }

  void redo()
  {
    for (std::uint32_t node : m_made) {
      insertIndex(node);
      link(node);
    }
    for (auto& [at, value] : m_changes)
      std::swap(m_params[at].value, value);
  }

  void erase(const std::string& path)
  {
    const std::uint32_t top = nodeOf(path);
    std::vector<std::uint32_t> todo{top};
    while (!todo.empty()) {
      const std::uint32_t node = todo.back();
      todo.pop_back();
      for (std::uint32_t child = m_nodes[node].child; child; child = m_nodes[child].next)
        todo.push_back(child);
      removeIndex(node);
    }
    unlink(top);
  }

  std::string get(const std::string& path, const std::string& name) const
  {
    return std::string(m_params[paramOf(nodeOf(path), name)].value);
  }
  std::size_t size() const { return m_count; }

 private:
  struct Node {
    std::string_view type, name;
    std::uint32_t parent = 0, child = 0, last = 0, next = 0, previous = 0, first = 0, params = 0;
  };
  struct Param {
    std::string_view name, value;
  };
  struct Loader {
    FlatStore& store;
    std::uint32_t at;
    void begin(std::string_view type, std::string_view name)
    {
      const auto node = static_cast<std::uint32_t>(store.m_nodes.size());
      store.m_nodes.push_back(
          {type, name, at, 0, 0, 0, 0, static_cast<std::uint32_t>(store.m_params.size()), 0});
      store.insertIndex(node);
      store.link(node);
      store.m_made.push_back(node);
      at = node;
    }
    void param(std::string_view name, std::string_view value)
    {
      store.m_params.push_back({name, value});
      ++store.m_nodes[at].params;
    }
    void end() { at = store.m_nodes[at].parent; }
  };
  struct Editor {
    FlatStore& store;
    std::uint32_t at;
    void begin(std::string_view type, std::string_view name)
    {
      at = static_cast<std::uint32_t>(store.m_index[store.slotOf(at, type, name)]);
    }
    void param(std::string_view name, std::string_view value)
    {
      const std::uint32_t param = store.paramOf(at, name);
      store.m_changes.emplace_back(param, std::exchange(store.m_params[param].value, value));
    }
    void end() { at = store.m_nodes[at].parent; }
  };

  static std::size_t hashOf(std::uint32_t parent, std::string_view type, std::string_view name)
  {
    const std::hash<std::string_view> hash;
    return hash(name) * 31 + hash(type) + parent * 0x9e3779b97f4a7c15u;
  }
  std::size_t mask() const { return m_index.size() - 1; }
  void insertIndex(std::uint32_t node)
  {
    if (++m_count * 2 > m_index.size()) {
      std::vector<std::int64_t> old(m_index.size() * 2, 0);
      old.swap(m_index);
      for (std::int64_t held : old) {
        if (held > 0)
          place(static_cast<std::uint32_t>(held));
      }
    }
    place(node);
  }
  void place(std::uint32_t node)
  {
    std::size_t at = hashOf(m_nodes[node].parent, m_nodes[node].type, m_nodes[node].name) & mask();
    while (m_index[at] > 0)
      at = (at + 1) & mask();
    m_index[at] = node;
  }
  std::size_t slotOf(std::uint32_t parent, std::string_view type, std::string_view name) const
  {
    for (std::size_t at = hashOf(parent, type, name) & mask(); m_index[at]; at = (at + 1) & mask()) {
      if (m_index[at] < 0)
        continue;
      const Node& node = m_nodes[static_cast<std::size_t>(m_index[at])];
      if (node.parent == parent && node.name == name && node.type == type)
        return at;
    }
    throw std::runtime_error("not found");
  }
  void removeIndex(std::uint32_t node)
  {
    m_index[slotOf(m_nodes[node].parent, m_nodes[node].type, m_nodes[node].name)] = -1;
    --m_count;
  }
  void link(std::uint32_t node)
  {
    Node& parent = m_nodes[m_nodes[node].parent];
    m_nodes[node].previous = parent.last;
    m_nodes[node].next = 0;
    (parent.last ? m_nodes[parent.last].next : parent.child) = node;
    parent.last = node;
  }
  void unlink(std::uint32_t at)
  {
    const Node& node = m_nodes[at];
    Node& parent = m_nodes[node.parent];
    (node.previous ? m_nodes[node.previous].next : parent.child) = node.next;
    (node.next ? m_nodes[node.next].previous : parent.last) = node.previous;
  }
  std::uint32_t nodeOf(std::string_view path) const
  {
    std::uint32_t node = 0;
    while (!path.empty()) {
      path.remove_prefix(1);
      const std::string_view part = path.substr(0, path.find('/'));
      const std::size_t colon = part.find(':');
      node = static_cast<std::uint32_t>(m_index[slotOf(node, part.substr(0, colon), part.substr(colon + 1))]);
      path.remove_prefix(part.size());
    }
    return node;
  }
  std::uint32_t paramOf(std::uint32_t at, std::string_view name) const
  {
    const Node& node = m_nodes[at];
    for (std::uint32_t param = node.first; param < node.first + node.params; ++param) {
      if (m_params[param].name == name)
        return param;
    }
    throw std::runtime_error("no parameter");
  }

  std::deque<std::string> m_texts;
  std::vector<Node> m_nodes;
  std::vector<Param> m_params;
  std::vector<std::int64_t> m_index;  // open addressing; 0 is free, -1 was erased
  std::vector<std::uint32_t> m_made;
  std::vector<std::pair<std::uint32_t, std::string_view>> m_changes;
  std::size_t m_count = 0;
};

}  // namespace bench
