// Shows what the library notifies its observers of.
#pragma once

#include "platform/ORVUtilities.h"

// Writes "notify N" to standard error for each notification of KSLCoreAPI. Attached while it lives.
class NotificationTrace : public orv::Observer {
 public:
  NotificationTrace();
  ~NotificationTrace() override;
  NotificationTrace(const NotificationTrace&) = delete;
  NotificationTrace& operator=(const NotificationTrace&) = delete;
  void update(orv::ObserverSubject* subject, int type) override;
};
