#include "database/ObjectRulesDef.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"

#include <iterator>

namespace orv {

namespace {

// The names come by value because a caller may well give a list of this object's.
void append(ObjectRulesDef::NameList& list, ObjectRulesDef::NameList names)
{
  list.insert(list.end(), std::make_move_iterator(names.begin()), std::make_move_iterator(names.end()));
}

const ObjectRulesDef::NameList& listOf(const ObjectRulesDef::ContextLists& lists, std::string_view context)
{
  static const ObjectRulesDef::NameList none;
  const auto found = lists.find(context);
  return found == lists.end() ? none : found->second;
}

}  // namespace

void ObjectRulesDef::addEssentialParams(const NameList& names)
{
  if (m_essentialGiven)
    throw data::duplicate("ObjectRulesDef", "addEssentialParams",
                          _("Essential parameters (not context-specific) added twice"));
  m_essentialParams = names;
  m_essentialGiven = true;
}

void ObjectRulesDef::addOptionalParams(NameList names)
{
  append(m_optionalParams, std::move(names));
  m_optionalGiven = true;
}

void ObjectRulesDef::addEssentialParams(const std::string& context, const NameList& names)
{
  if (!m_contextEssential.try_emplace(context, names).second)
    throw data::duplicate("ObjectRulesDef", "addEssentialParams",
                          _("Essential parameters in rules context '%s' added twice", context));
}

void ObjectRulesDef::addOptionalParams(const std::string& context, NameList names)
{
  append(m_contextOptional[context], std::move(names));
}

const ObjectRulesDef::NameList& ObjectRulesDef::getEssentialParams(std::string_view context) const
{
  return listOf(m_contextEssential, context);
}

const ObjectRulesDef::NameList& ObjectRulesDef::getOptionalParams(std::string_view context) const
{
  return listOf(m_contextOptional, context);
}

}  // namespace orv
