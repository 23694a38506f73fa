// Command texts through the whole system. Whatever comes in, store and database hold the same afterwards, nothing is
// left of the command, and all of it can be undone.
#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/AdditionalRules.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "actions/CopyExecutor.h"
#include "actions/DeleteExecutor.h"
#include "actions/RedoExecutor.h"
#include "actions/RenameExecutor.h"
#include "actions/UndoExecutor.h"
#include "actions/UpdateExecutor.h"
#include "require.h"

#include <map>
#include <stdexcept>
#include <vector>

using namespace orv;

namespace {

constexpr const char* rules =
    "RULES:\nKSLObjectClasses = DataKSLObject\n"
    "PARAMETER: x\nEND\nPARAMETER: Colour\nAllowed String List = red, green\nEND\n"
    "OBJECT: A\nKSLObject Class = DataKSLObject\nOptional Parameter List = x, Colour\nEND\n"
    "OBJECT: B\nKSLObject Class = DataKSLObject\nEssential Parameter List = x\nEND\n"
    "SINGLETON: S\nKSLObject Class = DataKSLObject\nOptional Parameter List = x\nEND\nEND";

class NestExecutor : public ActionExecutor {
 public:
  void invoke(const std::vector<std::string>& words) override
  {
    KSLCoreAPI::instance()->processKSL("B: nested\nx = 1\nEND\n> delete /A:a", kslUpdateDefault);
    if (words.size() > 1)
      throw std::runtime_error("asked to fail");
  }
};

class System {
 public:
  System()
  {
    ErrorProgressReporter::instance()->setSink(&m_errors);
    DataKSLObject::registerBaseType();
    m_executive.setActionFactory(&m_factory);
    KSLInterface* owner = KSLInterface::instance();
    owner->setExecutive(&m_executive);
    m_factory.registerExecutor("update", new UpdateExecutor(&m_executive));  // and none that writes files
    m_factory.registerExecutor("undo", new UndoExecutor(&m_executive));
    m_factory.registerExecutor("redo", new RedoExecutor(&m_executive));
    m_factory.registerExecutor("delete", new DeleteExecutor);
    m_factory.registerExecutor("copy", new CopyExecutor);
    m_factory.registerExecutor("rename", new RenameExecutor);
    m_factory.registerExecutor("nest", new NestExecutor);
    owner->getKSLAPI()->loadKSLData(StringUtilities::stringToVector(rules, '\n'));
    AdditionalRules options;
    options.applyObjectRules = true;
    owner->processRules(options);
  }
  ~System()
  {
    KSLInterface::destroyInstance();
    KSLCoreAPI::destroyInstance();
    ObjectDB::destroyInstance();
    ObjectFactory::destroyInstance();
    ErrorProgressReporter::destroyInstance();
  }
  System(const System&) = delete;
  System& operator=(const System&) = delete;

  std::size_t takeErrors()
  {
    std::size_t count = 0;
    for (const ErrorMsg& error : m_errors.errors())
      count += error.getType() == errorType::warning ? 0 : 1;
    m_errors.clear();
    return count;
  }

 private:
  ErrorCollector m_errors;
  Executive m_executive;
  ActionFactory m_factory;
};

using Contents = std::map<std::string, std::map<std::string, std::string>>;

Contents storeContents()
{
  Contents contents;
  std::vector<std::string> waiting{""};
  while (!waiting.empty()) {
    const std::string path = waiting.back();
    waiting.pop_back();
    for (const KSLAPI::ObjectInfo& info : KSLInterface::instance()->getKSLAPI()->getObjectInfo(path)) {
      if (info.getPath() == "/RULES")
        continue;
      if (info.getKind() == "Param") {
        contents[path][info.getName()] = info.getValue();
        continue;
      }
      contents[info.getPath()];
      waiting.push_back(info.getPath());
    }
  }
  return contents;
}

Contents databaseContents()
{
  Contents contents;
  for (const KSLObject* object : ObjectDB::instance()->getAllObjects()) {
    auto& params = contents[object->getPath()];
    object->forEachParam([&params](const ParamDefinition& param) {
      if (param.hasBeenSet())
        params[param.getName()] = param.getValue();
    });
  }
  return contents;
}

void checkRest()
{
  const KSLInterface* owner = KSLInterface::instance();
  require(owner->getParseDepth() == 0, "a parse is still under way");
  require(owner->getUndoModeString() == "NORMAL", "the mode is not normal");
  require(owner->getKSLAPI()->getKSLChangeList()->empty(), "changes are left");
  require(storeContents() == databaseContents(), "store and database differ");
}

}  // namespace

// The first byte says in which update mode and after what the text is run.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  if (size < 2 || size > 4000)
    return 0;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  if (text.find("noaction") != std::string::npos)  // parts store and database on purpose
    return 0;
  System system;
  KSLInterface* owner = KSLInterface::instance();
  KSLCoreAPI* api = KSLCoreAPI::instance();
  if (data[0] & 2)
    api->processKSL("A: a\nx = 1\nB: b\nx = 2\nEND\nEND\nS:\nx = 3\nEND", kslUpdateDefault);
  const Contents before = databaseContents();
  const std::size_t steps = owner->getUndoStack().size();

  api->processKSL(text, data[0] & 1 ? kslUpdateAtEnd : kslUpdateDefault);
  const std::size_t errors = system.takeErrors();
  checkRest();
  require(errors <= 1, "a failure is reported once");
  require(errors == 0 || databaseContents() == before, "a failed command left a trace");
  require(errors == 0 || owner->getUndoStack().size() <= steps, "a failed command left a step");

  const Contents after = databaseContents();
  const std::size_t undoable = owner->getUndoStack().size();
  for (std::size_t i = 0; i < undoable; ++i)
    owner->undo();
  require(system.takeErrors() == 0, "undo failed");
  checkRest();
  for (std::size_t i = 0; i < undoable; ++i)
    owner->redo();
  require(system.takeErrors() == 0, "redo failed");
  checkRest();
  require(databaseContents() == after, "redo of all does not lead back");
  return 0;
}
