#include "StateWatch.h"

#include "command/KSLCoreAPI.h"

using Api = orv::KSLCoreAPI;

void StateWatch::attach()
{
  Api* commands = Api::instance();
  // The one notification that comes with changes alone: 0, 1 and 16 come with every command, also with the one that
  // saves.
  commands->attach(&m_changes, Api::updateBegin);
  commands->attach(&m_recovery, {Api::parseBegin, Api::parseEnd, Api::recoveryEnd, Api::redoRecoveryEnd});
}

void StateWatch::detach()
{
  Api* commands = Api::instance();
  commands->detach(&m_recovery);
  commands->detach(&m_changes);
}

void StateWatch::Recovery::update(orv::ObserverSubject*, int type)
{
  if (type == Api::parseBegin && m_depth++ == 0)
    m_before = m_changes.isDBStateDirty();
  else if (type == Api::parseEnd && m_depth > 0)
    --m_depth;
  else if ((type == Api::recoveryEnd || type == Api::redoRecoveryEnd) && m_depth > 0)
    m_changes.setDBStateDirty(m_before);
}
