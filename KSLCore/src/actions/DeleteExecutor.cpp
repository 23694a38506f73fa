#include "actions/DeleteExecutor.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/NamesBeside.h"
#include "database/ObjectDB.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "command/actionChecks.h"
#include "actions/DeletionFilterIF.h"

namespace orv {

namespace {

constexpr const char* viewAction = "setViewportView";

const KSLObject* findObject(const std::string& token)
{
  const ObjectDB* database = ObjectDB::instance();
  const std::string path = namedPath(token);
  return !path.empty() && path.front() == '/' ? database->getObjectByPath(path)
                                              : database->getObjectByName(path);
}

std::vector<std::string> findPaths(const std::vector<std::string>& words)
{
  std::vector<std::string> paths;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const KSLObject* object = words[i].empty() ? nullptr : findObject(words[i]);
    if (object && object->hasPath())  // the root has no path
      paths.push_back(object->getPath());
  }
  return paths;
}

void deleteText(const std::string& path)
{
  KSLAPI* store = KSLInterface::instance()->getKSLAPI();
  if (store->doesPathExist(path))
    return store->deleteObj(path);
  ErrorProgressReporter::instance()->reportError(
      diagnosed(data::notFound("DeleteExecutor", "invoke", _("%s '%s' does not exist.", "KSL data", path),
                               errorType::warning),
                unknownObject(path)));
}

bool hostHas(const char* action)
{
  const Executive* executive = KSLInterface::instance()->getExecutive();
  return executive && executive->getActionFactory() && executive->getActionFactory()->hasExecutor(action);
}

}  // namespace

DeletionFilterIF::~DeletionFilterIF() = default;
DeleteExecutor::~DeleteExecutor() = default;

void DeleteExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {"delete"}, "DeleteExecutor");
  checkAtLeast(words, "delete", 1, "DeleteExecutor");
  std::vector<std::string> paths = findPaths(words);
  if (m_filter)
    m_filter->filter(paths);
  for (const std::string& path : PathUtils::filterChildPaths(paths))
    deleteText(path);
  KSLCoreAPI* api = KSLCoreAPI::instance();
  api->processKSL(">update", kslUpdateDefault);
  if (hostHas(viewAction))
    api->processKSL(std::string(">") + viewAction + " cmd=update", kslUpdateDefault);
}

}  // namespace orv
