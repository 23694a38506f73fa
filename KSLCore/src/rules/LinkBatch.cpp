#include "rules/LinkBatch.h"

#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "rules/ReferenceLinks.h"

namespace orv {

LinkBatch* LinkBatch::s_current = nullptr;
std::vector<LinkBatch::Note> LinkBatch::s_notes;
std::vector<std::string> LinkBatch::s_unfinished;
bool LinkBatch::s_unlisted = false;

LinkBatch::LinkBatch() : m_outer(s_current), m_first(s_notes.size())
{
  s_current = this;
}

LinkBatch::~LinkBatch()
{
  close();
}

LinkBatch::Note& LinkBatch::noteOf(GenericKSLObject& object)
{
  if (object.m_batchPlace == 0) {
    s_notes.push_back({.object = &object});
    object.m_batchPlace = static_cast<std::uint32_t>(s_notes.size());
  }
  return s_notes[object.m_batchPlace - 1];
}

void LinkBatch::forget(const GenericKSLObject& object) noexcept
{
  s_notes[object.m_batchPlace - 1].object = nullptr;
}

std::set<std::string> LinkBatch::finish()
{
  const ScopeGuard end([this] { close(); });
  noteUnfinished();
  std::set<std::string> paths;
  for (std::size_t i = m_first; i < s_notes.size(); ++i) {
    GenericKSLObject* object = s_notes[i].object;
    if (!object)
      continue;
    object->createDelayedParamLinks();
    if (s_notes[i].lostTarget)
      paths.insert(object->getPath());
  }
  m_finished = true;
  return paths;
}

void LinkBatch::noteWaiting(GenericKSLObject& object) noexcept
{
  try {
    if (!s_current)
      s_unfinished.push_back(object.getPath());
    else
      noteOf(object).lostTarget = true;
  } catch (...) {
    s_unlisted = true;
  }
}

void LinkBatch::noteUnfinished()
{
  if (s_unlisted)
    noteAllWaiting();
  s_unlisted = false;
  for (; !s_unfinished.empty(); s_unfinished.pop_back()) {
    if (auto* object =
            dynamic_cast<GenericKSLObject*>(ObjectDB::instance()->getObjectByPath(s_unfinished.back())))
      noteOf(*object).lostTarget = true;
  }
}

// Linear in the model.
void LinkBatch::noteAllWaiting()
{
  std::vector<KSLObject*> toAsk;
  const auto ask = [&toAsk](KSLObject* child) { toAsk.push_back(child); };
  ObjectDB::instance()->getObjectByPath({})->forEachChild(ask);
  while (!toAsk.empty()) {
    KSLObject* object = toAsk.back();
    toAsk.pop_back();
    object->forEachChild(ask);
    auto* computing = dynamic_cast<GenericKSLObject*>(object);
    if (computing && (computing->isAnyPending() || (computing->m_links && computing->m_links->waits())))
      noteOf(*computing).lostTarget = true;
  }
}

void LinkBatch::keepUnfinished() noexcept
{
  try {
    for (std::size_t i = m_first; i < s_notes.size(); ++i) {
      const GenericKSLObject* object = s_notes[i].object;
      if (object && (s_notes[i].toMark != 0 || (object->m_links && object->m_links->waits())))
        s_unfinished.push_back(object->getPath());
    }
  } catch (...) {
    s_unlisted = true;
  }
}

void LinkBatch::close() noexcept
{
  if (!m_open)
    return;
  m_open = false;
  s_current = m_outer;
  if (!m_finished)
    keepUnfinished();
  markNoted();
}

void LinkBatch::markNoted() noexcept
{
  for (std::size_t i = m_first; i < s_notes.size(); ++i) {
    GenericKSLObject* object = s_notes[i].object;
    if (!object)
      continue;
    object->m_batchPlace = 0;
    for (std::size_t bit = 0; bit < object->m_schedulers.size() && s_notes[i].toMark >> bit != 0; ++bit) {
      if (s_notes[i].toMark >> bit & 1)
        object->m_schedulers[bit].setPending();
    }
  }
  s_notes.resize(m_first);
  if (m_first == 0)
    s_notes.shrink_to_fit();
}

}  // namespace orv
