#include "StateWatch.h"

#include "command/KSLCoreAPI.h"

StateWatch::StateWatch()
{
  // The one notification that comes with changes alone: 0, 1 and 16 come with every command, also with the one that
  // saves.
  orv::KSLCoreAPI::instance()->attach(&m_observer, orv::KSLCoreAPI::updateBegin);
}

StateWatch::~StateWatch()
{
  orv::KSLCoreAPI::instance()->detach(&m_observer);
}
