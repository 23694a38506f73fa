#include "command/CommandNotifier.h"

#include "platform/ORVUtilities.h"

namespace orv {

namespace {

ObserverSubject* theSubject = nullptr;

}  // namespace

void CommandNotifier::setSubject(ObserverSubject* subject) noexcept
{
  theSubject = subject;
}

void CommandNotifier::notify(Notification type)
{
  if (theSubject)
    theSubject->notify(type);
}

}  // namespace orv
