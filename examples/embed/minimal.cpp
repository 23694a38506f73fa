// The smallest program that holds objects: it reads definitions, runs the commands of its standard input and
// prints the state. docs/embedding.md goes through it.
//
//   c++ -std=c++17 minimal.cpp $(pkg-config --cflags --libs orvksl) -o minimal
//   printf 'CUT: a\nEND\n' | ./minimal $(pkg-config --variable=demodir orvksl)

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

#include <iostream>
#include <iterator>
#include <string>

namespace {

// Takes the library down: first what uses the others.
void end()
{
  orv::KSLInterface::destroyInstance();
  orv::KSLCoreAPI::destroyInstance();
  orv::ObjectDB::destroyInstance();
  orv::ObjectFactory::destroyInstance();
  orv::EngineUnitSystemHandler::destroyInstance();
  orv::ErrorProgressReporter::destroyInstance();
}

void run(const std::string& library, const std::string& text)
{
  orv::Executive executive;
  orv::ActionFactory actions;
  const orv::ScopeGuard guard(end);  // before these two, also when a step below throws

  orv::registerObjectClasses();
  orv::KSLInterface* commands = orv::KSLInterface::instance();
  commands->initialize(library, "");
  orv::AdditionalRules rules;
  rules.applyObjectRules = true;
  commands->processRules(rules);
  orv::registerActions(actions, executive);
  executive.setActionFactory(&actions);
  commands->setExecutive(&executive);
  orv::KSLCoreAPI::instance()->processKSL(text, orv::kslUpdateAtEnd);
  std::cout << orv::ObjectDB::instance()->getRoot()->getState(orv::externalParams);
}

}  // namespace

int main(int argc, char** argv)
{
  try {
    const std::string text(std::istreambuf_iterator<char>(std::cin), {});
    run(argc > 1 ? argv[1] : "share/ksl", text);
    return 0;
  } catch (const orv::Error& error) {
    std::cerr << toText(orv::ErrorMsg(error)) << '\n';
    return 1;
  }
}
