#include "session/Registration.h"

#include "database/DataKSLObject.h"
#include "rules/GenericKSLObject.h"
#include "command/ActionFactory.h"
#include "actions/CopyExecutor.h"
#include "actions/DebugExecutor.h"
#include "actions/DeleteExecutor.h"
#include "actions/ForceUpdateExecutor.h"
#include "actions/GetRulesInfoExecutor.h"
#include "actions/GetStateExecutor.h"
#include "actions/NotifyExecutor.h"
#include "actions/ReadSessionExecutor.h"
#include "actions/ReadStateExecutor.h"
#include "actions/RedoExecutor.h"
#include "actions/RenameExecutor.h"
#include "actions/UndoExecutor.h"
#include "actions/UpdateExecutor.h"
#include "actions/WriteSessionExecutor.h"
#include "actions/WriteStateExecutor.h"
#include "services/ExpressionEvaluatorKSLObject.h"
#include "services/ExpressionsKSLObject.h"
#include "services/UnitsKSLObject.h"

#include <memory>

namespace orv {

namespace {

template <typename Executor, typename... Arguments>
void add(ActionFactory& actions, const char* word, Arguments... arguments)
{
  if (!actions.hasExecutor(word))
    actions.registerExecutor(word, std::make_unique<Executor>(arguments...));
}

void registerChanges(ActionFactory& actions, Executive& executive, const ActionOptions& options)
{
  add<UpdateExecutor>(actions, "update", &executive);
  add<UndoExecutor>(actions, "undo", &executive);
  add<RedoExecutor>(actions, "redo", &executive);
  for (const char* word : {"forceupdate", "fu"})
    add<ForceUpdateExecutor>(actions, word, &executive);
  add<DeleteExecutor>(actions, "delete", options.deletionFilter);
  add<CopyExecutor>(actions, "copy", options.copying);
  add<RenameExecutor>(actions, "rename", options.renaming);
}

void registerQueries(ActionFactory& actions)
{
  for (const char* word : {"getstate", "s"})
    add<GetStateExecutor>(actions, word);
  add<GetRulesInfoExecutor>(actions, "getrulesinfo");
  for (const char* word : {"debug", "db"})
    add<DebugExecutor>(actions, word);
}

void registerFiles(ActionFactory& actions, const ActionOptions& options)
{
  add<NotifyExecutor>(actions, "notify", options.files);
  add<WriteSessionExecutor>(actions, "session");
  for (const char* word : {"readsession", "rs"})
    add<ReadSessionExecutor>(actions, word, options.replay);
  add<WriteStateExecutor>(actions, "savestate", options.files, options.stateChanges);
  add<ReadStateExecutor>(actions, "readstate", options.files);
}

}  // namespace

void registerObjectClasses()
{
  DataKSLObject::registerBaseType();
  GenericKSLObject::registerBaseType();
  UnitsKSLObject::registerBaseType();
  ExpressionsKSLObject::registerBaseType();
  ExpressionEvaluatorKSLObject::registerBaseType();
}

void registerActions(ActionFactory& actions, Executive& executive, const ActionOptions& options)
{
  registerChanges(actions, executive, options);
  registerQueries(actions);
  registerFiles(actions, options);
}

}  // namespace orv
