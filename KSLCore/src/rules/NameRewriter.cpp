#include "rules/NameRewriter.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVExpressions.h"
#include "platform/ORVUtilities.h"
#include "database/FormulaNames.h"
#include "database/ObjectDB.h"
#include "database/ReferenceResolver.h"
#include "rules/ExpressionNames.h"
#include "rules/GenericKSLObject.h"
#include "rules/NameIndex.h"
#include "rules/NameLink.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace orv {

// ----------------------------------------------------------------------------------------------------------- following

// Who has linked the object, in path order.
std::vector<NameLink*> NameRewriter::usersOf(const KSLObject& object) const
{
  std::vector<NameLink*> users;
  const auto add = [&](NameLink& link) {
    const std::vector<NameTarget>& targets = link.targets();
    if (std::any_of(targets.begin(), targets.end(),
                    [&object](const NameTarget& target) { return target.object == &object; }))
      users.push_back(&link);
  };
  m_index.forEachUser(object.getParentObject(), object.getName(), add);
  const auto* parent = dynamic_cast<const GenericKSLObject*>(object.getParentObject());
  if (parent && !parent->definesNames())
    parent->nameLinks().forEach(add);
  std::sort(users.begin(), users.end(), [](const NameLink* a, const NameLink* b) {
    return std::tie(a->owner().getPath(), a->name()) < std::tie(b->owner().getPath(), b->name());
  });
  return users;
}

bool NameRewriter::follow(const KSLObject& going)
{
  if (!m_relocation || !m_relocation->moves || !going.pathIs(m_relocation->from))
    return false;
  std::vector<const KSLObject*> waiting{&going};
  while (!waiting.empty()) {
    const KSLObject* object = waiting.back();
    waiting.pop_back();
    for (const NameLink* link : usersOf(*object))
      followIn(*link, going);
    object->forEachChild([&waiting](const KSLObject* child) { waiting.push_back(child); });
  }
  return true;
}

// Whether the name, where the expression stands, is that of the object.
bool NameRewriter::means(const NameLink& link, const KSLObject& object, const std::string& name) const
{
  const ExpressionNames* names = ExpressionNames::installed();
  std::vector<NameQuestion> asked;
  return names && names->findVariable(link.owner(), name, asked).object == &object;
}

void NameRewriter::followIn(const NameLink& link, const KSLObject& going)
{
  const ParamDefinition* param = link.param();
  const std::string& holder = link.owner().getPath();
  if (!param || param->getValue() == param->getDefaultValue()
      || PathUtils::isSameOrBelow(holder, m_relocation->from))
    return;
  Followed followed{param->getValue(), {}, {}};
  if (link.owner().holdsExpression(*param)) {
    followed.text =
        ExpressionDef::renamed(param->getValue(), going.getName(), KSLPath(m_relocation->to).getLastName());
    if (followed.text != followed.before && means(link, going, going.getName()))
      m_followed.emplace(std::pair(holder, link.name()), std::move(followed));
    return;
  }
  if (FormulaNames::isFormula(*param))
    return followInFormula(link, going);
  const std::vector<const KSLObject*> named = link.owner().namedObjects(*param);
  bool any = false;
  for (std::string& item : param->splitValue()) {
    const std::size_t at = followed.items.size();
    const bool moves =
        at < named.size() && named[at] && PathUtils::isSameOrBelow(named[at]->getPath(), m_relocation->from);
    followed.items.emplace_back(std::move(item), moves ? relocated(named[at]->getPath()) : std::string());
    any = any || moves;
  }
  if (any)
    m_followed.emplace(std::pair(holder, link.name()), std::move(followed));
}

namespace {

// How many characters of the name in a formula are the name of the object.
std::size_t lengthOf(const KSLObject& object, const std::string& name, const ReferenceResolver& resolver)
{
  return resolver.find(name).object == &object ? object.getName().size() : 0;
}

}  // namespace

// An object may name what is no object as it is called itself; to its copy that seems to be the object that goes.
void NameRewriter::followInFormula(const NameLink& link, const KSLObject& going)
{
  const GenericKSLObject& owner = link.owner();
  if (owner.pathIs(m_relocation->to))
    return;
  const ReferenceResolver resolver(owner, *link.param(), false);
  const auto lengthIn = [&](const std::string& name) { return lengthOf(going, name, resolver); };
  const std::string& before = link.param()->getValue();
  std::string text = FormulaNames::renamed(before, lengthIn, KSLPath(m_relocation->to).getLastName());
  if (text != before)
    m_followed.emplace(std::pair(owner.getPath(), link.name()), Followed{before, {}, std::move(text)});
}

