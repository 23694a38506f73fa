#include "command/HistoryStack.h"

#include "platform/internal/ContextLocal.h"

namespace orv {

namespace {

constinit ContextLocal<HistoryStack::ListId> theLastId;

}  // namespace

KSLChangeList* HistoryStack::writeableTop()
{
  if (m_delimited) {
    ListId& lastId = *theLastId;
    m_lists.push_back({std::make_shared<KSLChangeList>(m_listName, m_modifier), lastId + 1});
    ++lastId;
    m_delimited = false;
  }
  return m_lists.back().list.get();
}

std::shared_ptr<KSLChangeList> HistoryStack::shareTop() const
{
  return m_lists.empty() ? nullptr : m_lists.back().list;
}

const KSLChangeList* HistoryStack::top() const
{
  return m_lists.empty() ? nullptr : m_lists.back().list.get();
}

HistoryStack::ListId HistoryStack::topId() const
{
  return m_lists.empty() ? 0 : m_lists.back().id;
}

HistoryStack::ListId HistoryStack::newestId()
{
  return *theLastId;
}

void HistoryStack::delimit()
{
  if (!m_lists.empty() && m_lists.back().list->empty())
    m_lists.pop_back();
  m_delimited = true;
}

void HistoryStack::pop()
{
  if (!m_lists.empty())
    m_lists.pop_back();
  delimit();
}

void HistoryStack::clear()
{
  m_lists.clear();
  delimit();
}

void HistoryStack::dropNewerThan(ListId id)
{
  while (!m_lists.empty() && m_lists.back().id > id)
    m_lists.pop_back();
  delimit();
}

void HistoryStack::registerChangeListModifier(ChangeListModifierIF* modifier)
{
  m_modifier = modifier;
  for (Step& step : m_lists)
    step.list->setModifier(modifier);
}

}  // namespace orv
