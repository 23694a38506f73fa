#include "StoreImpl.h"

#include <algorithm>

namespace orv {

using store::Node;

// --------------------------------------------------------------------------------------------- changing the tree

// What `group` makes is told, and taken out again when it cannot be made.
template <class Group, class Make>
void KSLAPI::Impl::make(const Node* node, Record record, Group group, Make make)
{
  if (store::isRulesPath(node->path))
    rules.changed();
  if (record == Record::no)
    return make();
  if (changes.empty())
    m_pendingFrom = mark();
  const std::size_t told = changes.size();
  try {
    group();
    make();
  } catch (...) {
    changes.truncate(told);
    throw;
  }
}

store::Node* KSLAPI::Impl::makeNode(Node* parent, SharedText path, Record record, store::ParamRun params)
{
  if (store::isRulesPath(path))
    rules.changed();
  const bool isFirst = changes.empty();
  const std::uint64_t before = mark();
  Node* const node = journal.create(parent, std::move(path), std::move(params));
  if (record == Record::no)
    return node;
  try {
    ChangeGroups::add(
        changes,
        ChangeGroup(node->path, {.run = node->params, .ofNode = true, .object = ChangeGroup::Object::first}));
  } catch (...) {
    journal.undo(static_cast<std::size_t>(before - m_confirmed));
    throw;
  }
  if (isFirst)
    m_pendingFrom = before;
  return node;
}

store::Node* KSLAPI::Impl::ensureNode(const SharedText& path, Record record)
{
  if (Node* node = tree.find(path))
    return node;
  std::vector<SharedText> missing;  // above it, innermost first
  Node* parent = tree.findParent(path);
  for (SharedText at = path; !parent; parent = tree.findParent(at)) {
    at = at.parent();
    missing.push_back(at);
  }
  for (std::size_t i = missing.size(); i-- > 0;)
    parent = makeNode(parent, missing[i], record);
  return makeNode(parent, path, record);
}

void KSLAPI::Impl::setParam(Node* node, const SharedText& name, std::string_view value, store::Values& values,
                            Record record)
{
  const std::size_t param = tree.findParam(node, name);
  if (param == store::Tree::none || !(node->params.value(param) == value))
    assign(node, param, name, values.share(name, value), record);
}

void KSLAPI::Impl::setParam(Node* node, const SharedText& name, const SharedText& value, Record record)
{
  const std::size_t param = tree.findParam(node, name);
  if (param == store::Tree::none || !(node->params.value(param) == value))
    assign(node, param, name, SharedText(value), record);
}

void KSLAPI::Impl::assign(Node* node, std::size_t param, const SharedText& name, SharedText&& value,
                          Record record)
{
  if (param == store::Tree::none)
    return append(node, name, std::move(value), record);
  make(
      node, record,
      [&] {
        ChangeGroups::add(changes,
                          {node->path, ChangeGroup::Changed{name, value, node->params.value(param)}});
      },
      [&] { journal.changeParam(node, param, std::move(value)); });
}

// Told when it is there: it joins the group of the parameters before it, and shares their run.
void KSLAPI::Impl::append(Node* node, const SharedText& name, SharedText&& value, Record record)
{
  if (store::isRulesPath(node->path))
    rules.changed();
  const bool isFirst = changes.empty();
  const std::uint64_t before = mark();
  journal.appendParam(node, name, std::move(value));
  if (record == Record::no)
    return;
  try {
    if (node->paramIndex)
      changes.add(KSLChange::createParam(node->path, name, node->params.value(node->params.size() - 1)));
    else
      ChangeGroups::addNewest(changes, node->path, node->params);
  } catch (...) {
    journal.undo(static_cast<std::size_t>(before - m_confirmed));
    throw;
  }
  if (isFirst)
    m_pendingFrom = before;
}

void KSLAPI::Impl::unsetParam(Node* node, const SharedText& givenName, Record record)
{
  const SharedText name = tree.intern(givenName);
  const std::size_t param = tree.findParam(node, name);
  if (param == store::Tree::none)
    return;
  make(
      node, record, [&] { changes.add(KSLChange::deleteParam(node->path, name, node->params.value(param))); },
      [&] { journal.removeParam(node, param); });
}

namespace {

// One node in the list of a deletion: itself, its parameters and its children, in reverse text order.
struct ListedNode {
  const Node* node;
  const Node* child;      // still to be listed, with those before it
  std::size_t params;     // so many of the parameters are still to be listed
  bool isListed = false;  // the object itself
};

// Of its parameters those behind the next child; the object itself before all of them.
void listNext(ListedNode& level, KSLChangeList& out)
{
  const Node& node = *level.node;
  const std::uint32_t behind = level.child ? level.child->place : 0;
  std::size_t from = level.params;
  while (from > 0 && node.params.place(from - 1) >= behind)
    --from;
  ChangeGroup::Listed listed{
      .run = {},
      .from = static_cast<std::uint32_t>(from),
      .creates = false,
      .descending = true,
      .ofNode = true,
      .object = level.isListed ? ChangeGroup::Object::none : ChangeGroup::Object::first};
  const bool isShared = from < level.params && !node.paramIndex;
  if (isShared) {
    listed.run = node.params;
    listed.run.truncate(level.params);
  } else {
    listed.from = 0;
  }
  if (isShared || !level.isListed)
    ChangeGroups::add(out, ChangeGroup(node.path, std::move(listed)));
  for (std::size_t i = level.params; !isShared && i-- > from;) {
    if (!node.params.name(i).empty())
      out.add(KSLChange::deleteParam(node.path, node.params.name(i), node.params.value(i)));
  }
  level.isListed = true;
  level.params = from;
}

}  // namespace

// The object before its contents, contents in reverse text order: the inverses, replayed newest first, then
// rebuild the subtree in its original order.
void KSLAPI::Impl::listDeletion(const Node* top, KSLChangeList& out)
{
  std::vector<ListedNode> levels{{top, top->lastChild, top->params.size()}};
  while (!levels.empty()) {
    ListedNode& level = levels.back();
    listNext(level, out);
    const Node* const child = level.child;
    if (child) {
      level.child = child->previous;
      levels.push_back({child, child->lastChild, child->params.size()});
    } else {
      levels.pop_back();
    }
  }
}

void KSLAPI::Impl::removeNode(Node* node, Record record)
{
  make(
      node, record, [&] { listDeletion(node, changes); }, [&] { journal.remove(node); });
}

// -------------------------------------------------------------------------------------------------------- replay

void KSLAPI::Impl::apply(const ChangeGroup& group, Record record)
{
  if (const ChangeGroup::Changed* const one = group.changed())
    return setParam(ensureNode(group.path(), record), tree.intern(one->name), one->value, record);
  if (putBack(group, record) || takeOut(group, record))
    return;
  for (std::size_t i = 0; i < group.size(); ++i)
    apply(group[i], record);
}

void KSLAPI::Impl::apply(const KSLChange& change, Record record)
{
  switch (change.kind) {
    case KSLChange::Kind::createObject:
      ensureNode(change.path, record);
      return;
    case KSLChange::Kind::deleteObject:
      if (Node* node = tree.find(change.path); node && node != tree.root())
        removeNode(node, record);
      return;
    case KSLChange::Kind::createParam:
    case KSLChange::Kind::changeParam:
      setParam(ensureNode(change.path, record), tree.intern(change.name), change.value, record);
      return;
    case KSLChange::Kind::deleteParam:
      if (Node* node = tree.find(change.path))
        unsetParam(node, change.name, record);
      return;
  }
}

bool KSLAPI::Impl::hasInterned(const store::ParamRun& params)
{
  for (std::size_t i = 0; i < params.size(); ++i) {
    if (!tree.intern(params.name(i)).same(params.name(i)))
      return false;
  }
  return true;
}

namespace {

bool hasSameNames(const store::ParamRun& a, const store::ParamRun& b)
{
  if (a.size() != b.size())
    return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!a.name(i).same(b.name(i)))
      return false;
  }
  return true;
}

}  // namespace

