#include "StoreImpl.h"

#include <algorithm>

namespace orv {

using store::Node;

// --------------------------------------------------------------------------------------------- changing the tree

template <class Make>
void KSLAPI::Impl::make(KSLChange change, Record record, Make make)
{
  if (store::isRulesPath(change.path.str()))
    rules.changed();
  if (record == Record::no)
    return make();
  if (changes.empty())
    m_pendingFrom = mark();
  const std::size_t told = changes.size();
  changes.add(std::move(change));
  try {
    make();
  } catch (...) {
    changes.truncate(told);
    throw;
  }
}

store::Node* KSLAPI::Impl::makeNode(Node* parent, SharedText path, Record record)
{
  Node* node = nullptr;
  make(KSLChange::createObject(path), record, [&] { node = journal.create(parent, std::move(path)); });
  return node;
}

store::Node* KSLAPI::Impl::ensureNode(const SharedText& path, Record record)
{
  if (Node* node = tree.find(path))
    return node;
  const std::string& text = path.str();
  std::vector<std::size_t> missing;  // lengths of the paths to make, innermost first
  Node* parent = nullptr;
  for (std::size_t length = text.size(); !parent;) {
    missing.push_back(length);
    const std::size_t slash = text.rfind('/', length - 1);
    length = slash == std::string::npos ? 0 : slash;
    parent = length == 0 ? tree.root() : tree.find(std::string_view(text).substr(0, length));
  }
  for (std::size_t i = missing.size(); i-- > 1;)
    parent = makeNode(parent, SharedText(std::string_view(text).substr(0, missing[i])), record);
  return makeNode(parent, path, record);
}

void KSLAPI::Impl::setParam(Node* node, const SharedText& name, std::string_view value, Record record)
{
  store::Param* param = tree.findParam(node, name);
  if (!param || !(param->value == value))
    assign(node, param, name, SharedText(value), record);
}

void KSLAPI::Impl::setParam(Node* node, const SharedText& name, const SharedText& value, Record record)
{
  store::Param* param = tree.findParam(node, name);
  if (!param || !(param->value == value))
    assign(node, param, name, value, record);
}

void KSLAPI::Impl::assign(Node* node, store::Param* param, const SharedText& name, SharedText value,
                          Record record)
{
  if (param)
    return make(KSLChange::changeParam(node->path, name, value, param->value), record,
                [&] { journal.changeParam(node, *param, std::move(value)); });
  make(KSLChange::createParam(node->path, name, value), record,
       [&] { journal.appendParam(node, name, std::move(value)); });
}

void KSLAPI::Impl::unsetParam(Node* node, const SharedText& givenName, Record record)
{
  const SharedText name = tree.intern(givenName);
  const store::Param* param = tree.findParam(node, name);
  if (!param)
    return;
  make(KSLChange::deleteParam(node->path, name, param->value), record,
       [&] { journal.removeParam(node, *param); });
}

namespace {

// Appends a node's parameters with places in (from, to), newest first.
void listParams(const Node* node, std::size_t& next, std::uint32_t from, KSLChangeList& out)
{
  while (next > 0 && node->params[next - 1].place >= from) {
    const store::Param& param = node->params[--next];
    if (!param.name.empty())
      out.add(KSLChange::deleteParam(node->path, param.name, param.value));
  }
}

}  // namespace

// The object before its contents, contents in reverse text order: the inverses, replayed newest first, then
// rebuild the subtree in its original order.
void KSLAPI::Impl::listDeletion(const Node* top, KSLChangeList& out)
{
  struct Level {
    const Node* node;
    const Node* child;   // still to be listed, with those before it
    std::size_t params;  // so many of the parameters are still to be listed
  };
  std::vector<Level> levels;
  const auto open = [&](const Node* node) {
    out.add(KSLChange::deleteObject(node->path));
    levels.push_back({node, node->lastChild, node->params.size()});
  };
  open(top);
  while (!levels.empty()) {
    Level& level = levels.back();
    const Node* child = level.child;
    listParams(level.node, level.params, child ? child->place : 0, out);
    if (!child) {
      levels.pop_back();
      continue;
    }
    level.child = child->previous;
    open(child);
  }
}

void KSLAPI::Impl::removeNode(Node* node, Record record)
{
  if (store::isRulesPath(node->path.str()))
    rules.changed();
  if (record == Record::no)
    return journal.remove(node);
  if (changes.empty())
    m_pendingFrom = mark();
  const std::size_t told = changes.size();
  try {
    listDeletion(node, changes);
    journal.remove(node);
  } catch (...) {
    changes.truncate(told);
    throw;
  }
}

// --------------------------------------------------------------------------------------------------- going back

void KSLAPI::Impl::undoTo(std::uint64_t mark)
{
  const std::size_t size = mark > m_confirmed ? static_cast<std::size_t>(mark - m_confirmed) : 0;
  if (journal.size() <= size)
    return;  // what is known of the rules stays true
  rules.changed();
  journal.undo(size);
}

void KSLAPI::Impl::confirmTo(std::uint64_t mark)
{
  if (mark <= m_confirmed)
    return;
  const std::size_t count = std::min(static_cast<std::size_t>(mark - m_confirmed), journal.size());
  journal.confirm(count);
  m_confirmed += count;
}

}  // namespace orv
