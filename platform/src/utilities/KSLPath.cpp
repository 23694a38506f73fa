#include "platform/ORVUtilities.h"

#include <algorithm>
#include <tuple>

namespace orv {

namespace {

KSLPath::Component makeComponent(std::string_view type, std::string_view name)
{
  type = StringUtilities::trimmed(type);
  name = StringUtilities::trimmed(StringUtilities::unquoted(StringUtilities::trimmed(name)));
  KSLPath::Component component;
  component.type = type;
  component.name = name.empty() ? type : name;
  component.singleton = name.empty();
  return component;
}

KSLPath::Component parseComponent(std::string_view text)
{
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos)
    return makeComponent(text, {});
  return makeComponent(text.substr(0, colon), text.substr(colon + 1));
}

const std::string& noText()
{
  static const std::string empty;
  return empty;
}

}  // namespace

std::string KSLPath::Component::header() const
{
  std::string out = type + ":";
  if (!singleton)
    out += StringUtilities::writtenName(name);
  if (out.back() == '\\')
    out += ' ';  // at the end of its line it would continue it
  return out;
}

bool KSLPath::Component::operator<(const Component& other) const
{
  return std::tie(type, name, singleton) < std::tie(other.type, other.name, other.singleton);
}

KSLPath::KSLPath(std::string_view path)
{
  while (!path.empty()) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view text = StringUtilities::trimmed(path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
    if (!text.empty() && text != ".")
      m_components.push_back(parseComponent(text));
  }
}

const std::string& KSLPath::getLastType() const
{
  return empty() ? noText() : m_components.back().type;
}

const std::string& KSLPath::getLastName() const
{
  return empty() ? noText() : m_components.back().name;
}

bool KSLPath::isSingleton() const
{
  return empty() || m_components.back().singleton;
}

KSLPath KSLPath::getSubPath(std::size_t count) const
{
  KSLPath sub;
  const std::size_t taken = std::min(count, size());
  sub.m_components.assign(m_components.begin(), m_components.begin() + static_cast<std::ptrdiff_t>(taken));
  return sub;
}

KSLPath KSLPath::getParentPath() const
{
  return getSubPath(empty() ? 0 : size() - 1);
}

std::string KSLPath::getFullPath() const
{
  std::string path;
  for (const auto& component : m_components) {
    path += '/';
    path += component.type;
    if (component.singleton)
      continue;
    path += ':';
    path += component.name;
  }
  return path;
}

void KSLPath::push(std::string_view type, std::string_view name)
{
  Component component = makeComponent(type, name);
  component.singleton = component.name == component.type;
  m_components.push_back(std::move(component));
}

void KSLPath::pop()
{
  if (!empty())
    m_components.pop_back();
}

void KSLPath::replaceLastName(std::string_view name)
{
  if (!empty())
    m_components.back() = makeComponent(std::string(m_components.back().type), name);
}

std::pair<std::string, std::string> KSLPath::makeKSLPathAndEnd(std::size_t step) const
{
  std::string headers;
  std::string ends;
  for (std::size_t level = 0; level < size(); ++level) {
    headers.append(level * step, ' ');
    headers += m_components[level].header() + '\n';
    ends.append((size() - 1 - level) * step, ' ');
    ends += "END\n";
  }
  return {std::move(headers), std::move(ends)};
}

bool KSLPath::operator<(const KSLPath& other) const
{
  return m_components < other.m_components;
}

}  // namespace orv
