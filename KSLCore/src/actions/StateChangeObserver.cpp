#include "actions/StateChangeObserver.h"

namespace orv {

StateChangeObserver::~StateChangeObserver() = default;

void StateChangeObserver::update(ObserverSubject*, int)
{
  m_dirty = true;
}

}  // namespace orv
