#include "tests/contexts/Life.h"

#include "platform/ORVOutputFiles.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/AdditionalRules.h"
#include "rules/GenericKSLObject.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "services/EngineUnitSystemHandler.h"
#include "session/Registration.h"

#include <cstdlib>
#include <filesystem>
#include <utility>

namespace orv {

Story demoStory(const std::string& folder, int number)
{
  std::filesystem::create_directories(folder);
  const std::string n = std::to_string(number);
  const std::string state = folder + "/kept.qst";
  return {std::string(std::getenv("KSL_SOURCE_DIR")) + "/share/ksl",
          {},
          folder + "/",
          {"DATA READER:\n Current Results File = cylinder.res\nEND\nDOMAIN: Wind Tunnel\n Fluid = Air\n"
           " BOUNDARY: Cylinder\n  Wall Speed = "
               + n + " [km h^-1]\n END\nEND\n",
           "EXPRESSIONS:\n Height = " + n + " [cm] + 1 [ft]\n Twice = 2 * Height\nEND\n",
           "CUT: Slice\n Axis = Z\n Offset = Twice\nEND\nPROBE: p\n Point = " + n
               + " [inch], 1 [m], 0 [m]\nEND\n",
           "CUT: Slice\n Offset = 1 [fortnight]\nEND\n",
           "PROBE: q" + n + "\nEND\nPROBE: r\n Point = 1 [nounit" + n + "], 0 [m], 0 [m]\nEND\n", "> undo",
           "> redo", "UNITS:\n Unit System = CGS\nEND\n",
           "BAND: Fast\n Location = /CUT:Slice\n Variable = Speed\n Band Count = 3\nEND\n"
           "SHOT: Shown\n Picture List = /BAND:Fast\n Output File = "
               + folder + "/shown.svg\nEND\n",
           "EXPRESSIONS:\n Height = 3 [" + std::string(number % 2 ? "mm" : "inch") + "]\nEND\n",
           "> savestate filename=" + state, "> delete Slice", "> undo", "> copy from=/PROBE:p, to=/PROBE:s",
           "> readstate filename=" + state + ", mode=overwrite", "EXPRESSIONS:\n Height = Twice\nEND\n"}};
}

Story plainStory()
{
  return {{},
          "RULES:\nCategories = deletable\nKSLObjectClasses = DataKSLObject, GenericKSLObject\n"
          "SchedulerTypes = Geometry\n"
          "PARAMETER: Offset\nParameter Type = Quantity\nDefault = 1 [s]\nEND\n"
          "PARAMETER: After\nLocal Type = Geometry\nRemote Type = Geometry\nEND\n"
          "OBJECT: CUT\nKSLObject Class = GenericKSLObject\nCategory = deletable\nScheduler = Geometry\n"
          "Optional Parameter List = Offset, After\nEND\n"
          "OBJECT: EXPRESSIONS\nKSLObject Class = DataKSLObject\nOptional Parameter List = Offset\nEND\n"
          "END\n",
          {},
          {"CUT: Slice\nEND\nEXPRESSIONS: e\n Offset = 3 [ms]\nEND\n", "CUT: b\n After = Slice\nEND\n",
           "CUT: Slice\n Offset = 3 [cm]\nEND\n", "PROBE: p\nEND\n", "CUT: Slice\n After = b\nEND\n",
           "> delete b", "> undo", "> undo", "> redo", "UNITS:\nEND\n"}};
}

namespace {

std::string without(std::string text, const std::string& part)
{
  for (std::size_t at = text.find(part); !part.empty() && at != std::string::npos; at = text.find(part))
    text.erase(at, part.size());
  return text;
}

std::string steps(const HistoryStack& stack)
{
  return std::to_string(stack.size());
}

}  // namespace

Life::Life(Story story, Place place)
    : m_story(std::move(story)),
      m_context(place == Place::context ? std::make_unique<Context>() : nullptr)
{
  const Context::Scope scope(m_context.get());
  begin();
}

// Like that of a program.
Life::~Life()
{
  if (m_context) {
    m_context.reset();
    return;
  }
  const Context::Scope scope(nullptr);
  KSLInterface::destroyInstance();
  KSLCoreAPI::destroyInstance();
  ObjectDB::destroyInstance();
  ObjectFactory::destroyInstance();
  EngineUnitSystemHandler::destroyInstance();
  ErrorProgressReporter::destroyInstance();
}

void Life::begin()
{
  ErrorProgressReporter::instance()->setSink(&m_errors);
  registerObjectClasses();
  KSLInterface* commands = KSLInterface::instance();
  if (m_story.rules.empty())
    commands->initialize(m_story.library, "");
  else
    commands->getKSLAPI()->loadKSLData(StringUtilities::stringToVector(m_story.rules, '\n'));
  AdditionalRules rules;
  rules.applyObjectRules = true;
  commands->processRules(rules);
  registerActions(m_actions, m_executive);
  m_executive.setActionFactory(&m_actions);
  commands->setExecutive(&m_executive);
}

bool Life::tellNext()
{
  if (m_step == m_story.steps.size())
    return false;
  const Context::Scope scope(m_context.get());
  tell(m_story.steps[m_step++]);
  return true;
}

const std::string& Life::tellAll()
{
  while (tellNext()) {}
  return m_told;
}

void Life::tell(const std::string& step)
{
  KSLCoreAPI::instance()->processKSL(step, kslUpdateDefault);
  std::string text = "== " + step + '\n';
  for (const ErrorMsg& error : m_errors.errors())
    text += toText(error) + '\n';
  m_errors.clear();
  const KSLObject* root = ObjectDB::instance()->getRoot();
  text += root->getState(allParams);
  for (KSLObject* object : ObjectDB::instance()->getAllObjects()) {
    if (const auto* computing = dynamic_cast<const GenericKSLObject*>(object))
      for (const SchedulerObject& scheduler : computing->getSchedulers())
        text += object->getPath() + ' ' + scheduler.getType() + std::to_string(scheduler.getSerial()) + '\n';
  }
  text += UnitSystemHandler::current()->getPreferredUnitsForQuantity("Length") + ' ';
  text += steps(KSLInterface::instance()->getUndoStack()) + ' ';
  text += steps(KSLInterface::instance()->getRedoStack()) + '\n';
  for (const std::string& file : OutputFiles::instance()->written())
    text += file + '\n' + ORVFile::readAll(file);
  m_told += without(text, m_story.folder);
}

}  // namespace orv