// An object with the parameters that it starts with.
bool KSLAPI::Impl::putBack(const ChangeGroup& group, Record record)
{
  const ChangeGroup::Listed* const all = group.listed();
  if (!all || !all->creates || !all->ofNode || all->descending || all->from > 0 || all->run.empty())
    return false;
  if (tree.find(group.path()) || !hasInterned(all->run))
    return false;
  Node* at = tree.findParent(group.path());
  if (!at)
    at = ensureNode(group.path().parent(), record);
  makeNode(at, group.path(), record, all->run);
  return true;
}

// An object that holds just the parameters of the group.
bool KSLAPI::Impl::takeOut(const ChangeGroup& group, Record record)
{
  const ChangeGroup::Listed* const all = group.listed();
  if (!all || all->creates || !all->descending || all->from > 0 || all->object != ChangeGroup::Object::last)
    return false;
  Node* const node = tree.find(group.path());
  if (!node || node == tree.root() || node->firstChild || node->paramIndex
      || !hasSameNames(node->params, all->run))
    return false;
  ChangeGroup::Listed listed{.run = node->params,
                             .creates = false,
                             .descending = true,
                             .ofNode = true,
                             .object = ChangeGroup::Object::last};
  make(
      node, record, [&] { ChangeGroups::add(changes, ChangeGroup(node->path, std::move(listed))); },
      [&] { journal.remove(node); });
  return true;
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

// --------------------------------------------------------------------------------------------------- validation

// Whoever is warned may submit texts, which are validated meanwhile.
void KSLAPI::Impl::validate(const KSLChangeList& list)
{
  std::unique_ptr<store::Validation> known = std::move(validation);
  if (!known || !known->holds())
    known = std::make_unique<store::Validation>(rules, validator);
  known->check(list);
  if (refusesRules)
    validation = std::move(known);
}

}  // namespace orv
