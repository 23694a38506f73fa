#include "StateWatch.h"

#include "command/KSLCoreAPI.h"

StateWatch::StateWatch()
{
  orv::KSLCoreAPI* commands = orv::KSLCoreAPI::instance();
  // The one notification that comes with changes alone: 0, 1 and 16 come with every command, also with the one that
  // saves.
  commands->attach(&m_changes, orv::KSLCoreAPI::updateBegin);
  commands->attach(&m_recovery, {orv::KSLCoreAPI::parseBegin, orv::KSLCoreAPI::parseEnd,
                                 orv::KSLCoreAPI::recoveryEnd, orv::KSLCoreAPI::redoRecoveryEnd});
}

StateWatch::~StateWatch()
{
  orv::KSLCoreAPI* commands = orv::KSLCoreAPI::instance();
  commands->detach(&m_recovery);
  commands->detach(&m_changes);
}

void StateWatch::Recovery::update(orv::ObserverSubject*, int type)
{
  if (type == orv::KSLCoreAPI::parseEnd)
    --m_depth;
  else if (type != orv::KSLCoreAPI::parseBegin)
    m_changes.setDBStateDirty(m_before);
  else if (m_depth++ == 0)
    m_before = m_changes.isDBStateDirty();
}
