#include "ObjectText.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"

#include <algorithm>
#include <utility>
#include <vector>

const orv::KSLObject* findObject(const std::string& pathOrName)
{
  const std::string text =
      orv::PathUtils::normalisePathBwdComp(orv::StringUtilities::removeWhitespace(pathOrName));
  const orv::ObjectDB* database = orv::ObjectDB::instance();
  const bool isPath = !text.empty() && text.front() == '/';
  const orv::KSLObject* object = isPath ? database->getObjectByPath(text) : database->getObjectByName(text);
  if (!object)
    orv::ErrorProgressReporter::instance()->reportError(orv::data::notFound(
        "ObjectDB", "getState", orv::_("Object '%s' does not exist.", text), orv::errorType::warning));
  return object;
}

std::string stateText(const std::string& list)
{
  std::string text;
  for (const std::string& item : orv::StringUtilities::stringToVector(list, ','))
    if (const orv::KSLObject* object = findObject(item))
      object->appendState(text, orv::externalParams);
  return text;
}

std::string treeText(const orv::KSLObject& top)
{
  const orv::KSLObject* root = orv::ObjectDB::instance()->getRoot();
  std::string text;
  std::vector<std::pair<const orv::KSLObject*, std::size_t>> waiting{{&top, 0}};
  while (!waiting.empty()) {
    const auto [object, depth] = waiting.back();
    waiting.pop_back();
    const bool isShown = object != root;
    if (isShown)
      text.append(2 * depth, ' ').append(object->getTypeNameString()) += '\n';
    const std::size_t first = waiting.size();
    object->forEachChild(
        [&, below = depth + isShown](const orv::KSLObject* child) { waiting.emplace_back(child, below); });
    std::reverse(waiting.begin() + static_cast<std::ptrdiff_t>(first), waiting.end());
  }
  return text;
}
