#include "rules/KSLRules.h"

#include "platform/ORVDynamicLoader.h"
#include "platform/ORVError.h"
#include "database/Category.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "rules/ObjectReader.h"
#include "rules/ParamReader.h"

namespace orv {

namespace {

constexpr const char* c_rulesPath = "/RULES";

bool isObject(const KSLAPI::ObjectInfo& entry)
{
  return entry.getKind() == "Object";
}

bool isObjectType(const KSLAPI::ObjectInfo& entry)
{
  return entry.getType() == "OBJECT" || entry.getType() == "SINGLETON";
}

// Errors of definitions, also warnings that are reported meanwhile, have a place in a library.
class LibraryPlaces final : public ErrorLocator {
 public:
  explicit LibraryPlaces(const KSLAPI& store)
      : m_store(store),
        m_outer(ErrorProgressReporter::instance()->setLocator(this))
  {}
  ~LibraryPlaces() override { ErrorProgressReporter::instance()->setLocator(m_outer); }
  LibraryPlaces(const LibraryPlaces&) = delete;
  LibraryPlaces& operator=(const LibraryPlaces&) = delete;

  void locate(ErrorMsg& error) override { locateAny(error); }
  void locate(Error& error) const { locateAny(error); }

 private:
  template <class E>
  void locateAny(E& error) const
  {
    if (!error.getDiagnostic())
      return;
    Diagnostic more = *error.getDiagnostic();
    m_store.locateInLibraries(more);
    error.setDiagnostic(std::make_shared<const Diagnostic>(std::move(more)));
  }

  const KSLAPI& m_store;
  ErrorLocator* m_outer;
};

// Types that are taken although their objects cannot be reached by path.
void warnOfTypeName(const std::string& type)
{
  std::string message;
  if (type == "ROOT")
    message = "Object type 'ROOT' has the type of the root of all objects.";
  else if (type.find(':') != std::string::npos)
    message = _("Object type '%s' holds a ':', which ends the type where a path is read.", type);
  else
    return;
  ErrorProgressReporter::instance()->reportError(
      ErrorMsg("KSLRules", "process", message, errorType::warning));
}

// They may bring object classes along.
void loadLibraries(const std::vector<std::string>& names)
{
  SharedLibrary* const loader = SharedLibrary::instance();
  for (const std::string& name : names) {
    if (!loader->load("lib" + name + SHLIBEXT))
      throw ksl::invalid("KSLRules", "process", loader->getLastError());
  }
}

}  // namespace

KSLRules::KSLRules() = default;
KSLRules::~KSLRules() = default;

// Each kind of entry has a pass of its own, so that parameters may stand after the objects that list them.
void KSLRules::process(KSLAPI* api, const AdditionalRules& rules)
{
  if (!api)
    throw internal::nullPointer("KSLRules", "process", _("Null pointer to %s.", "KSLAPI"));
  const LibraryPlaces places(*api);
  const std::vector<KSLAPI::ObjectInfo> entries = api->getObjectInfo(c_rulesPath);
  readHeader(*api, entries);
  const auto readAll = [&](auto isMeant, auto read) {
    for (const KSLAPI::ObjectInfo& entry : entries) {
      if (!isObject(entry) || !isMeant(entry))
        continue;
      try {
        read(entry);
      } catch (Error& error) {
        error.concern(entry.getPath());
        places.locate(error);
        throw;
      }
    }
  };
  readAll([](const auto& entry) { return !isObjectType(entry); },
          [&](const auto& entry) { addGlobalParam(api, entry, rules); });
  readAll(isObjectType, [&](const auto& entry) { addObjectType(api, entry, rules); });
}

void KSLRules::readHeader(const KSLAPI& api, const std::vector<KSLAPI::ObjectInfo>& entries)
{
  for (const KSLAPI::ObjectInfo& entry : entries) {
    if (entry.getKind() != "Param")
      continue;
    const std::vector<std::string> names = api.getStringList(entry.getPath());
    if (entry.getName() == "Categories")
      for (const std::string& name : names)
        Category::addCategory(name);
    else if (entry.getName() == "CalculateLibraries")
      loadLibraries(names);
    else if (entry.getName() == "SchedulerTypes")
      m_schedulerTypes.insert(names.begin(), names.end());
    else if (entry.getName() == "KSLObjectClasses")
      m_objectClasses.insert(names.begin(), names.end());
    else if (entry.getName() == "ParamCategories")
      m_paramCategories.insert(names.begin(), names.end());
  }
}

void KSLRules::addGlobalParam(KSLAPI* api, const KSLAPI::ObjectInfo& entry, const AdditionalRules& rules)
{
  if (entry.getType() != "PARAMETER")
    throw ksl::invalid("KSLRules", "process",
                       _("KSL type '%s' is not one of PARAMETER, OBJECT or SINGLETON.", entry.getType()));
  ObjectFactory* factory = ObjectFactory::instance();
  if (factory->hasParam(entry.getName()))
    throw ksl::duplicate("KSLRules", "process",
                         _("Duplicate data: Parameter '%s' already exists.", entry.getName()));
  factory->addParam(parseParam(api, entry, rules, nullptr));
}

void KSLRules::addObjectType(KSLAPI* api, const KSLAPI::ObjectInfo& entry, const AdditionalRules& rules)
{
  ObjectFactory* factory = ObjectFactory::instance();
  if (factory->hasObject(entry.getName()))
    throw ksl::duplicate("KSLRules", "process",
                         _("Duplicate data: KSLObject type '%s' already exists.", entry.getName()));
  std::unique_ptr<KSLObject> prototype = parseObject(api, entry, rules, entry.getType() == "SINGLETON");
  const auto* computing = dynamic_cast<const GenericKSLObject*>(prototype.get());
  api->defineType(entry.getName(), prototype->getParamNames(allParams),
                  computing && computing->definesNames());
  factory->addObject(std::move(prototype));
  warnOfTypeName(entry.getName());
}

std::unique_ptr<KSLObject> KSLRules::parseObject(KSLAPI* api, const KSLAPI::ObjectInfo& entry,
                                                 const AdditionalRules& rules, bool singleton)
{
  return ObjectReader(*this, api, rules).read(entry, singleton);
}

std::unique_ptr<ParamDefinition> KSLRules::parseParam(KSLAPI* api, const KSLAPI::ObjectInfo& entry,
                                                      const AdditionalRules& rules,
                                                      const ParamDefinition* parent)
{
  return ParamReader(*api, m_schedulerTypes, rules).read(entry, parent);
}

}  // namespace orv
