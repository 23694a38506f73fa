#include "database/ReferenceResolver.h"

#include "platform/ORVUtilities.h"
#include "database/FormulaNames.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace orv {

namespace {

using Hit = ReferenceResolver::Hit;

const KSLObject& root()
{
  return *ObjectDB::instance()->getRoot();
}

}  // namespace

ReferenceResolver::ReferenceResolver(const KSLObject& from, const ParamDefinition& param, bool isDefault,
                                     std::vector<NameQuestion>* asked)
    : m_from(from),
      m_fits([rules = param.getRules().get()](const KSLObject& object) {
        return rules->remoteType.empty() || object.hasScheduler(rules->remoteType);
      }),
      m_isFormula(FormulaNames::isFormula(param)),
      m_isDefault(isDefault || m_isFormula),
      m_asked(asked)
{
  const std::string& path = param.getRemotePath();
  if (path.empty())
    return;
  const KSLObject* exact = path.front() == '/' ? findAbsolute(path).object : nullptr;
  const Objects found = exact ? Objects() : walk(path.front() == '/' ? root() : from, path);
  m_container = exact || found.size() != 1 ? exact : found.front();
}

ReferenceResolver::ReferenceResolver(const KSLObject& from, Fits fits, std::vector<NameQuestion>* asked)
    : m_from(from),
      m_fits(std::move(fits)),
      m_asked(asked)
{}

Hit ReferenceResolver::find(std::string_view item) const
{
  return m_isFormula ? findInFormula(std::string(item))
                     : findName(std::string(StringUtilities::unquoted(StringUtilities::trimmed(item))));
}

Hit ReferenceResolver::findItem(const std::string& item) const
{
  if (m_isFormula)
    return findInFormula(item);
  const std::string_view name = StringUtilities::unquoted(StringUtilities::trimmed(item));
  return name.size() == item.size() ? findName(item) : findName(std::string(name));
}

Hit ReferenceResolver::findInFormula(const std::string& name) const
{
  Hit hit = findWhole(name);
  if (hit.object || !hit.candidates.empty())
    return hit;
  return findWhole(std::string(FormulaNames::holderOf(name)));
}

Hit ReferenceResolver::findWhole(const std::string& name) const
{
  Hit hit = FormulaNames::isName(name) ? findName(name) : Hit();
  return hit.fits || !hit.candidates.empty() ? hit : Hit();
}

bool ReferenceResolver::looksIn(const std::string& place) const
{
  return place.empty() || m_from.pathIs(place) || (m_container && m_container->pathIs(place))
         || (m_from.searchesUpForRelativeObjects() && PathUtils::isSameOrBelow(m_from.getPath(), place));
}

Hit ReferenceResolver::findName(const std::string& name) const
{
  Hit hit;
  if (name.empty())
    return hit;
  if (name.front() == '/')
    return findAbsolute(name);
  if ((m_container && decides(objectsAt(*m_container, name), hit)) || decides(objectsAt(m_from, name), hit)
      || (m_from.searchesUpForRelativeObjects() && searchUp(name, hit)))
    return hit;
  if (&m_from != &root())
    decides(objectsAt(root(), name), hit);
  return hit;
}

Hit ReferenceResolver::findAbsolute(const std::string& path) const
{
  Hit hit;
  if (KSLObject* found = ObjectDB::instance()->getObjectByPath(path)) {
    if (m_isDefault && found == &m_from)
      return hit;
    if (m_asked && found != &root() && found->getParentObject() != &m_from)
      m_asked->push_back({found->getParentObject(), found->getName()});
    hit.object = found;
    hit.fits = m_fits(*found);
    return hit;
  }
  decides(walk(root(), path), hit);
  return hit;
}

bool ReferenceResolver::isCandidate(const KSLObject& object) const
{
  return m_fits(object) && !(m_isDefault && &object == &m_from);
}

// Of what one place has, the candidates; without any, the first of the others is kept.
bool ReferenceResolver::decides(Objects found, Hit& hit) const
{
  if (found.empty())
    return false;
  KSLObject* first = found.front();
  std::erase_if(found, [this](const KSLObject* object) { return !isCandidate(*object); });
  if (found.empty()) {
    if (!hit.object && !(m_isDefault && first == &m_from))
      hit.object = first;
    return false;
  }
  hit.fits = found.size() == 1;
  hit.object = hit.fits ? found.front() : nullptr;
  if (!hit.fits)
    hit.candidates = std::move(found);
  return true;
}

// What the name means there: it is plain in a formula, and a path elsewhere.
ReferenceResolver::Objects ReferenceResolver::objectsAt(const KSLObject& place, const std::string& name) const
{
  if (!m_isFormula)
    return walk(place, name);
  if (m_asked && &place != &m_from)
    m_asked->push_back({&place, name});
  return place.getChildObjectsByName(name);
}

// All that the path may lead to.
ReferenceResolver::Objects ReferenceResolver::walk(const KSLObject& start, std::string_view path) const
{
  const auto cut = [&path] {
    const std::size_t slash = path.find('/');
    const std::string_view component = path.substr(0, slash);
    path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
    return component;
  };
  Objects at;
  step(start, cut(), at);
  while (!at.empty() && !path.empty()) {
    const std::string_view component = cut();
    Objects next;
    for (const KSLObject* object : at)
      step(*object, component, next);
    at.swap(next);
  }
  return at;
}

void ReferenceResolver::step(const KSLObject& from, std::string_view component, Objects& out) const
{
  if (component.empty() || component == ".")
    return out.push_back(const_cast<KSLObject*>(&from));
  if (component == "..")
    return out.push_back(from.getParentObject());
  std::string type;
  std::string name(component);
  if (component.find(':') != std::string_view::npos)
    std::tie(type, name) = StringUtilities::splitObjectTypeAndName(component);
  Objects children = from.getChildObjectsByName(name);
  if (!type.empty())
    std::erase_if(children, [&type](const KSLObject* child) { return !child->typeIs(type); });
  if (out.empty())
    out.swap(children);
  else
    out.insert(out.end(), children.begin(), children.end());
  if (m_asked && &from != &m_from)
    m_asked->push_back({&from, std::move(name)});
}

bool ReferenceResolver::searchUp(const std::string& path, Hit& hit) const
{
  for (const KSLObject* at = &m_from; at != &root();) {
    at = at->getParentObject();
    if (decides(objectsAt(*at, path), hit))
      return true;
  }
  return false;
}

}  // namespace orv
