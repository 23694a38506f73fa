#include "tests/contexts/Life.h"

#include "platform/ORVOutputFiles.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "rules/AdditionalRules.h"
#include "rules/GenericKSLObject.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
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
  return {{},
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
  return {
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

Life::Life(Story story) : m_story(std::move(story))
{
  const Context::Scope scope(m_context);
  ErrorProgressReporter::instance()->setSink(&m_errors);
  registerObjectClasses();
  KSLInterface* commands = KSLInterface::instance();
  if (m_story.rules.empty())
    commands->initialize(std::string(std::getenv("KSL_SOURCE_DIR")) + "/share/ksl", "");
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
  const Context::Scope scope(m_context);
  std::string text = tell(m_story.steps[m_step++]);
  const std::string& folder = m_story.folder;
  for (std::size_t at = text.find(folder); !folder.empty() && at != std::string::npos; at = text.find(folder))
    text.erase(at, folder.size());
  m_told += text;
  return true;
}

const std::string& Life::tellAll()
{
  while (tellNext()) {}
  return m_told;
}

std::string Life::tell(const std::string& step)
{
  KSLInterface* commands = KSLInterface::instance();
  KSLCoreAPI::instance()->processKSL(step, kslUpdateDefault);
  std::string text = "== " + step + '\n';
  for (const ErrorMsg& error : m_errors.errors())
    text += toText(error) + '\n';
  m_errors.clear();
  text += ObjectDB::instance()->getRoot()->getState(allParams);
  for (KSLObject* object : ObjectDB::instance()->getAllObjects())
    if (const auto* computing = dynamic_cast<const GenericKSLObject*>(object))
      for (const SchedulerObject& scheduler : computing->getSchedulers())
        text += object->getPath() + ' ' + scheduler.getType() + std::to_string(scheduler.getSerial()) + '\n';
  text += UnitSystemHandler::current()->getPreferredUnitsForQuantity("Length") + ' '
          + std::to_string(commands->getUndoStack().topId()) + ' '
          + std::to_string(commands->getRedoStack().topId()) + '\n';
  for (const std::string& file : OutputFiles::instance()->written())
    text += file + '\n' + ORVFile::readAll(file);
  return text;
}

}  // namespace orv
