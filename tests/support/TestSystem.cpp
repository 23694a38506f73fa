#include "TestSystem.h"

#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "session/Registration.h"
#include "tests/support/Model.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <utility>

namespace orv {

// A, B, C: plain texts x, y, z. CUT: essential with defaults, contexts, lists, truth values, references, an
// internal parameter; deletable. LABEL and MARK: to be nested. VIEW: a singleton.
const char* TestSystem::defaultRules()
{
  return "RULES:\nCategories = deletable, staging\nKSLObjectClasses = DataKSLObject\nSchedulerTypes = Data\n"
         "ParamCategories = Other, Geometry\n"
         "PARAMETER: x\nEND\n"
         "PARAMETER: y\nEND\n"
         "PARAMETER: z\nEND\n"
         "PARAMETER: Option\nAllowed String List = Plane, Sphere\nEND\n"
         "PARAMETER: Offset\nParameter Type = Quantity\nDefault = 0 [mm]\nParameter Category = Geometry\n"
         "END\n"
         "PARAMETER: Radius\nParameter Type = Quantity\nDefault = 1 [m]\nParameter Category = Geometry\n"
         "END\n"
         "PARAMETER: Normal\nParameter Type = Real Triplet\nDefault = 0, 0, 1\nEND\n"
         "PARAMETER: Colour\nAllowed String List = red, green, blue\nDefault = green\nEND\n"
         "PARAMETER: Layers\nParameter Type = String List\nAllowed String List = front, middle, back\n"
         "Default = front\nEND\n"
         "PARAMETER: Visible\nParameter Type = Logical\nDefault = True\nEND\n"
         "PARAMETER: Cuts\nParameter Type = String List\nLocal Type = Data\nRemote Type = Data\nEND\n"
         "PARAMETER: Cache\nEND\n"
         "PARAMETER: Text\nDefault = none\nEND\n"
         "PARAMETER: Zoom\nParameter Type = Real\nDefault = 1\nEND\n"
         "PARAMETER: Processing Mode\nAllowed String List = None, Session, State\nDefault = None\nEND\n"
         "OBJECT: A\nKSLObject Class = DataKSLObject\nCategory = deletable\n"
         "Optional Parameter List = x, y, z\nEND\n"
         "OBJECT: B\nKSLObject Class = DataKSLObject\nOptional Parameter List = x, y, z\nEND\n"
         "OBJECT: C\nKSLObject Class = DataKSLObject\nOptional Parameter List = x, y, z\nEND\n"
         "OBJECT: CUT\nKSLObject Class = DataKSLObject\nCategory = deletable\n"
         "Essential Parameter List = Option, Colour\nOptional Parameter List = Layers, Visible, Cuts\n"
         "Internal Parameter List = Cache\nAllowed Option List = Plane, Sphere\nContext Rule = Option\n"
         "CONTEXT: Plane\nEssential Parameter List = Offset\nOptional Parameter List = Normal\nEND\n"
         "CONTEXT: Sphere\nEssential Parameter List = Radius\nEND\nEND\n"
         "OBJECT: LABEL\nKSLObject Class = DataKSLObject\nEssential Parameter List = Text\n"
         "Optional Parameter List = Visible\nEND\n"
         "OBJECT: MARK\nKSLObject Class = DataKSLObject\nOptional Parameter List = Colour, Text\n"
         "PARAMETER: Colour\nDefault = red\nEND\nEND\n"
         "SINGLETON: VIEW\nKSLObject Class = DataKSLObject\nCategory = staging\n"
         "Essential Parameter List = Zoom\nOptional Parameter List = Text\nEND\n"
         "PARAMETER: Path Stack\nDefault = .\nEND\n"
         "PARAMETER: Session Filename\nEND\n"
         "PARAMETER: Write Session Mode\nEND\n"
         "SINGLETON: FILE PROCESSING\nKSLObject Class = DataKSLObject\n"
         "Essential Parameter List = Processing Mode, Path Stack\nEND\n"
         "SINGLETON: SESSION\nKSLObject Class = DataKSLObject\n"
         "Essential Parameter List = Session Filename, Write Session Mode\nEND\n"
         "END\n";
}

namespace {

class FunctionExecutor : public ActionExecutor {
 public:
  explicit FunctionExecutor(TestSystem::Action action) : m_action(std::move(action)) {}
  void invoke(const std::vector<std::string>& words) override { m_action(words); }

