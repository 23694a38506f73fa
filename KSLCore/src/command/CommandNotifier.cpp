#include "command/CommandNotifier.h"

#include "platform/ORVUtilities.h"
#include "platform/internal/ContextLocal.h"

namespace orv {

namespace {

constinit ContextLocal<ObserverSubject*> theSubject;

}  // namespace

void CommandNotifier::setSubject(ObserverSubject* subject) noexcept
{
  *theSubject = subject;
}

void CommandNotifier::notify(Notification type)
{
  if (ObserverSubject* subject = *theSubject)
    subject->notify(type);
}

}  // namespace orv
