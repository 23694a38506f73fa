#include "actions/UpdateExecutor.h"

#include "platform/ORVError.h"
#include "command/Executive.h"
#include "command/KSLInterface.h"
#include "command/actionChecks.h"

#include <algorithm>

namespace orv {

UpdateExecutor::~UpdateExecutor() = default;

void UpdateExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {"update"}, "UpdateExecutor");
  if (!m_executive)
    throw internal::error("UpdateExecutor", "invoke", _("Pointer to Executive not set."));
  KSLInterface* owner = KSLInterface::instance();
  if (owner->isRecovering())
    return;  // of what an object has put into the store, the recovery takes care
  KSLAPI* store = owner->getKSLAPI();
  if (store->getKSLChangeList()->empty())
    return;
  // Nested texts fill and clear the store's list while this one is applied.
  const KSLChangeList changes = store->takeKSLChangeList();
  store->validateKSLData(changes);
  KSLInterface::Application application(owner);
  if (std::find(words.begin() + 1, words.end(), "noaction") != words.end()) {
    m_executive->updateNoAction(changes, application.list(), store);
  } else {
    m_executive->update(changes, application.list(), store);
    application.dropEmptyStep();
  }
  application.commit();
}

}  // namespace orv
