#include "StoreJournal.h"

#include <algorithm>

namespace orv::store {

void Journal::push(Entry entry)
{
  m_entries.push_back(std::move(entry));
  m_size += m_entries.back().size();
}

void Journal::pop() noexcept
{
  m_size -= m_entries.back().size();
  m_entries.pop_back();
}

Node* Journal::create(Node* parent, SharedText path, ParamRun params)
{
  push({.node = nullptr, .name = {}, .value = {}, .kind = Kind::create});
  try {
    return m_entries.back().node = m_tree.create(parent, std::move(path), std::move(params));
  } catch (...) {
    pop();
    throw;
  }
}

void Journal::appendParam(Node* node, const SharedText& name, SharedText&& value)
{
  const auto goesOn = [node](const Entry& entry) {
    return entry.node == node && (entry.kind == Kind::create || entry.kind == Kind::appendParams);
  };
  if (m_entries.empty() || !goesOn(m_entries.back()))
    push({.node = node, .name = {}, .value = {}, .kind = Kind::appendParams});
  Entry& entry = m_entries.back();
  try {
    m_tree.appendParam(node, name, std::move(value));
  } catch (...) {
    if (entry.size() == 0)
      pop();
    throw;
  }
  ++entry.number;
  ++m_size;
}

void Journal::changeParam(Node* node, std::size_t param, SharedText value)
{
  const ParamRun& params = node->params;
  push({.node = node, .name = params.name(param), .value = params.value(param), .kind = Kind::changeParam});
  try {
    m_tree.changeParam(node, param, std::move(value));
  } catch (...) {
    pop();
    throw;
  }
}

void Journal::removeParam(Node* node, std::size_t param)
{
  const ParamRun& params = node->params;
  push({.node = node,
        .name = params.name(param),
        .value = params.value(param),
        .number = params.place(param),
        .kind = Kind::removeParam});
  try {
    m_tree.removeParam(node, param);
  } catch (...) {
    pop();
    throw;
  }
}

void Journal::remove(Node* node)
{
  push({.node = node, .name = {}, .value = {}, .kind = Kind::remove});
  m_tree.detach(node);
}

void Journal::undo(std::size_t size)
{
  while (m_size > size)
    revertNewest();
}

void Journal::revertNewest()
{
  Entry& entry = m_entries.back();
  switch (entry.kind) {
    case Kind::create:
    case Kind::appendParams:
      if (entry.number > 0) {
        m_tree.dropNewestParam(entry.node);
        --m_size;
        if (--entry.number > 0 || entry.kind == Kind::create)
          return;
      } else {
        m_tree.remove(entry.node);
      }
      break;
    case Kind::changeParam:
      if (const std::size_t param = m_tree.findParam(entry.node, entry.name); param != Tree::none)
        m_tree.changeParam(entry.node, param, entry.value);
      break;
    case Kind::removeParam:
      m_tree.restoreParam(entry.node, {entry.name, entry.value, entry.number});
      break;
    case Kind::remove:
      m_tree.attach(entry.node);
      break;
  }
  pop();
}

void Journal::confirm(std::size_t count) noexcept
{
  m_size -= count;
  while (count > 0) {
    Entry& entry = m_entries.front();
    if (entry.size() > count) {  // the mark stands within it
      entry.number -= static_cast<std::uint32_t>(count - (entry.kind == Kind::create ? 1 : 0));
      entry.kind = Kind::appendParams;
      return;
    }
    count -= entry.size();
    if (entry.kind == Kind::remove)
      Tree::destroy(entry.node);
    m_entries.pop_front();
  }
}

}  // namespace orv::store
