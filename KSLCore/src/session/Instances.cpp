#include "Instances.h"

#include "platform/ORVApplicationSupport.h"
#include "platform/ORVError.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "services/EngineUnitSystemHandler.h"

#include <utility>

namespace orv {

namespace {

bool taken = false;

}  // namespace

Instances::Instances()
{
  if (std::exchange(taken, true))
    throw internal::error("Session", "Session", _("There is a session already."));
}

Instances::~Instances()
{
  ObjectDB::destroyInstance();
  ObjectFactory::destroyInstance();
  EngineUnitSystemHandler::destroyInstance();
  Preferences::destroyInstance();
  taken = false;
}

}  // namespace orv
