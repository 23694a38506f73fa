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
  return R"(RULES:
  Categories = deletable, staging
  KSLObjectClasses = DataKSLObject
  SchedulerTypes = Data
  ParamCategories = Other, Geometry
  PARAMETER: x
  END
  PARAMETER: y
  END
  PARAMETER: z
  END
  PARAMETER: Option
    Allowed String List = Plane, Sphere
  END
  PARAMETER: Offset
    Parameter Type = Quantity
    Default = 0 [mm]
    Parameter Category = Geometry
  END
  PARAMETER: Radius
    Parameter Type = Quantity
    Default = 1 [m]
    Parameter Category = Geometry
  END
  PARAMETER: Normal
    Parameter Type = Real Triplet
    Default = 0, 0, 1
  END
  PARAMETER: Colour
    Allowed String List = red, green, blue
    Default = green
  END
  PARAMETER: Layers
    Parameter Type = String List
    Allowed String List = front, middle, back
    Default = front
  END
  PARAMETER: Visible
    Parameter Type = Logical
    Default = True
  END
  PARAMETER: Cuts
    Parameter Type = String List
    Local Type = Data
    Remote Type = Data
  END
  PARAMETER: Cache
  END
  PARAMETER: Text
    Default = none
  END
  PARAMETER: Zoom
    Parameter Type = Real
    Default = 1
  END
  PARAMETER: Processing Mode
    Allowed String List = None, Session, State
    Default = None
  END
  OBJECT: A
    KSLObject Class = DataKSLObject
    Category = deletable
    Optional Parameter List = x, y, z
  END
  OBJECT: B
    KSLObject Class = DataKSLObject
    Optional Parameter List = x, y, z
  END
  OBJECT: C
    KSLObject Class = DataKSLObject
    Optional Parameter List = x, y, z
  END
  OBJECT: CUT
    KSLObject Class = DataKSLObject
    Category = deletable
    Essential Parameter List = Option, Colour
    Optional Parameter List = Layers, Visible, Cuts
    Internal Parameter List = Cache
    Allowed Option List = Plane, Sphere
    Context Rule = Option
    CONTEXT: Plane
      Essential Parameter List = Offset
      Optional Parameter List = Normal
    END
    CONTEXT: Sphere
      Essential Parameter List = Radius
    END
  END
  OBJECT: LABEL
    KSLObject Class = DataKSLObject
    Essential Parameter List = Text
    Optional Parameter List = Visible
  END
  OBJECT: MARK
    KSLObject Class = DataKSLObject
    Optional Parameter List = Colour, Text
    PARAMETER: Colour
      Default = red
    END
  END
  SINGLETON: VIEW
    KSLObject Class = DataKSLObject
    Category = staging
    Essential Parameter List = Zoom
    Optional Parameter List = Text
  END
  PARAMETER: Path Stack
    Default = .
  END
  PARAMETER: Session Filename
  END
  PARAMETER: Write Session Mode
  END
  SINGLETON: FILE PROCESSING
    KSLObject Class = DataKSLObject
    Essential Parameter List = Processing Mode, Path Stack
  END
  SINGLETON: SESSION
    KSLObject Class = DataKSLObject
    Essential Parameter List = Session Filename, Write Session Mode
  END
END
)";
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
