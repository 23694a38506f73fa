#include "database/PathAtHand.h"

#include "platform/internal/ContextLocal.h"

#include <utility>

namespace orv {

namespace {

constinit ContextLocal<const PathAtHand*> thePath;

// "/TYPE:name", or "/TYPE" of a singleton.
bool isComponent(std::string_view text, std::string_view type, std::string_view name)
{
  if (!text.starts_with('/') || text.substr(1, type.size()) != type)
    return false;
  text.remove_prefix(1 + type.size());
  return name.empty() ? text.empty() : text.starts_with(':') && text.substr(1) == name;
}

}  // namespace

PathAtHand::PathAtHand(const SharedText& path, const std::string& parent)
    : m_path(path),
      m_parent(parent),
      m_outer(std::exchange(*thePath, this))
{}

PathAtHand::~PathAtHand()
{
  *thePath = m_outer;
}

SharedText PathAtHand::share(const std::string& parent, const std::string& type, std::string_view name)
{
  const PathAtHand* const held = *thePath;
  if (held && &held->m_parent == &parent && isComponent(held->m_path.component(), type, name))
    return held->m_path;
  std::string path;
  path.reserve(parent.size() + type.size() + name.size() + 2);
  path.append(parent).append(1, '/').append(type);
  if (!name.empty())
    path.append(1, ':').append(name);
  return SharedText(std::move(path));
}

}  // namespace orv
