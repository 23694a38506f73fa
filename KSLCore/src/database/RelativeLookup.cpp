#include "database/RelativeLookup.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/NamesBeside.h"
#include "database/ObjectDB.h"

#include <utility>
#include <vector>

namespace orv {

namespace {

// The first component, and what follows it.
std::pair<std::string_view, std::string_view> splitFirst(std::string_view path)
{
  const std::size_t slash = path.find('/');
  if (slash == std::string_view::npos)
    return {path, {}};
  return {path.substr(0, slash), path.substr(slash + 1)};
}

bool isBareName(std::string_view component)
{
  return component != "." && component != ".." && component.find(':') == std::string_view::npos;
}

}  // namespace

KSLObject* RelativeLookup::resolve(const KSLObject& start, const std::string& path)
{
  if (path.empty())
    return const_cast<KSLObject*>(&start);
  return path.front() == '/' ? resolveAbsolute(path) : resolveRelative(start, path);
}

KSLObject* RelativeLookup::resolveAbsolute(const std::string& path)
{
  ObjectDB* database = ObjectDB::instance();
  if (KSLObject* found = database->getObjectByPath(path))
    return found;
  if (KSLObject* found = tryResolve(*database->getRoot(), std::string_view(path).substr(1)))
    return found;
  // Class and function are those of the reader of references, on purpose: that is who asks for absolute
  // paths.
  throw diagnosed(
      data::notFound("GenericKSLObject", "makeParentLinks", _("Object '%s' does not exist.", path)),
      unknownObject(path));
}

KSLObject* RelativeLookup::resolveRelative(const KSLObject& start, std::string_view path)
{
  auto* at = const_cast<KSLObject*>(&start);
  while (!path.empty()) {
    const auto [component, rest] = splitFirst(path);
    KSLObject* next = step(*at, component);
    if (!next && !isBareName(component))
      return at->getChildObjectByNameAndType(std::string(component));  // throws
    if (!next && at->searchesUpForRelativeObjects())
      return searchUp(*at, path);
    if (!next) {
      throw data::notFound("KSLObject", "getRelativeObjectInternal",
                           _("No object with name '%s' exists.", component));
    }
    at = next;
    path = rest;
  }
  return at;
}

// As resolveRelative, but a miss is null, and nothing searches upward.
KSLObject* RelativeLookup::tryResolve(const KSLObject& start, std::string_view path)
{
  auto* at = const_cast<KSLObject*>(&start);
  while (at && !path.empty()) {
    const auto [component, rest] = splitFirst(path);
    at = step(*at, component);
    path = rest;
  }
  return at;
}

// The nearest ancestor from which the whole remaining path leads somewhere decides.
KSLObject* RelativeLookup::searchUp(const KSLObject& from, std::string_view path)
{
  const KSLObject* root = ObjectDB::instance()->getRoot();
  for (const KSLObject* at = &from; at != root;) {
    at = at->getParentObject();
    if (KSLObject* found = tryResolve(*at, path))
      return found;
  }
  throw data::notFound("KSLObject", "getRelativeObjectInternal",
                       _("No object with name '%s' exists.", splitFirst(path).first));
}

KSLObject* RelativeLookup::step(const KSLObject& from, std::string_view component)
{
  if (component == ".")
    return const_cast<KSLObject*>(&from);
  if (component == "..")
    return from.getParentObject();
  return isBareName(component) ? childNamed(from, component) : childOf(from, component);
}

KSLObject* RelativeLookup::childNamed(const KSLObject& parent, std::string_view name)
{
  const std::vector<KSLObject*> children = parent.getChildObjectsByName(std::string(name));
  if (children.size() > 1) {
    throw diagnosed(data::notFound("KSLObject", "getRelativeObjectInternal",
                                   _("More than one object with name '%s' exists.", name)),
                    severalObjects(name, children));
  }
  return children.empty() ? nullptr : children.front();
}

KSLObject* RelativeLookup::childOf(const KSLObject& parent, std::string_view typeColonName)
{
  const auto [type, name] = StringUtilities::splitObjectTypeAndName(typeColonName);
  for (KSLObject* child : parent.getChildObjectsByName(name)) {
    if (child->typeIs(type))
      return child;
  }
  return nullptr;
}

}  // namespace orv
