#include "actions/RenameExecutor.h"

#include "platform/ORVError.h"
#include "database/KSLCoreTreeAndLeafModel.h"
#include "rules/LinkTransaction.h"
#include "command/KSLCoreAPI.h"
#include "command/actionChecks.h"
#include "actions/KSLCopyImpl.h"
#include "actions/RelocationScope.h"

namespace orv {

namespace {

constexpr const char* renameExecutorClass = "RenameExecutor";

// A rename that leaves both would be a copy that nobody asked for.
void checkGone(const TreeAndLeafReadModel& model, const KSLCopyImpl::Paths& paths)
{
  if (model.hasObject(KSLPath(paths.from)) && model.hasObject(KSLPath(paths.to)))
    throw data::invalid(renameExecutorClass, "invoke",
                        _("Object '%s' cannot be renamed because it must not be deleted.", paths.from));
}

}  // namespace

RenameExecutor::RenameExecutor() : RenameExecutor(nullptr) {}

RenameExecutor::RenameExecutor(KSLCopyImpl* impl)
    : m_own(impl ? nullptr : new KSLCopyImpl),
      m_impl(impl ? impl : m_own.get())
{}

RenameExecutor::~RenameExecutor() = default;

void RenameExecutor::invoke(const std::vector<std::string>& words)
{
  checkAction(words, {KSLCopyImpl::renameAction}, renameExecutorClass);
  if (words.size() != 3)
    throw ksl::invalid(renameExecutorClass, "invoke", _("Did not specify correct number of parameters"));
  const refcnt_ptr<TreeAndLeafReadModel> model(new KSLCoreTreeAndLeafModel);
  const std::string text = m_impl->obtainRenameKSL(*model, words);
  if (text.empty())
    return;
  const KSLCopyImpl::Paths paths = m_impl->obtainPaths(words);
  const Relocation move{paths.from, paths.to, true};
  LinkTransaction::requireNameFor(move);
  {
    const RelocationScope follow(move);
    KSLCoreAPI::instance()->processKSL(text, kslUpdateDefault);
  }
  checkGone(*model, paths);
}

}  // namespace orv
