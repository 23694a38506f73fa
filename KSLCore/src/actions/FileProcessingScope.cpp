#include "actions/FileProcessingScope.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSystem.h"
#include "platform/internal/ContextLocal.h"
#include "database/ObjectDB.h"
#include "database/PrototypeEditor.h"
#include "command/KSLCoreAPI.h"
#include "actions/fileNames.h"

namespace orv {

namespace {

constinit ContextLocal<FileProcessingScope*> theInnermost;  // of those that live

constexpr const char* objectType = "FILE PROCESSING";

KSLObject* findObject()
{
  return ObjectDB::instance()->getObjectByPath(fileProcessingPath);
}

// What fails has no one to tell; then the value alone is put back.
void setBack(KSLObject& object, const char* name, const ParamDefinition::State& before) noexcept
{
  try {
    object.setValue(name, before.value.str());
  } catch (...) {
    auto* const data = dynamic_cast<DataKSLObject*>(&object);
    if (ParamDefinition* param = data ? PrototypeEditor(*data).findParam(name) : nullptr)
      param->restore(before);
  }
}

}  // namespace

bool FileProcessingScope::createObject(const char* className, const char* function)
{
  if (findObject())
    return false;
  KSLBuilder text;
  text.beginObject(objectType, "");
  text.addParam(processingModeParam, idleMode);
  text.addParam(pathStackParam, idlePathStack);
  text.endObject();
  KSLCoreAPI::instance()->processKSL(text.text(), kslUpdateDefault);
  if (!findObject())
    throw ksl::invalid(className, function, _("Unable to create object %s", objectType));
  return true;
}

bool FileProcessingScope::isInProgress(const std::string& fileName)
{
  const std::string file = ORVFile::getCanonicalName(fileName);
  const FileProcessingScope* scope = *theInnermost;
  while (scope && scope->m_file != file)
    scope = scope->m_outer;
  return scope != nullptr;
}

void FileProcessingScope::checkNotInProgress(const std::string& fileName, const char* className,
                                             const char* function)
{
  if (isInProgress(fileName))
    throw file::error(className, function, _("File '%s' is already being processed.", fileName));
}

FileProcessingScope::FileProcessingScope(const std::string& mode, const std::string& fileName)
    : m_outer(*theInnermost),
      m_file(ORVFile::getCanonicalName(fileName)),
      m_object(fileProcessingPath)
{
  enter(mode, ORVFile::getPath(fileName));
  *theInnermost = this;
}

FileProcessingScope::~FileProcessingScope()
{
  *theInnermost = m_outer;
  restore();
}

void FileProcessingScope::enter(const std::string& mode, const std::string& directory)
{
  KSLObject* object = findObject();
  if (!object)
    throw ksl::invalid("FileProcessingScope", "enter", _("Cannot find object %s", objectType));
  m_mode = object->getParam(processingModeParam)->getState();
  m_pathStack = object->getParam(pathStackParam)->getState();
  object->setValue(pathStackParam, directory + ", " + m_pathStack.value.str());
  ScopeGuard putBack([&] { setBack(*object, pathStackParam, m_pathStack); });
  object->setValue(processingModeParam, mode);
  putBack.dismiss();
}

void FileProcessingScope::restore() const noexcept
{
  KSLObject* object = nullptr;
  try {
    object = ObjectDB::instance()->getObjectByPath(m_object);
  } catch (...) {}  // only where paths are rewritten
  if (!object)
    return;
  // The mode first: a mode that stays would refuse every undo for ever.
  setBack(*object, processingModeParam, m_mode);
  setBack(*object, pathStackParam, m_pathStack);
}

}  // namespace orv
