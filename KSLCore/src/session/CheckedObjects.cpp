#include "CheckedObjects.h"

#include "platform/ORVUtilities.h"
#include "database/FormulaNames.h"
#include "database/ObjectDB.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace orv {

using Index = CheckedObjects::Index;

CheckedObjects::CheckedObjects(CheckedTypes& types) : m_types(types), m_objects(1)
{
  std::vector<std::pair<const KSLObject*, Index>> waiting{{ObjectDB::instance()->getRoot(), root}};
  while (!waiting.empty()) {
    const auto [object, index] = waiting.back();
    waiting.pop_back();
    object->forEachChild([&, parent = index](const KSLObject* child) {
      const CheckedType* type = m_types.find(child->getType());
      const Index added = add(parent, *type, child->getName(), child->getPath());
      if (const ParamDefinition* rule =
              type->contextRule.empty() ? nullptr : child->lookUpParam(type->contextRule)) {
        m_objects[added].context = rule->getValue();
        m_objects[added].hasContext = true;
      }
      bool isReadable = false;
      if (const ParamDefinition* mark = child->lookUpParam("Protected"))
        m_objects[added].isProtected = StringUtilities::isTrue(mark->getValue(), isReadable);
      waiting.emplace_back(child, added);
    });
  }
}

Index CheckedObjects::add(Index parent, const CheckedType& type, std::string_view name, std::string path)
{
  const auto index = static_cast<Index>(m_objects.size());
  Object& object = m_objects.emplace_back();
  object.type = &type;
  object.path = std::move(path);
  object.name = name;
  object.parent = parent;
  m_objects[parent].children.push_back(index);
  m_paths[object.path] = index;
  m_names.emplace(keyOf(parent, name), index);
  return index;
}

Index CheckedObjects::define(Index parent, const CheckedType& type, std::string_view name)
{
  const bool isSingleton = type.prototype->isSingleton();
  if (isSingleton || name.empty())
    name = type.name;
  const std::string& above = m_objects[parent].path;
  std::string path;
  path.reserve(above.size() + type.name.size() + name.size() + 2);
  path.append(above).append("/").append(type.name);
  if (!isSingleton)
    path.append(":").append(name);
  const auto found = m_paths.find(path);
  return found != m_paths.end() ? found->second : add(parent, type, name, std::move(path));
}

void CheckedObjects::remove(Index top)
{
  std::vector<Index>& siblings = m_objects[m_objects[top].parent].children;
  siblings.erase(std::find(siblings.begin(), siblings.end(), top));
  Indices waiting{top};
  while (!waiting.empty()) {
    Object& object = m_objects[waiting.back()];
    waiting.pop_back();
    object.alive = false;
    m_paths.erase(object.path);
    waiting.insert(waiting.end(), object.children.begin(), object.children.end());
    object.children.clear();
  }
}

void CheckedObjects::copy(Index from, Index parent, const std::string& name)
{
  std::vector<std::tuple<Index, Index, std::string>> waiting{{from, parent, name}};
  while (!waiting.empty()) {
    const auto [source, place, newName] = std::move(waiting.back());
    waiting.pop_back();
    const Index target = define(place, *m_objects[source].type, newName);
    m_objects[target].context = m_objects[source].context;
    m_objects[target].hasContext = m_objects[source].hasContext;
    for (const Index child : m_objects[source].children)
      if (child != target)
        waiting.emplace_back(child, target, m_objects[child].name);
  }
}

Index CheckedObjects::findPath(const std::string& path) const
{
  const auto found = m_paths.find(path);
  return found == m_paths.end() ? none : found->second;
}

Index CheckedObjects::findNamed(const std::string& pathOrName, bool& ambiguous) const
{
  ambiguous = false;
  const std::string path = PathUtils::normalisePathBwdComp(pathOrName);
  if (!path.empty() && path.front() == '/')
    return findPath(path);
  Indices found;
  step(root, StringUtilities::unquoted(path), found);
  ambiguous = found.size() > 1;
  return found.empty() ? none : found.front();
}

