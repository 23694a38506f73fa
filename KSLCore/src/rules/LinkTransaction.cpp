#include "rules/LinkTransaction.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "rules/LinkJudgement.h"
#include "rules/NameIndex.h"
#include "rules/NameLink.h"
#include "rules/NameRewriter.h"

#include <algorithm>
#include <set>
#include <utility>

namespace orv {

// ------------------------------------------------------------------------------------------------ beginning and end

LinkTransaction::LinkTransaction(ObjectDB& database, Kind kind, const Relocation* relocation)
    : m_index(NameIndex::of(database)),
      m_kind(kind),
      m_relocation(relocation),
      m_outer(m_index.setTransaction(this))
{}

LinkTransaction::~LinkTransaction()
{
  close();
}

LinkTransaction* LinkTransaction::current() noexcept
{
  const NameIndex* index = NameIndex::current();
  return index ? index->transaction() : nullptr;
}

void LinkTransaction::close() noexcept
{
  if (!m_open)
    return;
  m_open = false;
  m_index.setTransaction(m_outer);
  for (const Mark& mark : m_marks) {
    if (mark.object)
      mark.object->m_markPlace = 0;
  }
}

std::set<SharedText> LinkTransaction::commit()
{
  const ScopeGuard end([this] { close(); });
  std::set<SharedText> paths;
  if (m_index.firstDue()) {
    LinkJudgement judgement(
        m_index, m_kind == Kind::replay ? LinkJudgement::Mode::replay : LinkJudgement::Mode::command);
    judgement.takeDue();
    judgement.judge();
    paths = judgement.untouchedPaths();
    judgement.finish();
  } else {
    m_index.takePlaces();
  }
  markAll();
  return paths;
}

// -------------------------------------------------------------------------------------------------- touches and marks

void LinkTransaction::touch(NameLink& link) noexcept
{
  link.m_touched = true;
  link.setDue();
}

void LinkTransaction::markLater(GenericKSLObject& object, std::size_t scheduler)
{
  const std::size_t place = object.m_markPlace;
  if (place == 0 || place > m_marks.size() || m_marks[place - 1].object != &object) {
    m_marks.push_back({&object, 0});
    object.m_markPlace = static_cast<std::uint32_t>(m_marks.size());
  }
  m_marks[object.m_markPlace - 1].schedulers |= std::uint64_t(1) << scheduler;
}

// Only transactions that nest may have an object in several lists.
void LinkTransaction::forget(const GenericKSLObject& object) noexcept
{
  const std::size_t place = object.m_markPlace;
  if (place > 0 && place <= m_marks.size() && m_marks[place - 1].object == &object)
    m_marks[place - 1].object = nullptr;
  for (LinkTransaction* outer = m_outer; outer; outer = outer->m_outer) {
    for (Mark& mark : outer->m_marks)
      mark.object = mark.object == &object ? nullptr : mark.object;
  }
}

void LinkTransaction::markAll() noexcept
{
  for (const Mark& mark : m_marks) {
    std::uint64_t schedulers = mark.object ? mark.schedulers : 0;
    for (std::size_t place = 0; schedulers != 0; ++place, schedulers >>= 1) {
      if (schedulers & 1)
        mark.object->m_schedulers[place].setPending();
    }
  }
}

// ------------------------------------------------------------------------------------------------------------- texts

NameRewriter& LinkTransaction::rewriter()
{
  if (!m_rewriter)
    m_rewriter = std::make_unique<NameRewriter>(m_index, m_relocation);
  return *m_rewriter;
}

bool LinkTransaction::follow(const KSLObject& going)
{
  return m_relocation && rewriter().follow(going);
}

void LinkTransaction::requireNameFor(const Relocation& move)
{
  if (const NameIndex* index = NameIndex::current())
    NameRewriter(*index, &move).requireName();
}

KSLChangeList LinkTransaction::rewrites()
{
  if (!m_relocation && !m_index.isLinkedDue())
    return KSLChangeList();
  return rewriter().rewrites();
}

}  // namespace orv
