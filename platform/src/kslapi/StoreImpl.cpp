#include "StoreImpl.h"

#include <algorithm>

namespace orv {

using store::Node;

// --------------------------------------------------------------------------------------------- changing the tree

store::Node* KSLAPI::Impl::makeNode(Node* parent, SharedText path, Record record)
{
  begin(record);
  note(KSLChange::createObject(path));
  Node* node = tree.create(parent, path);
  if (store::isRulesPath(path.str()))
    rules.changed();
  tell(KSLChange::createObject(std::move(path)), record);
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
  const bool inRules = store::isRulesPath(node->path.str());
  KSLChange change = param ? KSLChange::changeParam(node->path, name, value, param->value)
                           : KSLChange::createParam(node->path, name, value);
  begin(record);
  note(change);
  if (param)
    param->value = std::move(value);
  else
    tree.appendParam(node, name, std::move(value));
  if (inRules)
    rules.changed();
  tell(std::move(change), record);
}

void KSLAPI::Impl::unsetParam(Node* node, const SharedText& givenName, Record record)
{
  const SharedText name = tree.intern(givenName);
  const store::Param* param = tree.findParam(node, name);
  if (!param)
    return;
  KSLChange change = KSLChange::deleteParam(node->path, name, param->value);
  begin(record);
  note(change);
  tell(std::move(change), record);
  tree.removeParam(node, name);
  if (store::isRulesPath(node->path.str()))
    rules.changed();
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
  begin(record);
  const std::size_t noted = m_journal.size();
  const std::size_t told = changes.size();
  try {
    listDeletion(node, m_journal);
    for (std::size_t i = noted; i < m_journal.size(); ++i)
      tell(m_journal[i], record);
  } catch (...) {
    m_journal.truncate(noted);
    changes.truncate(told);
    throw;
  }
  if (store::isRulesPath(node->path.str()))
    rules.changed();
  tree.remove(node);
}

// --------------------------------------------------------------------------------------------------- going back

void KSLAPI::Impl::revert(const KSLChange& change)
{
  // Making a change notes it; the note goes again when undoTo cuts the journal.
  switch (change.kind) {
    case KSLChange::Kind::createObject:
      if (Node* node = tree.find(change.path)) {
        if (store::isRulesPath(change.path.str()))
          rules.changed();
        tree.remove(node);
      }
      return;
    case KSLChange::Kind::deleteObject:
      ensureNode(change.path, Record::no);
      return;
    case KSLChange::Kind::createParam:
      if (Node* node = tree.find(change.path))
        tree.removeParam(node, tree.intern(change.name));
      return;
    case KSLChange::Kind::deleteParam:
      setParam(ensureNode(change.path, Record::no), tree.intern(change.name), change.value, Record::no);
      return;
    case KSLChange::Kind::changeParam:
      if (Node* node = tree.find(change.path))
        setParam(node, tree.intern(change.name), change.oldValue, Record::no);
      return;
  }
}

void KSLAPI::Impl::undoTo(std::uint64_t mark)
{
  const std::size_t floor = mark > m_confirmed ? static_cast<std::size_t>(mark - m_confirmed) : 0;
  while (m_journal.size() > floor) {
    const std::size_t newest = m_journal.size() - 1;
    const KSLChange change = m_journal[newest];
    revert(change);
    m_journal.truncate(newest);
  }
  rules.changed();
}

void KSLAPI::Impl::confirmTo(std::uint64_t mark)
{
  if (mark <= m_confirmed)
    return;
  const std::size_t count = std::min(static_cast<std::size_t>(mark - m_confirmed), m_journal.size());
  m_journal.dropFront(count);
  m_confirmed += count;
}

}  // namespace orv
