#include "rules/LinkBatch.h"

#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "rules/ReferenceLinks.h"

namespace orv {

LinkBatch* LinkBatch::s_current = nullptr;
std::vector<LinkBatch::Note> LinkBatch::s_notes;
std::vector<LinkBatch::Unfinished> LinkBatch::s_unfinished;
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

void LinkBatch::noteLostTarget(GenericKSLObject& object) noexcept
{
  if (s_current)
    object.noteTargetGone();
}

void LinkBatch::linkInNext(const GenericKSLObject& object) noexcept
{
  try {
    s_unfinished.push_back({object.getPath(), object.m_serial});
  } catch (...) {
    s_unlisted = true;
  }
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
  if (!s_current)
    return linkInNext(object);
  try {
    noteOf(object).lostTarget = true;
  } catch (...) {
    s_unlisted = true;
  }
}

bool LinkBatch::isUnfinished(const GenericKSLObject& object) noexcept
{
  return object.isAnyPending() || (object.m_links && object.m_links->waits());
}

void LinkBatch::noteUnfinished()
{
  if (s_unlisted)
    noteAllWaiting();
  s_unlisted = false;
  for (const auto& [path, serial] : s_unfinished) {
    auto* object = dynamic_cast<GenericKSLObject*>(ObjectDB::instance()->getObjectByPath(path));
    if (object && object->m_serial == serial && isUnfinished(*object))
      noteOf(*object).lostTarget = true;
  }
  s_unfinished.clear();
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
    if (computing && isUnfinished(*computing))
      noteOf(*computing).lostTarget = true;
  }
}

void LinkBatch::keepUnfinished() noexcept
{
  for (std::size_t i = m_first; i < s_notes.size(); ++i) {
    const Note& note = s_notes[i];
    if (note.object && (note.toMark != 0 || isUnfinished(*note.object)))
      linkInNext(*note.object);
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
    std::uint64_t toMark = s_notes[i].toMark;
    for (std::size_t place = 0; toMark != 0; ++place, toMark >>= 1) {
      if (toMark & 1)
        object->m_schedulers[place].setPending();
    }
  }
  s_notes.resize(m_first);
  if (m_first == 0)
    s_notes.shrink_to_fit();
}

}  // namespace orv
