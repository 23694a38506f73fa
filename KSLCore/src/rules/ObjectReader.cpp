#include "rules/ObjectReader.h"

#include "platform/ORVDynamicLoader.h"
#include "platform/ORVError.h"
#include "database/ObjectFactory.h"
#include "database/ObjectRules.h"
#include "database/PrototypeEditor.h"
#include "RulesKey.h"

#include <algorithm>
#include <string_view>

namespace orv {

namespace {

constexpr const char* c_operation = "parseObject";

[[noreturn]] void refuse(std::string message, Diagnostic more = {})
{
  throw diagnosed(ksl::invalid("KSLRules", c_operation, std::move(message)), std::move(more));
}

// The base class of a type's objects; the first entry counts, wherever it stands.
std::string classNameOf(const std::vector<KSLAPI::ObjectInfo>& entries)
{
  for (const KSLAPI::ObjectInfo& info : entries)
    if (info.getKind() == "Param" && info.getName() == "KSLObject Class")
      return std::string(StringUtilities::unquoted(info.getValue()));
  return "GenericKSLObject";
}

void warn(std::string message)
{
  ErrorProgressReporter::instance()->reportError(
      ErrorMsg("KSLRules", "process", std::move(message), errorType::warning));
}

}  // namespace

std::unique_ptr<KSLObject> KSLRules::ObjectReader::read(const KSLAPI::ObjectInfo& entry, bool singleton)
{
  m_path = entry.getPath();
  const std::vector<KSLAPI::ObjectInfo> entries = m_api->getObjectInfo(m_path);
  makePrototype(entry, classNameOf(entries), singleton);
  for (const KSLAPI::ObjectInfo& info : entries)
    readEntry(info);
  addParams();
  if (m_extra.applyObjectRules) {
    m_object->setObjectRules(refcnt_ptr<const ObjectRules>(new ObjectRules(m_rules)));
    warnOfContextRule();
  }
  return std::move(m_object);
}

void KSLRules::ObjectReader::makePrototype(const KSLAPI::ObjectInfo& entry, const std::string& className,
                                           bool singleton)
{
  if (!m_owner.m_objectClasses.contains(className))
    refuse(_("KSL Object class '%s' is not recognized.", className),
           oneOf(className, {m_owner.m_objectClasses.begin(), m_owner.m_objectClasses.end()}));
  std::unique_ptr<KSLObject> object = ObjectFactory::instance()->createBaseType(className);
  if (!dynamic_cast<DataKSLObject*>(
          object.get()))  // the "$" forms stay in the text: the formatter does not know them
    throw internal::error("KSLRules", c_operation,
                          _("Bad cast of $1 '$2' to $3.", "KSLObject", className, "DataKSLObject"));
  m_object.reset(dynamic_cast<DataKSLObject*>(object.release()));
  PrototypeEditor(*m_object).setType(entry.getName(), singleton);
}

void KSLRules::ObjectReader::readEntry(const KSLAPI::ObjectInfo& info)
{
  if (info.getKind() == "Param")
    readKey(info);
  else if (info.getKind() == "Object" && info.getType() == "CONTEXT")
    readContext(info);
  else if (info.getKind() == "Object" && info.getType() == "PARAMETER")
    readVariant(info);
  else
    refuse(_("KSL object '%s' is not recognized.", info.getName()));
}

struct KSLRules::ObjectReader::Key {
  std::string_view name;
  void (ObjectReader::*read)(const KSLAPI::ObjectInfo&);
};

void KSLRules::ObjectReader::readKey(const KSLAPI::ObjectInfo& param)
{
  static constexpr Key keys[] = {
      {"Scheduler", &ObjectReader::readSchedulers},
      {"Calculate Function", &ObjectReader::readFunctions},
      {"Category", &ObjectReader::readCategories},
      {"Essential Parameter List", &ObjectReader::readEssentialParams},
      {"Optional Parameter List", &ObjectReader::readOptionalParams},
      {"Default Parameter List", &ObjectReader::readOptionalParams},
      {"Internal Parameter List", &ObjectReader::readInternalParams},
      {"Scheduler Links", &ObjectReader::readSchedulerLinks},
      {"Allowed Option List", &ObjectReader::readAllowedOptions},
      {"Context Rule", &ObjectReader::readContextRule},
      {"Object Name Restriction", &ObjectReader::readObjectNameRestriction},
      {"Parameter Name Restriction", &ObjectReader::readParamNameRestriction},
  };
  for (const Key& key : keys)
    if (param.getName() == key.name)
      return readingKey(param, [&] { (this->*key.read)(param); });
  if (!m_extra.warnOfMisspeltKeys)
    return;
  std::vector<std::string> known{"KSLObject Class"};
  for (const Key& key : keys)
    known.emplace_back(key.name);
  warnOfMisspeltKey(param, std::move(known));
  // Other keys are for people and for other readers of the RULES.
}

// ---------------------------------------------------------------------------------------------- schedulers

void KSLRules::ObjectReader::readSchedulers(const KSLAPI::ObjectInfo& param)
{
  for (const std::string& type : listOf(param)) {
    if (!m_owner.m_schedulerTypes.contains(type))
      refuse(_("Scheduler type '%s' is not recognized.", type),
             oneOf(type, {m_owner.m_schedulerTypes.begin(), m_owner.m_schedulerTypes.end()}));
    PrototypeEditor(*m_object).addScheduler(type);
    m_schedulers.insert(type);
  }
}

void KSLRules::ObjectReader::readFunctions(const KSLAPI::ObjectInfo& param)
{
  constexpr std::size_t triplet = 3;  // scheduler type, library, function
  const NameList values = listOf(param);
  if (values.size() % triplet != 0)
    refuse(_("Calculate function specification requires triplets, (%d).", values.size()));
  for (std::size_t i = 0; i < values.size(); i += triplet)
    checkOwnScheduler(values[i]);
  for (std::size_t i = 0; i < values.size(); i += triplet)
    PrototypeEditor(*m_object).addFunction(values[i], "lib" + values[i + 1] + SHLIBEXT, values[i + 2]);
}

void KSLRules::ObjectReader::readSchedulerLinks(const KSLAPI::ObjectInfo& param)
{
  const NameList values = listOf(param);
  if (values.size() % 2 != 0)
    refuse(_("Odd number of scheduler types specified, (%d).", values.size()));
  for (const std::string& type : values)
    checkOwnScheduler(type);
  for (std::size_t i = 0; i < values.size(); i += 2)
    PrototypeEditor(*m_object).addSchedulerLink(values[i], values[i + 1]);
}

void KSLRules::ObjectReader::checkOwnScheduler(const std::string& type) const
{
  if (!m_schedulers.contains(type))
    refuse(_("Scheduler type '%s' is not recognized.", type),
           oneOf(type, {m_schedulers.begin(), m_schedulers.end()}));
}

// ------------------------------------------------------------------------------------- lists and contexts

void KSLRules::ObjectReader::readCategories(const KSLAPI::ObjectInfo& param)
{
  for (const std::string& category : listOf(param))
    PrototypeEditor(*m_object).setCategory(category);
}

void KSLRules::ObjectReader::readEssentialParams(const KSLAPI::ObjectInfo& param)
{
  const NameList names = listOf(param);
  m_rules.addEssentialParams(names);
  listParams(names);
}

void KSLRules::ObjectReader::readOptionalParams(const KSLAPI::ObjectInfo& param)
{
  const NameList names = listOf(param);
  m_rules.addOptionalParams(names);
  listParams(names);
}

void KSLRules::ObjectReader::readInternalParams(const KSLAPI::ObjectInfo& param)
{
  const NameList names = listOf(param);
  m_internal.insert(names.begin(), names.end());
}

void KSLRules::ObjectReader::readAllowedOptions(const KSLAPI::ObjectInfo& param)
{
  const NameList options = listOf(param);
  m_rules.setAllowedOptions({options.begin(), options.end()});
}

void KSLRules::ObjectReader::readContextRule(const KSLAPI::ObjectInfo& param)
{
  m_rules.setContextRuleName(std::string(StringUtilities::unquoted(param.getValue())));
}

void KSLRules::ObjectReader::readObjectNameRestriction(const KSLAPI::ObjectInfo& param)
{
  m_rules.setObjectNameRestriction(param.getValue());
}

void KSLRules::ObjectReader::readParamNameRestriction(const KSLAPI::ObjectInfo& param)
{
  m_rules.setParamNameRestriction(param.getValue());
}

void KSLRules::ObjectReader::readContext(const KSLAPI::ObjectInfo& context)
{
  const std::string& value = context.getName();
  if (!m_rules.getAllowedOptions().contains(value))
    refuse(_("Object Context '%s' is not recognized.", value),
           oneOf(value, {m_rules.getAllowedOptions().begin(), m_rules.getAllowedOptions().end()}));
  for (const KSLAPI::ObjectInfo& info : m_api->getObjectInfo(context.getPath())) {
    if (info.getKind() != "Param")
      continue;
    const bool essential = info.getName() == "Essential Parameter List";
    if (!essential && info.getName() != "Optional Parameter List"
        && info.getName() != "Default Parameter List") {
      if (m_extra.warnOfMisspeltKeys)
        warnOfMisspeltKey(info,
                          {"Essential Parameter List", "Optional Parameter List", "Default Parameter List"});
      continue;
    }
    readingKey(info, [&] {
      const NameList names = listOf(info);
      if (essential)
        m_rules.addEssentialParams(value, names);
      else
        m_rules.addOptionalParams(value, names);
      listParams(names);
    });
  }
}

void KSLRules::ObjectReader::readVariant(const KSLAPI::ObjectInfo& variant)
{
  const std::unique_ptr<ParamDefinition> global = ObjectFactory::instance()->createParam(variant.getName());
  m_variants[variant.getName()] = m_owner.parseParam(m_api, variant, m_extra, global.get());
}

// ------------------------------------------------------------------------------------------------- the end

void KSLRules::ObjectReader::addParams()
{
  warnOfParamsListedTwice();
  const auto add = [this](const std::string& name, bool internal) {
    try {
      addParam(name, internal);
    } catch (Error& error) {
      concernList(error, name);
      throw;
    }
  };
  for (const std::string& name : m_listed)
    add(name, false);
  for (const std::string& name : m_internal)
    add(name, true);
}

// The error is about a name that one of the lists holds.
void KSLRules::ObjectReader::concernList(Error& error, const std::string& name) const
{
  std::vector<std::string> paths{m_path};
  for (std::size_t i = 0; i < paths.size(); ++i) {
    for (const KSLAPI::ObjectInfo& info : m_api->getObjectInfo(paths[i])) {
      if (info.getKind() == "Object")
        paths.push_back(info.getPath());
      const NameList names = info.getKind() == "Param" ? listOf(info) : NameList();
      const bool isList = info.getName().ends_with("Parameter List");
      if (!isList || std::find(names.begin(), names.end(), name) == names.end())
        continue;
      error.setDiagnostic(std::make_shared<const Diagnostic>(
          Diagnostic{.object = paths[i], .parameter = info.getName(), .subject = name}));
      return;
    }
  }
}

void KSLRules::ObjectReader::addParam(const std::string& name, bool internal)
{
  std::unique_ptr<ParamDefinition> param;
  const auto variant = m_variants.find(name);
  if (variant != m_variants.end())
    param = std::move(variant->second);
  // A name listed twice finds its variant used up; the prototype refuses any second parameter of one name.
  if (!param)
    param = ObjectFactory::instance()->createParam(name);
  param->setInternal(internal);
  PrototypeEditor(*m_object).addParameter(std::move(param));
}

// The error that follows names the parameter only.
void KSLRules::ObjectReader::warnOfParamsListedTwice() const
{
  for (const std::string& name : m_internal)
    if (m_listed.contains(name))
      warn(_("Parameter '%s' of object type '%s' is internal and in another parameter list too.", name,
             m_object->getType()));
}

// An object whose selecting parameter has a value without a context can be neither asked about its parameters
// nor written.
void KSLRules::ObjectReader::warnOfContextRule() const
{
  const std::set<std::string>& options = m_rules.getAllowedOptions();
  std::string name = m_rules.getContextRuleName();
  if (name.empty() && !options.empty())
    name = "Option";
  if (name.empty() || !m_object->hasParam(name))
    return;  // without the parameter objects are always without a context

  const ParamDefinition* selector = m_object->lookUpParam(name);
  if (options.empty() || selector->getAllowedValues() != options)
    warn(_("Allowed values of context rule parameter '%s' are not the allowed options of object type '%s'.",
           name, m_object->getType()));
  const std::string& start = selector->getDefaultValue();
  if (!start.empty() && !options.contains(start))
    warn(_("Default '%s' of context rule parameter '%s' is not an allowed option of object type '%s'.", start,
           name, m_object->getType()));
}

}  // namespace orv