 private:
  TestSystem::Action m_action;
};

}  // namespace

// ------------------------------------------------------------------------------------------------- beginning, end

TestSystem::TestSystem(const std::string& rules)
{
  ErrorProgressReporter::instance()->setSink(&m_errors);
  DataKSLObject::registerBaseType();
  m_executive.setActionFactory(&m_factory);
  KSLInterface* owner = KSLInterface::instance();
  owner->setExecutive(&m_executive);
  registerExecutors();
  owner->getKSLAPI()->loadKSLData(StringUtilities::stringToVector(rules, '\n'));
  AdditionalRules options;
  options.applyObjectRules = true;
  owner->processRules(options);
  KSLCoreAPI::instance()->attach(&m_log, std::set<int>{0, 1, 4, 5, 12, 13, 14, 15, 16});
}

TestSystem::~TestSystem()
{
  KSLCoreAPI::instance()->detach(&m_log);
  KSLInterface::destroyInstance();
  KSLCoreAPI::destroyInstance();
  ObjectDB::destroyInstance();
  ObjectFactory::destroyInstance();
  ErrorProgressReporter::destroyInstance();
}

void TestSystem::registerExecutors()
{
  ActionOptions options;
  options.files = &m_files;
  options.stateChanges = &m_stateChanges;
  registerActions(m_factory, m_executive, options);
  registerAction("setViewportView", [this](const std::vector<std::string>& words) {
    m_viewActions += m_viewActions.empty() ? "" : "; ";
    m_viewActions += ActionExecutor::mergeActionLine(words);
  });
}

void TestSystem::registerAction(const std::string& word, Action action)
{
  m_factory.registerExecutor(word, new FunctionExecutor(std::move(action)));
}

void TestSystem::FileLog::registerFileChange(const std::string& fileName, const std::string& type)
{
  std::error_code missing;
  const std::uintmax_t size = std::filesystem::file_size(fileName, missing);
  add("changed " + fileName + " " + type + " " + (missing ? "missing" : std::to_string(size)));
}

void TestSystem::FileLog::registerExternalFileChange(const std::string& fileName, const std::string& type)
{
  add("changed outside " + fileName + " " + type);
}

void TestSystem::FileLog::registerFileType(const std::string& type)
{
  add("type " + type);
}

void TestSystem::NotificationLog::update(ObserverSubject*, int type)
{
  m_owner->m_notifications += (m_owner->m_notifications.empty() ? "" : " ") + std::to_string(type);
  if (m_owner->onNotification)
    m_owner->onNotification(type);
}

// -------------------------------------------------------------------------------------------------------- coming out

std::string TestSystem::state() const
{
  return ObjectDB::instance()->getRoot()->getState(externalParams);
}

std::string TestSystem::fullState() const
{
  return ObjectDB::instance()->getRoot()->getState(allParams);
}

std::string TestSystem::store() const
{
  return storeText(*text());
}

std::string TestSystem::storeText(const KSLAPI& store)
{
  std::string text;
  std::size_t depth = 0;
  bool inRules = false;
  for (const std::string& line : store.getExpandedKSL()) {
    inRules = inRules || (depth == 0 && line == "RULES:");
    if (line == "END")
      --depth;
    if (!inRules)
      text.append(2 * depth, ' ').append(line).append("\n");
    if (line == "END" && depth == 0)
      inRules = false;
    if (line.find(':') < line.find('='))
      ++depth;
  }
  return text;
}

std::string TestSystem::errors()
{
  std::string text;
  for (const ErrorMsg& error : errorList())
    text.append(text.empty() ? "" : "\n").append(toText(error));
  return text;
}

std::vector<ErrorMsg> TestSystem::errorList()
{
  std::vector<ErrorMsg> list = m_errors.errors();
  m_errors.clear();
  return list;
}

std::string TestSystem::steps(const HistoryStack& stack)
{
  if (stack.size() == 0)
    return "0";
  return std::to_string(stack.size()) + " (" + std::to_string(stack.top()->size()) + ")";
}

std::string TestSystem::render(const KSLChangeList& changes)
{
  std::string text;
  for (std::size_t i = 0; i < changes.size(); ++i) {
    const KSLChange& change = changes[i];
    const std::string of = change.path.str() + " " + change.name.str();
    switch (change.kind) {
      case KSLChange::Kind::createObject:
        text += "create " + change.path.str();
        break;
      case KSLChange::Kind::deleteObject:
        text += "delete " + change.path.str();
        break;
      case KSLChange::Kind::createParam:
        text += "param " + of + " = " + change.value.str();
        break;
      case KSLChange::Kind::deleteParam:
        text += "drop " + of + " (" + change.value.str() + ")";
        break;
      case KSLChange::Kind::changeParam:
        text += "change " + of + " = " + change.value.str() + " (" + change.oldValue.str() + ")";
        break;
    }
    text += "\n";
  }
  return text;
}

void TestSystem::expectConsistent() const
{
  EXPECT_EQ(inconsistencies(), "");
}

std::string TestSystem::inconsistencies() const
{
  const ModelNode inStore = readStore();
  const ModelNode inDatabase = readDatabase();
  return inStore == inDatabase ? "" : "Store:\n" + inStore.toText() + "Database:\n" + inDatabase.toText();
}

}  // namespace orv
