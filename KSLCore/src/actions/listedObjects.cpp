#include "actions/listedObjects.h"

#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "command/actionChecks.h"

#include <unordered_map>

namespace orv {

namespace {

const KSLObject* findListed(const std::string& item)
{
  const ObjectDB* database = ObjectDB::instance();
  if (item.find_first_of("/:") != std::string::npos)
    return database->getObjectByPath(namedPath(item));
  try {
    return database->getObjectByName(namedPath(item));
  } catch (const data::invalid&) {  // ambiguous
    return nullptr;
  }
}

// Objects by the text that is left of their path, or top-level name, without white space; null for several.
class SqueezedNames {
 public:
  const KSLObject* find(const std::string& item)
  {
    if (m_objects.empty())
      fill();
    const auto found = m_objects.find(namedPath(item));
    return found == m_objects.end() ? nullptr : found->second;
  }

 private:
  void fill()
  {
    for (const KSLObject* object : ObjectDB::instance()->getAllObjects()) {
      add(object->getPath(), object);
      if (object->getPath().find('/', 1) == std::string::npos)
        add(object->getName(), object);
    }
  }
  void add(const std::string& text, const KSLObject* object)
  {
    const auto [entry, isNew] = m_objects.emplace(StringUtilities::removeAllWhitespace(text), object);
    if (!isNew)
      entry->second = nullptr;
  }

  std::unordered_map<std::string, const KSLObject*> m_objects;
};

}  // namespace

std::vector<const KSLObject*> listedObjects(const std::string& list, bool squeezed,
                                            const std::function<void(const std::string&)>& missing)
{
  std::vector<const KSLObject*> objects;
  SqueezedNames names;
  for (const std::string& text :
       StringUtilities::stringToVector(PathUtils::normalisePathsBwdComp(list), ',')) {
    const std::string item = StringUtilities::removeWhitespace(text);
    if (item.empty())
      continue;
    const KSLObject* object = findListed(item);
    if (!object && squeezed)
      object = names.find(item);
    if (object)
      objects.push_back(object);
    else
      missing(item);
  }
  return objects;
}

}  // namespace orv
