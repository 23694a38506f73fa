#include "tests/faults/SweepSystem.h"

#include "platform/ORVDynamicLoader.h"
#include "database/ObjectDB.h"
#include "tests/support/Model.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <set>
#include <unistd.h>

namespace orv {

namespace {

// The function comes from a library that is there, or not, as the trap wants.
constexpr const char* sweepRules =
    "RULES:\nKSLObjectClasses = DataKSLObject, Fragile\nSchedulerTypes = Data\n"
    "PARAMETER: x\nEND\n"
    "PARAMETER: Colour\nAllowed String List = red, green\nEND\n"
    "PARAMETER: Outer Radius\nDefault = 2 [m]\nLocal Type = Data\nEND\n"
    "PARAMETER: Inner Radius\nDefault = 1 [m]\nEND\n"
    "PARAMETER: Area\nParameter Type = Internal\nDefault = 0 [m^2]\nEND\n"
    "PARAMETER: Sum\nParameter Type = Internal\nDefault = 0\nEND\n"
    "PARAMETER: Source\nParameter Type = String List\nLocal Type = Data\nRemote Type = Data\nEND\n"
    "PARAMETER: Main\nLocal Type = Data\nRemote Type = Data\nDefault = HUB:main\nEND\n"
    "OBJECT: A\nKSLObject Class = Fragile\nOptional Parameter List = x, Colour\nEND\n"
    "OBJECT: B\nKSLObject Class = Fragile\nOptional Parameter List = x, Colour\nEND\n"
    "SINGLETON: S\nKSLObject Class = Fragile\nOptional Parameter List = x\nEND\n"
    "OBJECT: NODE\nKSLObject Class = Fragile\nScheduler = Data\n"
    "Calculate Function = Data, fragile, ringArea\n"
    "Optional Parameter List = Outer Radius, Inner Radius, Area, Sum, Source, Main\nEND\n"
    "OBJECT: HUB\nKSLObject Class = Fragile\nScheduler = Data\n"
    "Calculate Function = Data, fragile, ringArea\n"
    "Optional Parameter List = Outer Radius, Inner Radius, Area, Sum\nEND\n"
    "OBJECT: GROUP\nKSLObject Class = DataKSLObject\nEND\n"
    "OBJECT: DATA\nKSLObject Class = DataKSLObject\nOptional Parameter List = x, Colour\nEND\n"
    "PARAMETER: Path Stack\nDefault = .\nEND\n"
    "PARAMETER: Processing Mode\nAllowed String List = None, Session, State\nDefault = None\nEND\n"
    "SINGLETON: FILE PROCESSING\nKSLObject Class = DataKSLObject\n"
    "Essential Parameter List = Processing Mode, Path Stack\nEND\n"
    "END\n";

// ------------------------------------------------------------------------------------------------------------ plug-ins

const std::filesystem::path& pluginFolder()
{
  static const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("faults-" + std::to_string(getpid()));
  return folder;
}

void showPlugins(bool there)
{
  SharedLibrary::destroyInstance();
  setenv("ORV_KSL_PLUGIN_PATH", there ? pluginFolder().c_str() : "/", 1);
}

}  // namespace

SweepPlugins::SweepPlugins()
{
  const std::filesystem::path programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  const std::string extension(SHLIBEXT);
  std::filesystem::create_directories(pluginFolder());
  std::filesystem::create_symlink(programs.parent_path() / "lib" / ("libsmallest" + extension),
                                  pluginFolder() / ("libfragile" + extension));
  showPlugins(true);
}

SweepPlugins::~SweepPlugins()
{
  unsetenv("ORV_KSL_PLUGIN_PATH");
  SharedLibrary::destroyInstance();
  std::filesystem::remove_all(pluginFolder());
}

// ------------------------------------------------------------------------------------------------------- fragile parts

void FragileObject::calculate(const std::string& type)
{
  failAt(FaultKind::calculation);
  const bool missing = trap.strikes(FaultKind::load);
  if (missing)
    showPlugins(false);
  const ScopeGuard again([missing] {
    if (missing)
      showPlugins(true);
  });
  GenericKSLObject::calculate(type);
  double sum = getFloatValue("Area", "m^2");
  for (const KSLObject* parent : getSchedulerParentObjects())
    sum += parent->getFloatValue("Sum");
  setValue("Sum", StringUtilities::toString(static_cast<float>(sum)));
}

// ---------------------------------------------------------------------------------------------------------- the system

void FragileExecutor::invoke(const std::vector<std::string>& words)
{
  failAt(FaultKind::action);
  KSLCoreAPI::instance()->processKSL("B: made\nx = 1\nEND\n> delete " + words.at(1), kslUpdateDefault);
  failAt(FaultKind::action);
  KSLCoreAPI::instance()->processKSL("B: made\nx = 2\nEND", kslUpdateDefault);
  failAt(FaultKind::action);
}

const char* SweepSystem::rules()
{
  return sweepRules;
}

SweepSystem::SweepSystem(bool isObserved) : TestSystem(rules())
{
  if (isObserved)
    ObjectDB::instance()->registerChangeNotify(this);
  else
    ProgressWatcher::set(nullptr);
  actions().registerExecutor("define", std::make_unique<FragileExecutor>());
}

std::vector<KSLObject*> SweepSystem::nodes()
{
  std::vector<KSLObject*> all = ObjectDB::instance()->getAllObjects();
  std::erase_if(all,
                [](const KSLObject* object) { return !object->typeIs("NODE") && !object->typeIs("HUB"); });
  return all;
}

void SweepSystem::calculateAgain()
{
  for (const KSLObject* node : nodes())
    run("> forceupdate " + node->getPath());
}

// ------------------------------------------------------------------------------------------------------------- states

namespace {

std::string render(const HistoryStack& stack)
{
  return std::to_string(stack.size()) + "\n" + (stack.top() ? TestSystem::render(*stack.top()) : "");
}

std::string sortedLines(const std::string& text)
{
  std::vector<std::string> lines = StringUtilities::stringToVector(text, '\n');
  std::ranges::sort(lines);
  return StringUtilities::vectorToString(lines, '\n');
}

std::string graphAt(const KSLObject& node)
{
  std::string text = node.getPath() + node.getSchedulerInfo() + "waits:";
  for (const std::string& name : static_cast<const GenericKSLObject&>(node).getDelayedParams())
    text += " " + name;
  for (const Dependent& dependent : node.getDependents())
    text += "\n<- " + dependent.getObjPath() + " " + dependent.getParamName();
  return text + "\n";
}

}  // namespace

SweepState SweepState::now()
{
  SweepState state{readDatabase().sorted().toText(),
                   sortedLines(ObjectDB::instance()->getRoot()->getState(allParams)),
                   {},
                   {}};
  EXPECT_EQ(readStore().sorted().toText(), state.texts) << "store and database";
  std::set<std::string> nodes;
  for (const KSLObject* node : SweepSystem::nodes())
    nodes.insert(graphAt(*node));
  for (const std::string& text : nodes)
    state.graph += text;
  const KSLInterface* commands = KSLInterface::instance();
  state.history = render(commands->getUndoStack()) + render(commands->getRedoStack());
  return state;
}

namespace {

bool waits(const KSLObject& node, const std::string& param)
{
  const std::vector<std::string>& delayed = static_cast<const GenericKSLObject&>(node).getDelayedParams();
  return std::ranges::find(delayed, param) != delayed.end();
}

// How often the texts of an object name each other one, which must know of it.
std::map<const KSLObject*, int> namedBy(const KSLObject& node)
{
  std::map<const KSLObject*, int> named;
  for (const char* name : {"Source", "Main"}) {
    const ParamDefinition* param = node.lookUpParam(name);
    if (!param || (!param->hasBeenSet() && waits(node, name)))
      continue;  // a default that comes true is linked when its object is next updated
    for (const std::string& item : param->splitValue()) {
      const char* start = item.front() == '/' ? "" : item.find(':') == std::string::npos ? "/NODE:" : "/";
      const KSLObject* object = ObjectDB::instance()->getObjectByPath(start + item);
      if (!object)
        continue;
      ++named[object];
      EXPECT_TRUE(object->getDependents().count(Dependent(&node, param))) << node.getPath();
    }
  }
  return named;
}

}  // namespace

void expectRightGraph(const std::string& when)
{
  SCOPED_TRACE(when);
  for (const KSLObject* node : SweepSystem::nodes()) {
    const SchedulerObject& scheduler = *node->getSchedulerObject("Data");
    EXPECT_FALSE(scheduler.isPending()) << node->getPath();
    float sum = node->getFloatValue("Area", "m^2");
    std::map<const KSLObject*, int> linked;
    for (const LinkMap::Entry& edge : scheduler.getParents()) {
      const SchedulerObject* parent = edge.first;
      linked[parent->getKSLObject()] = static_cast<int>(edge.count());
      EXPECT_EQ(parent->getChildren().count(&scheduler), static_cast<int>(edge.count()));
      sum += parent->getKSLObject()->getFloatValue("Sum");
    }
    EXPECT_EQ(linked, namedBy(*node)) << node->getPath();
    EXPECT_NEAR(node->getFloatValue("Sum"), sum, 1e-3 * sum) << node->getPath();
  }
}

}  // namespace orv
