#include "platform/internal/ChangeGroup.h"

#include <algorithm>

namespace orv {

using store::ParamRun;
using ChangeKind = KSLChange::Kind;

namespace {

bool creates(ChangeKind kind)
{
  return kind == ChangeKind::createObject || kind == ChangeKind::createParam;
}

bool isOfParam(ChangeKind kind)
{
  return kind == ChangeKind::createParam || kind == ChangeKind::deleteParam;
}

// Whether all that the one run shows from a place on stands in the other, too.
bool startsAlike(const ParamRun& run, const ParamRun& longer, std::size_t from)
{
  if (run.sharesWith(longer))
    return true;
  for (std::size_t i = from; i < run.size(); ++i) {
    if (!run.name(i).same(longer.name(i)) || !run.value(i).same(longer.value(i)))
      return false;
  }
  return true;
}

}  // namespace

ChangeGroup::ChangeGroup(KSLChange change) : m_path(std::move(change.path))
{
  if (change.kind == ChangeKind::changeParam) {
    m_what = Changed{std::move(change.name), std::move(change.value), std::move(change.oldValue)};
    return;
  }
  Listed listed;
  listed.creates = creates(change.kind);
  if (isOfParam(change.kind)) {
    listed.run.reserve(1);
    listed.run.append({std::move(change.name), std::move(change.value)});
  } else {
    listed.object = Object::first;
  }
  m_what = std::move(listed);
}

KSLChange ChangeGroup::operator[](std::size_t index) const
{
  if (const Changed* const one = changed())
    return {ChangeKind::changeParam, m_path, one->name, one->value, one->oldValue};
  const Listed* const all = listed();
  const bool ofObject = all->object == Object::first ? index == 0 : index == all->params();
  if (ofObject)
    return {all->creates ? ChangeKind::createObject : ChangeKind::deleteObject, m_path, {}, {}, {}};
  const std::size_t param = index - (all->object == Object::first);
  const std::size_t at = all->descending ? all->run.size() - 1 - param : all->from + param;
  return {all->creates ? ChangeKind::createParam : ChangeKind::deleteParam,
          m_path,
          all->run.name(at),
          all->run.value(at),
          {}};
}

ChangeGroup ChangeGroup::inverse() const
{
  if (const Changed* const one = changed())
    return {m_path, Changed{one->name, one->oldValue, one->value}};
  Listed all = *listed();
  all.creates = !all.creates;
  return {m_path, std::move(all)};
}

ChangeGroup ChangeGroup::reversed() const
{
  ChangeGroup group = *this;
  if (Listed* const all = std::get_if<Listed>(&group.m_what)) {
    all->descending = !all->descending;
    if (all->object != Object::none)
      all->object = all->object == Object::first ? Object::last : Object::first;
  }
  return group;
}

bool ChangeGroup::take(const KSLChange& change)
{
  Listed* const all = std::get_if<Listed>(&m_what);
  const bool fits = all && isOfParam(change.kind) && all->creates == creates(change.kind) && !all->descending
                    && all->object != Object::last && !all->run.isShared() && m_path == change.path;
  if (!fits)
    return false;
  all->run.append({change.name, change.value});
  all->ofNode = false;
  return true;
}

// The node may have moved to other memory since, with all that stands here.
bool ChangeGroup::take(const SharedText& path, const ParamRun& params)
{
  Listed* const all = std::get_if<Listed>(&m_what);
  const std::size_t before = params.size() - 1;
  const bool isNew = all && all->params() == 0;
  const bool fits = all && all->creates && !all->descending && all->object != Object::last
                    && m_path.same(path)
                    && (isNew || (all->run.size() == before && startsAlike(all->run, params, all->from)));
  if (!fits)
    return false;
  if (isNew)
    all->from = static_cast<std::uint32_t>(before);
  all->ofNode = isNew || all->ofNode;
  if (all->run.sharesWith(params))
    all->run.growTo(params);
  else
    all->run = params;
  return true;
}

void ChangeGroup::truncate(std::size_t size) noexcept
{
  Listed* const all = std::get_if<Listed>(&m_what);
  std::size_t less = this->size() - size;
  if (!all || less == 0)
    return;
  if (all->object == Object::last) {
    all->object = Object::none;
    --less;
  }
  if (all->descending)
    all->from += static_cast<std::uint32_t>(less);
  else
    all->run.truncate(all->run.size() - less);
}

ChangeGroup ChangeGroup::from(std::size_t index) const
{
  Listed rest = *listed();
  rest.from += static_cast<std::uint32_t>(index - (rest.object == Object::first ? 1 : 0));
  rest.object = Object::none;
  return {m_path, std::move(rest)};
}

}  // namespace orv
