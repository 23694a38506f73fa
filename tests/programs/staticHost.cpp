// A host whose objects are static: it starts the library when the first of them is made, works in main, and takes the
// library down after main, when statics that were made later have gone. Run under a sanitizer it shows that nothing of
// the library outlives what it stands on.
#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/AdditionalRules.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "services/EngineUnitSystemHandler.h"
#include "session/Registration.h"

#include <cstdlib>
#include <iostream>
#include <string>

namespace {

class Host {
 public:
  Host()
  {
    orv::registerObjectClasses();
    m_executive.setActionFactory(&m_actions);
    orv::registerActions(m_actions, m_executive);
    orv::KSLInterface::instance()->setExecutive(&m_executive);
  }
  ~Host()
  {
    orv::KSLInterface::destroyInstance();
    orv::KSLCoreAPI::destroyInstance();
    orv::ObjectDB::destroyInstance();
    orv::ObjectFactory::destroyInstance();
    orv::EngineUnitSystemHandler::destroyInstance();
    orv::ErrorProgressReporter::destroyInstance();
  }

 private:
  orv::Executive m_executive;
  orv::ActionFactory m_actions;
};

Host theHost;

// Enough to fill lists of changes: defined, deleted, undone, left on the stacks and half-way; with units, expressions and
// references where the library has them.
std::string manyObjects()
{
  std::string text;
  for (int i = 0; i < 2000; ++i)
    text += "CUT: c" + std::to_string(i) + "\nOffset = " + std::to_string(i) + " [mm]\nEND\n";
  return text;
}

}  // namespace

int main(int argc, char** argv)
{
  orv::KSLInterface* commands = orv::KSLInterface::instance();
  commands->initialize(argc > 1 ? argv[1] : "share/ksl", "");
  orv::AdditionalRules rules;
  rules.applyObjectRules = true;
  commands->processRules(rules);
  orv::KSLCoreAPI* api = orv::KSLCoreAPI::instance();
  api->recordKSLChanges(true);
  api->processKSL(manyObjects(), orv::kslUpdateDefault);
  api->processKSL("> delete c0, c1\nCUT: c1\nEND\n> undo\n> undo\n> redo", orv::kslUpdateDefault);
  api->processKSL("CUT: c5\nOffset = 1 +\nNo Such = 1\nEND", orv::kslUpdateDefault);  // fails, on purpose
  commands->getKSLAPI()->loadKSLData({"CUT: outside", "END"});                        // left half-way
  const std::size_t size = orv::ObjectDB::instance()->size();
  std::cout << size << " objects\n";
  return size < 1000 ? EXIT_FAILURE : EXIT_SUCCESS;
}