// Whether an object that is to show no error uses the definition, through however many others.
bool NameRewriter::isUsed(const NameLink& definition) const
{
  std::set<const NameLink*> seen{&definition};
  std::vector<const NameLink*> waiting{&definition};
  bool used = false;
  while (!waiting.empty() && !used) {
    const NameLink* link = waiting.back();
    waiting.pop_back();
    m_index.forEachUser(nullptr, link->name(), [&](const NameLink& user) {
      const auto isIt = [link](const NameTarget& target) {
        return target.object == &link->owner() && target.scheduler == link->name();
      };
      if (std::none_of(user.targets().begin(), user.targets().end(), isIt))
        return;
      if (user.owner().definesNames() && seen.insert(&user).second)
        waiting.push_back(&user);
      used = used || !(user.owner().definesNames() || user.owner().waitsWithoutError());
    });
  }
  return used;
}

// Whether the expression could use a name for the object at its new place: nothing else has it there.
bool NameRewriter::canName(const NameLink& link, const std::string& name) const
{
  if (!ExpressionDef::isName(name))
    return false;
  const std::string parent(PathUtils::parentPath(m_relocation->to));
  if (!parent.empty() && parent != link.owner().getPath())
    return false;
  const ExpressionNames* names = ExpressionNames::installed();
  if (!names)
    return true;
  const ExpressionNames::Uses uses = names->namesIn(link.owner(), *link.param(), name);
  std::vector<NameQuestion> asked;
  const ExpressionNames::Variable known = names->findVariable(link.owner(), name, asked);
  const bool isItself = known.object && known.object->pathIs(m_relocation->from);
  return uses.locals.empty() && known.several.empty() && (!known.object || isItself);
}

// Whether the formula would mean the same with the name for the object at its new place: the name reaches that place and
// stands for nothing else, and no other name comes to mean the object.
bool NameRewriter::canNameInFormula(const NameLink& link, const KSLObject& object,
                                    const std::string& name) const
{
  const ParamDefinition& param = *link.param();
  if (param.getValue() == param.getDefaultValue())
    return true;  // it stays as it is
  const ReferenceResolver resolver(link.owner(), param, false);
  const auto isFree = [&](const std::string& whole) {
    const ReferenceResolver::Hit hit = resolver.findWhole(whole);
    return hit.candidates.empty() && (!hit.object || hit.object == &object);
  };
  if (!FormulaNames::isName(name) || !isFree(name)
      || !resolver.looksIn(std::string(PathUtils::parentPath(m_relocation->to))))
    return false;
  const std::vector<std::string> names = FormulaNames::namesIn(param.getValue());
  return std::all_of(names.begin(), names.end(), [&](const std::string& each) {
    const KSLObject* meant = resolver.find(each).object;
    if (meant == &object)
      return isFree(name + each.substr(object.getName().size()));
    const bool isWhole = meant && meant->getName() == each;
    return each != name && (isWhole || FormulaNames::holderOf(each) != name);
  });
}

void NameRewriter::requireName() const
{
  const KSLObject* source = ObjectDB::instance()->getObjectByPath(m_relocation->from);
  if (!source)
    return;
  const std::string name = KSLPath(m_relocation->to).getLastName();
  for (const NameLink* link : usersOf(*source)) {
    const ParamDefinition* param = link->param();
    const GenericKSLObject& owner = link->owner();
    const bool isFormula = param && FormulaNames::isFormula(*param);
    if (!param || !(isFormula || owner.holdsExpression(*param)) || owner.waitsWithoutError()
        || (isFormula ? canNameInFormula(*link, *source, name) : canName(*link, name))
        || (owner.definesNames() && !isUsed(*link)))
      continue;
    throw data::invalid(
        "RenameExecutor", "invoke",
        _("Object '%s' cannot be renamed to '%s' because expression '%s' of object '%s' cannot "
          "use that name.",
          m_relocation->from, m_relocation->to, param->getValue(), owner.getPath()));
  }
}

std::string NameRewriter::relocated(const std::string& path) const
{
  return m_relocation->to + path.substr(m_relocation->from.size());
}

