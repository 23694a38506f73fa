#include "StoreJournal.h"

namespace orv::store {

Node* Journal::create(Node* parent, SharedText path)
{
  m_entries.push_back({.node = nullptr, .name = {}, .value = {}, .kind = Kind::create});
  try {
    return m_entries.back().node = m_tree.create(parent, std::move(path));
  } catch (...) {
    m_entries.pop_back();
    throw;
  }
}

void Journal::appendParam(Node* node, const SharedText& name, SharedText value)
{
  m_entries.push_back({.node = node, .name = name, .value = {}, .kind = Kind::appendParam});
  try {
    m_tree.appendParam(node, name, std::move(value));
  } catch (...) {
    m_entries.pop_back();
    throw;
  }
}

void Journal::changeParam(Node* node, Param& param, SharedText value)
{
  m_entries.push_back({.node = node, .name = param.name, .value = param.value, .kind = Kind::changeParam});
  param.value = std::move(value);
}

void Journal::removeParam(Node* node, const Param& param)
{
  const SharedText name = param.name;
  m_entries.push_back(
      {.node = node, .name = name, .value = param.value, .place = param.place, .kind = Kind::removeParam});
  m_tree.removeParam(node, name);
}

void Journal::remove(Node* node)
{
  m_entries.push_back({.node = node, .name = {}, .value = {}, .kind = Kind::remove});
  m_tree.detach(node);
}

void Journal::undo(std::size_t size)
{
  while (m_entries.size() > size) {
    revert(m_entries.back());
    m_entries.pop_back();
  }
}

void Journal::revert(Entry& entry)
{
  switch (entry.kind) {
    case Kind::create:
      m_tree.remove(entry.node);
      return;
    case Kind::appendParam:
      m_tree.removeParam(entry.node, entry.name);
      return;
    case Kind::changeParam:
      if (Param* param = m_tree.findParam(entry.node, entry.name))
        param->value = entry.value;
      return;
    case Kind::removeParam:
      m_tree.restoreParam(entry.node, {entry.name, entry.value, entry.place});
      return;
    case Kind::remove:
      m_tree.attach(entry.node);
      return;
  }
}

void Journal::confirm(std::size_t count) noexcept
{
  for (; count > 0; --count) {
    if (m_entries.front().kind == Kind::remove)
      Tree::destroy(m_entries.front().node);
    m_entries.pop_front();
  }
}

}  // namespace orv::store