void CheckedObjects::step(Index from, std::string_view component, Indices& out) const
{
  if (component.empty() || component == ".")
    return out.push_back(from);
  if (component == "..")
    return out.push_back(m_objects[from].parent == none ? root : m_objects[from].parent);
  std::string type;
  std::string name(component);
  if (component.find(':') != std::string_view::npos)
    std::tie(type, name) = StringUtilities::splitObjectTypeAndName(component);
  addNamed(from, name, type, out);
}

// Of any type when that is empty.
void CheckedObjects::addNamed(Index from, std::string_view name, std::string_view type, Indices& out) const
{
  const auto [first, end] = m_names.equal_range(keyOf(from, name));
  for (auto at = first; at != end; ++at) {
    const Object& object = m_objects[at->second];
    if (object.alive && object.parent == from && object.name == name
        && (type.empty() || object.type->name == type))
      out.push_back(at->second);
  }
}

CheckedObjects::Indices CheckedObjects::walk(Index start, std::string_view path) const
{
  Indices at{start};
  for (bool more = true; more && !at.empty();) {
    const std::size_t slash = path.find('/');
    more = slash != std::string_view::npos;
    Indices next;
    for (const Index index : at)
      step(index, path.substr(0, slash), next);
    at.swap(next);
    if (more)
      path.remove_prefix(slash + 1);
  }
  return at;
}

bool CheckedObjects::decides(Indices found, const Fits& fits, Hit& hit) const
{
  if (found.empty())
    return false;
  const Index first = found.front();
  std::erase_if(found, [&](Index index) { return !m_objects[index].type || !fits(*m_objects[index].type); });
  if (found.empty()) {
    if (hit.object == none)
      hit.object = first;
    return false;
  }
  hit.fits = found.size() == 1;
  hit.object = hit.fits ? found.front() : none;
  if (!hit.fits)
    hit.candidates = std::move(found);
  return true;
}

CheckedObjects::Hit CheckedObjects::resolve(Index from, std::string_view item, const std::string& remotePath,
                                            const Fits& fits) const
{
  const std::string_view name = StringUtilities::unquoted(StringUtilities::trimmed(item));
  Hit hit;
  if (!name.empty() && name.front() == '/') {
    const auto found = m_paths.find(name);
    if (found != m_paths.end())
      return {found->second, fits(*m_objects[found->second].type), {}};
    decides(walk(root, name), fits, hit);
    return hit;
  }
  if (!remotePath.empty()) {
    const Indices container = walk(remotePath.front() == '/' ? root : from, remotePath);
    if (container.size() == 1 && decides(walk(container.front(), name), fits, hit))
      return hit;
  }
  if (!decides(walk(from, name), fits, hit) && from != root)
    decides(walk(root, name), fits, hit);
  return hit;
}

CheckedObjects::Hit CheckedObjects::resolve(Index from, std::string_view item,
                                            const ParamDefinition& param) const
{
  const std::string& remote = param.getRemoteType();
  return resolve(from, item, param.getRemotePath(),
                 [&](const CheckedType& type) { return remote.empty() || type.hasScheduler(remote); });
}

CheckedObjects::Hit CheckedObjects::resolveInFormula(Index from, std::string_view name,
                                                     const ParamDefinition& param) const
{
  const std::string& remotePath = param.getRemotePath();
  Indices places = remotePath.empty() ? Indices() : walk(remotePath.front() == '/' ? root : from, remotePath);
  if (places.size() != 1)
    places.clear();
  places.insert(places.end(), {from, root});
  const Fits fits = [&](const CheckedType& type) { return type.hasScheduler(param.getRemoteType()); };
  for (const std::string_view each : {name, FormulaNames::holderOf(name)})
    for (const Index place : places) {
      Indices found;
      addNamed(place, each, {}, found);
      std::erase(found, from);
      Hit hit;
      if (!each.empty() && decides(std::move(found), fits, hit))
        return hit;
    }
  return {};
}

}  // namespace orv