namespace {

// The item with another name at its end, when that still names the object; else its path.
std::string respelled(const GenericKSLObject& holder, const ParamDefinition& param, const std::string& item,
                      const std::string& path)
{
  const KSLObject* target = ObjectDB::instance()->getObjectByPath(path);
  std::string name(StringUtilities::unquoted(item));
  const std::size_t end = name.find_last_of("/:");
  const bool isRelative = !name.empty() && name.front() != '/' && name.find("..") == std::string::npos;
  if (target && isRelative) {
    name.replace(end == std::string::npos ? 0 : end + 1, std::string::npos, target->getName());
    if (ReferenceResolver(holder, param, false).find(name).object == target)
      return StringUtilities::writtenName(name);
  }
  return StringUtilities::writtenName(path);
}

std::string joined(const std::vector<std::string>& items)
{
  return StringUtilities::vectorToString(items, ", ");
}

}  // namespace

// -------------------------------------------------------------------------------------------------------- rewriting

KSLChangeList NameRewriter::rewrites()
{
  KSLChangeList changes("Names in full");
  for (const auto& [place, followed] : m_followed) {
    auto* holder = dynamic_cast<GenericKSLObject*>(ObjectDB::instance()->getObjectByPath(place.first));
    const ParamDefinition* param = holder ? holder->lookUpParam(place.second) : nullptr;
    if (!param || param->getValue() != followed.before)
      continue;
    std::vector<std::string> items;
    for (const auto& [item, path] : followed.items)
      items.push_back(path.empty() ? item : respelled(*holder, *param, item, path));
    rewrite(*holder, *param, followed.text.empty() ? joined(items) : followed.text, changes);
  }
  if (!m_relocation && !m_index.isLinkedDue())
    return changes;
  for (NameLink* link = m_index.firstDue(); link; link = link->m_nextDue) {
    if (link->m_touched ? !m_relocation
                        : link->m_targets.empty())  // most: nothing was linked, or nothing copied
      continue;
    const ParamDefinition* param = link->param();
    if (!param || param->getValue() == param->getDefaultValue() || link->owner().holdsExpression(*param)
        || FormulaNames::isFormula(*param)
        || (!m_followed.empty() && m_followed.count({link->owner().getPath(), link->name()}) > 0))
      continue;
    const std::vector<std::string> items = link->m_touched ? itemsOfCopy(*link) : itemsInFull(*link);
    if (!items.empty())
      rewrite(link->owner(), *param, joined(items), changes);
  }
  return changes;
}

// The items of a text that was linked, where names would mean something else now; none when all still mean the same.
std::vector<std::string> NameRewriter::itemsInFull(const NameLink& link) const
{
  const ParamDefinition& param = *link.param();
  std::vector<std::string> items = param.splitValue();
  if (link.m_aside || items.size() != link.m_targets.size())
    return {};
  const ReferenceResolver resolver(link.owner(), param, false);
  bool any = false;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const NameTarget& target = link.m_targets[i];
    const KSLObject* meant = target.object || target.gonePath.empty()
                                 ? target.object
                                 : ObjectDB::instance()->getObjectByPath(target.gonePath);
    if (!meant || resolver.find(items[i]).object == meant)
      continue;
    items[i] = StringUtilities::writtenName(meant->getPath());
    any = true;
  }
  return any ? items : std::vector<std::string>();
}

// The items of a text inside a copy, where paths lead into what was copied; none when there are none.
std::vector<std::string> NameRewriter::itemsOfCopy(const NameLink& link) const
{
  if (!m_relocation || !PathUtils::isSameOrBelow(link.owner().getPath(), m_relocation->to))
    return {};
  std::vector<std::string> items = link.param()->splitValue();
  bool any = false;
  for (std::string& item : items) {
    const std::string path = StringUtilities::simplifyPath(StringUtilities::unquoted(item));
    if (path.empty() || path.front() != '/' || !PathUtils::isSameOrBelow(path, m_relocation->from)
        || !ObjectDB::instance()->getObjectByPath(relocated(path)))
      continue;
    item = StringUtilities::writtenName(relocated(path));
    any = true;
  }
  return any ? items : std::vector<std::string>();
}

void NameRewriter::rewrite(GenericKSLObject& holder, const ParamDefinition& param, const std::string& text,
                           KSLChangeList& changes)
{
  if (param.isInternal())
    holder.setValue(param.getName(), text);
  else
    changes.changeParam(holder.getPath(), param.getName(), text, param.getValue());
}

}  // namespace orv
