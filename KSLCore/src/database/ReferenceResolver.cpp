#include "database/ReferenceResolver.h"

#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"

#include <vector>

namespace orv {

namespace {

using Hit = ReferenceResolver::Hit;

const KSLObject& root()
{
  return *ObjectDB::instance()->getRoot();
}

Hit childOf(const KSLObject& parent, std::string_view component)
{
  if (component.find(':') == std::string_view::npos) {
    const std::vector<KSLObject*> found = parent.getChildObjectsByName(std::string(component));
    return {found.size() == 1 ? found.front() : nullptr, found.size() > 1};
  }
  const auto [type, name] = StringUtilities::splitObjectTypeAndName(component);
  for (KSLObject* child : parent.getChildObjectsByName(name)) {
    if (child->typeIs(type))
      return {child, false};
  }
  return {};
}

Hit step(const KSLObject& from, std::string_view component)
{
  if (component.empty() || component == ".")
    return {const_cast<KSLObject*>(&from), false};
  if (component == "..")
    return {from.getParentObject(), false};
  return childOf(from, component);
}

bool decides(const Hit& hit)
{
  return hit.object || hit.ambiguous;
}

}  // namespace

ReferenceResolver::ReferenceResolver(const KSLObject& from, const ParamDefinition& param) : m_from(from)
{
  const std::string& path = param.getRemotePath();
  if (!path.empty())
    m_container = (path.front() == '/' ? findAbsolute(path) : walk(from, path)).object;
}

Hit ReferenceResolver::find(std::string_view item) const
{
  const std::string name(StringUtilities::unquoted(StringUtilities::trimmed(item)));
  if (name.empty())
    return {};
  if (name.front() == '/')
    return findAbsolute(name);
  Hit hit = m_container ? walk(*m_container, name) : Hit();
  if (!decides(hit))
    hit = walk(m_from, name);
  if (!decides(hit) && m_from.searchesUpForRelativeObjects())
    hit = searchUp(name);
  return decides(hit) ? hit : walk(root(), name);
}

Hit ReferenceResolver::findAbsolute(const std::string& path) const
{
  if (KSLObject* found = ObjectDB::instance()->getObjectByPath(path))
    return {found, false};
  return walk(root(), path);
}

Hit ReferenceResolver::walk(const KSLObject& start, std::string_view path)
{
  Hit at{const_cast<KSLObject*>(&start), false};
  while (at.object && !path.empty()) {
    const std::size_t slash = path.find('/');
    at = step(*at.object, path.substr(0, slash));
    path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
  }
  return at;
}

Hit ReferenceResolver::searchUp(std::string_view path) const
{
  for (const KSLObject* at = &m_from; at != &root();) {
    at = at->getParentObject();
    const Hit hit = walk(*at, path);
    if (decides(hit))
      return hit;
  }
  return {};
}

}  // namespace orv
