#include "actions/CopyExecutor.h"

#include "database/KSLCoreTreeAndLeafModel.h"
#include "command/KSLCoreAPI.h"
#include "command/actionChecks.h"
#include "actions/KSLCopyImpl.h"
#include "actions/RelocationScope.h"

namespace orv {

CopyExecutor::CopyExecutor() : CopyExecutor(nullptr) {}

CopyExecutor::CopyExecutor(KSLCopyImpl* impl)
    : m_own(impl ? nullptr : new KSLCopyImpl),
      m_impl(impl ? impl : m_own.get())
{}

CopyExecutor::~CopyExecutor() = default;

void CopyExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {KSLCopyImpl::copyAction}, "CopyExecutor");
  const refcnt_ptr<TreeAndLeafReadModel> model(new KSLCoreTreeAndLeafModel);
  const std::string text = m_impl->obtainCopyKSL(*model, words);
  if (text.empty())
    return;
  const KSLCopyImpl::Paths paths = m_impl->obtainPaths(words);
  const RelocationScope follow({paths.from, paths.to, false});
  KSLCoreAPI::instance()->processKSL(text, kslUpdateDefault);
}

}  // namespace orv
