#include "actions/FileProcessingScope.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSystem.h"
#include "platform/internal/ContextLocal.h"
#include "database/ObjectDB.h"
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
      m_file(ORVFile::getCanonicalName(fileName))
{
  enter(mode, ORVFile::getPath(fileName));
  *theInnermost = this;
}

FileProcessingScope::~FileProcessingScope()
{
  *theInnermost = m_outer;
  try {
    restore();
  } catch (...) {  // what ends a scope has no one to tell
  }
}

void FileProcessingScope::enter(const std::string& mode, const std::string& directory)
{
  KSLObject* object = findObject();
  if (!object)
    throw ksl::invalid("FileProcessingScope", "enter", _("Cannot find object %s", objectType));
  m_mode = object->getValue(processingModeParam);
  m_pathStack = object->getValue(pathStackParam);
  object->setValue(pathStackParam, directory + ", " + m_pathStack);
  ScopeGuard putBack([&] { object->setValue(pathStackParam, m_pathStack); });
  object->setValue(processingModeParam, mode);
  putBack.dismiss();
}

void FileProcessingScope::restore() const
{
  KSLObject* object = findObject();
  if (!object)
    return;
  // The mode first: a mode that stays would refuse every undo for ever.
  object->setValue(processingModeParam, m_mode);
  object->setValue(pathStackParam, m_pathStack);
}

}  // namespace orv
