#include "Trace.h"

#include "command/KSLCoreAPI.h"

#include <iostream>

using orv::KSLCoreAPI;

NotificationTrace::NotificationTrace()
{
  KSLCoreAPI::instance()->attach(
      this, {KSLCoreAPI::parseBegin, KSLCoreAPI::parseEnd, KSLCoreAPI::updateBegin, KSLCoreAPI::updateEnd,
             KSLCoreAPI::recoveryBegin, KSLCoreAPI::recoveryEnd, KSLCoreAPI::redoRecoveryBegin,
             KSLCoreAPI::redoRecoveryEnd, KSLCoreAPI::outermostProcessed});
}

NotificationTrace::~NotificationTrace()
{
  KSLCoreAPI::instance()->detach(this);
}

void NotificationTrace::update(orv::ObserverSubject*, int type)
{
  std::cerr << "notify " << type << '\n';
}
