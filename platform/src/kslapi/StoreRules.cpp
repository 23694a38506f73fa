#include "StoreRules.h"

#include "platform/ORVUtilities.h"

#include <algorithm>
#include <array>

namespace orv::store {

namespace {

constexpr std::string_view rulesPath = "/RULES";

void addListed(const Node* node, std::set<std::string, std::less<>>& out)
{
  static constexpr std::array<std::string_view, 4> lists = {
      "Essential Parameter List", "Optional Parameter List", "Default Parameter List",
      "Internal Parameter List"};
  for (const Param& param : node->params) {
    for (std::string_view list : lists) {
      if (param.name.str() != list)
        continue;
      for (const std::string& item : StringUtilities::splitValue(param.value.str()))
        out.emplace(StringUtilities::unquoted(item));
    }
  }
}

// Objects of this class take parameters of any name: each is an expression.
bool takesAnyParam(const Node* definition)
{
  return std::any_of(definition->params.begin(), definition->params.end(), [](const Param& param) {
    return param.name.str() == "KSLObject Class" && param.value.str() == "ExpressionsKSLObject";
  });
}

}  // namespace

bool isRulesPath(std::string_view path)
{
  return path.substr(0, rulesPath.size()) == rulesPath
         && (path.size() == rulesPath.size() || path[rulesPath.size()] == '/');
}

const Node* Rules::definition(std::string_view name, Kind kind) const
{
  std::string path(rulesPath);
  const std::string_view word = kind == Kind::singleton ? "SINGLETON" : "OBJECT";
  path.append("/").append(word);
  if (name != word)  // no RULES define the words of RULES themselves: such a name reads as a singleton
    path.append(":").append(name);
  return m_tree.find(path);
}

Rules::Type* Rules::findType(std::string_view name) const
{
  const auto known = m_types.find(name);
  if (known != m_types.end())
    return &known->second;
  Type type;
  if (definition(name, Kind::singleton))
    type.kind = Kind::singleton;
  else if (definition(name, Kind::object))
    type.kind = Kind::object;
  else
    return nullptr;
  return &m_types.emplace(name, std::move(type)).first->second;
}

Kind Rules::kindOf(std::string_view type) const
{
  if (m_fallback && !m_tree.find(rulesPath))
    return m_fallback->kindOf(type);
  const Type* known = findType(type);
  return known ? known->kind : Kind::unknown;
}

bool Rules::listsParam(std::string_view typeName, std::string_view param) const
{
  if (m_fallback && !m_tree.find(rulesPath))
    return m_fallback->listsParam(typeName, param);
  Type* type = findType(typeName);
  if (!type)
    return false;
  if (!type->hasParams) {
    const Node* node = definition(typeName, type->kind);
    addListed(node, type->params);
    for (const Node* child = node->firstChild; child; child = child->next)
      addListed(child, type->params);
    type->takesAny = takesAnyParam(node);
    type->hasParams = true;
  }
  return type->takesAny || type->params.find(param) != type->params.end();
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
