#include "command/HistoryStack.h"

#include "platform/internal/ChangeGroup.h"
#include "platform/internal/ContextLocal.h"
#include "database/UndoneObjects.h"

#include <deque>
#include <utility>
#include <variant>
#include <vector>

namespace orv {

namespace {

constinit ContextLocal<HistoryStack::ListId> theLastId;

}  // namespace

struct HistoryStack::Steps {
  using List = std::shared_ptr<KSLChangeList>;
  struct Step {
    Step(List list, ListId number) : changes(std::move(list)), id(number), isShown(false) {}

    std::variant<List, ChangeGroup> changes;
    ListId id : 63;
    ListId isShown : 1;  // somebody may hold on to its list

    const List* list() const { return std::get_if<List>(&changes); }
    bool isEmpty() const { return list() && (*list())->empty(); }
  };

  static constexpr std::size_t usualStep =
      1000;  // changes: the list of a larger one has more memory than the next needs

  // What is kept with a step; few have any.
  struct Kept {
    ListId id;
    UndoneObjects objects;
  };

  std::deque<Step> all;
  std::vector<Kept> kept;  // in the order of their steps
  List spare;              // an empty list that nobody holds, for the next step

  // Of a single group in a list that nobody else holds, the group is kept.
  void pack(Step& step)
  {
    const List* const held = step.list();
    if (!held || step.isShown || held->use_count() > 1)
      return;
    const ChangeGroup* const only = ChangeGroups::only(**held);
    if (!only)
      return;
    ChangeGroup group = *only;
    keep(std::move(step));
    step.changes = std::move(group);
  }
  void keep(Step&& gone) noexcept
  {
    List* const held = std::get_if<List>(&gone.changes);
    if (!held || gone.isShown || held->use_count() > 1 || (*held)->size() > usualStep)
      return;
    (*held)->clear();
    spare = std::move(*held);
  }
  bool keepsWithTop() const { return !kept.empty() && kept.back().id == all.back().id; }
  void pop() noexcept
  {
    if (keepsWithTop())
      kept.pop_back();
    keep(std::move(all.back()));
    all.pop_back();
  }
};

HistoryStack::HistoryStack() : m_steps(std::make_unique<Steps>()) {}
HistoryStack::~HistoryStack() = default;

KSLChangeList* HistoryStack::writeableTop()
{
  return shareOpen().get();
}

std::shared_ptr<KSLChangeList> HistoryStack::shareOpen()
{
  if (m_delimited) {
    ListId& lastId = *theLastId;
    Steps::List list = std::exchange(m_steps->spare, nullptr);
    if (!list)
      list = std::make_shared<KSLChangeList>(m_listName, nullptr);
    list->setModifier(m_modifier);
    m_steps->all.emplace_back(std::move(list), lastId + 1);
    ++lastId;
    m_delimited = false;
  }
  return *m_steps->all.back().list();
}

std::shared_ptr<KSLChangeList> HistoryStack::shareTop() const
{
  if (m_steps->all.empty())
    return nullptr;
  Steps::Step& step = m_steps->all.back();
  if (const ChangeGroup* const group = std::get_if<ChangeGroup>(&step.changes)) {
    Steps::List list = std::make_shared<KSLChangeList>(m_listName, nullptr);
    ChangeGroups::add(*list, *group);
    list->setModifier(m_modifier);
    step.changes = std::move(list);
  }
  step.isShown = 1;
  return *step.list();
}

const KSLChangeList* HistoryStack::top() const
{
  return shareTop().get();
}

HistoryStack::ListId HistoryStack::topId() const
{
  return m_steps->all.empty() ? 0 : m_steps->all.back().id;
}

bool HistoryStack::touches(std::size_t step, const std::function<bool(const SharedText& path)>& accepts) const
{
  if (step >= size())
    return false;
  const Steps::Step& asked = m_steps->all[step];
  const Steps::List* const list = asked.list();
  if (!list)
    return accepts(std::get_if<ChangeGroup>(&asked.changes)->path());
  ChangeGroups::Cursor cursor(**list);
  for (std::size_t i = 0; i < (*list)->size();) {
    const ChangeGroup& group = *cursor.find(i);
    if (accepts(group.path()))
      return true;
    i += group.size();
  }
  return false;
}

bool HistoryStack::isTopEmpty() const
{
  return m_steps->all.empty() || m_steps->all.back().isEmpty();
}

void HistoryStack::takeTopBack(KSLAPIUpdateProcessor& store) const
{
  const Steps::Step& step = m_steps->all.back();
  if (const Steps::List* const list = step.list())
    store.takeBack(**list);
  else
    store.takeBack(*std::get_if<ChangeGroup>(&step.changes));
}

void HistoryStack::keepWithTop(UndoneObjects objects)
{
  if (objects.empty() || m_steps->all.empty())
    return;
  if (m_steps->keepsWithTop())
    m_steps->kept.back().objects.append(std::move(objects));
  else
    m_steps->kept.push_back({m_steps->all.back().id, std::move(objects)});
}

UndoneObjects HistoryStack::takeKept()
{
  UndoneObjects taken;
  if (m_steps->keepsWithTop()) {
    taken = std::move(m_steps->kept.back().objects);
    m_steps->kept.pop_back();
  }
  return taken;
}

HistoryStack::ListId HistoryStack::newestId()
{
  return *theLastId;
}

std::size_t HistoryStack::size() const
{
  return m_steps->all.size();
}

void HistoryStack::delimit()
{
  if (m_delimited)
    return;
  m_delimited = true;
  if (m_steps->all.empty())
    return;
  if (m_steps->all.back().isEmpty())
    m_steps->pop();
  else
    m_steps->pack(m_steps->all.back());
}

void HistoryStack::pop()
{
  if (!m_steps->all.empty())
    m_steps->pop();
  m_delimited = true;  // those below it are
}

void HistoryStack::clear()
{
  m_steps->all.clear();
  m_steps->kept.clear();
  m_delimited = true;
}

void HistoryStack::dropNewerThan(ListId id)
{
  while (!m_steps->all.empty() && m_steps->all.back().id > id)
    m_steps->pop();
  delimit();
}

void HistoryStack::registerChangeListModifier(ChangeListModifierIF* modifier)
{
  m_modifier = modifier;
  for (Steps::Step& step : m_steps->all) {
    if (const Steps::List* const list = step.list())
      (*list)->setModifier(modifier);
  }
}

}  // namespace orv
