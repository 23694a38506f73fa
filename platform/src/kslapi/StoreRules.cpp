#include "StoreRules.h"

#include <iterator>
#include <utility>

namespace orv::store {

namespace {

constexpr std::string_view rulesPath = "/RULES";

}  // namespace

bool isRulesPath(std::string_view path)
{
  return path.substr(0, rulesPath.size()) == rulesPath
         && (path.size() == rulesPath.size() || path[rulesPath.size()] == '/');
}

bool isRulesPath(const SharedText& path)
{
  return path.isLong() ? path.isSameOrBelow(rulesPath) : isRulesPath(std::string_view(path.str()));
}

bool Rules::isDefined(std::string_view name, Kind kind) const
{
  std::string path(rulesPath);
  const std::string_view word = kind == Kind::singleton ? "SINGLETON" : "OBJECT";
  path.append("/").append(word);
  if (name != word)  // no RULES define the words of RULES themselves: such a name reads as a singleton
    path.append(":").append(name);
  return m_tree.find(path) != nullptr;
}

Kind Rules::kindOf(std::string_view type) const
{
  if (m_fallback && !m_tree.find(rulesPath))
    return m_fallback->kindOf(type);
  const auto known = m_kinds.find(type);
  if (known != m_kinds.end())
    return known->second;
  for (const Kind kind : {Kind::singleton, Kind::object}) {
    if (isDefined(type, kind))
      return m_kinds.emplace(type, kind).first->second;
  }
  return Kind::unknown;
}

void Rules::define(const std::string& type, std::vector<std::string> params, bool takesAnyParam)
{
  Params& known = m_params[type];
  known.names = {std::make_move_iterator(params.begin()), std::make_move_iterator(params.end())};
  known.takesAny = takesAnyParam;
  ++m_changes;
}

std::vector<std::string> Rules::paramsOf(std::string_view type) const
{
  const auto found = m_params.find(type);
  if (found == m_params.end())
    return {};
  return {found->second.names.begin(), found->second.names.end()};
}

bool Rules::listsParam(std::string_view type, std::string_view param) const
{
  if (m_fallback && !m_tree.find(rulesPath))
    return m_fallback->listsParam(type, param);
  const auto known = m_params.find(type);
  return known != m_params.end() && (known->second.takesAny || known->second.names.contains(param));
}

void Rules::appendComponent(std::string& path, std::string_view type, std::string_view name) const
{
  const Kind kind = kindOf(type);
  path.append(type);
  const bool nameSaysNothing = name.empty() || name == type;
  if (nameSaysNothing && kind != Kind::object)
    return;
  path.append(":").append(name.empty() ? type : name);
}

}  // namespace orv::store
