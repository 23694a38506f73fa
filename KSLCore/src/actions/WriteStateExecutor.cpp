#include "actions/WriteStateExecutor.h"

#include "platform/ORVApplicationSupport.h"
#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "database/NamesBeside.h"
#include "database/ObjectDB.h"
#include "command/FileText.h"
#include "command/KSLCoreAPI.h"
#include "command/actionChecks.h"
#include "actions/ReadableText.h"
#include "actions/StateChangeObserver.h"
#include "actions/StateLines.h"
#include "actions/WriteSessionExecutor.h"
#include "actions/fileNames.h"
#include "actions/listedObjects.h"
#include "actions/stateTypes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <sys/stat.h>

namespace orv {

namespace {

constexpr const char* writeStateExecutorClass = "WriteStateExecutor";
constexpr const char* action = "savestate";
constexpr const char* fileType = "qst";

std::string textOf(const KSLObject& object, const char* param)
{
  const ParamDefinition* found = object.lookUpParam(param);
  return found ? StringUtilities::removeWhitespace(found->getValue()) : std::string();
}

// A reader that reads nothing: a state with it would ask for results that never were.
bool isUnusedReader(const KSLObject& object)
{
  constexpr const char* fileParam = "Current Results File";
  return object.nameIs("DATA READER") && object.hasParam(fileParam) && textOf(object, fileParam).empty();
}

// The objects that it is in, innermost first.
std::vector<const KSLObject*> placesOf(const KSLObject& object)
{
  std::vector<const KSLObject*> places;
  for (const KSLObject* place = object.getParentObject(); place && place->hasPath();
       place = place->getParentObject())
    places.push_back(place);
  return places;
}

// All top-level objects, in the order in which the database lists its paths: what is below one is written with it.
std::vector<const KSLObject*> topObjects()
{
  std::vector<const KSLObject*> objects;
  ObjectDB::instance()->getRoot()->forEachChild([&](KSLObject* child) { objects.push_back(child); });
  std::sort(objects.begin(), objects.end(),
            [](const KSLObject* a, const KSLObject* b) { return a->getPath() < b->getPath(); });
  return objects;
}

data::invalid missing(const std::string& item)
{
  return diagnosed(data::invalid(writeStateExecutorClass, "writeStateData",
                                 _("Cannot find object %s. No state written for that object.", item)),
                   unknownObject(item));
}

}  // namespace

WriteStateExecutor::WriteStateExecutor(FileChangeManager* files, StateChangeObserver* changes)
    : m_files(files),
      m_changes(changes)
{
  if (m_files)
    m_files->registerFileType(fileType);
}

WriteStateExecutor::~WriteStateExecutor() = default;

void WriteStateExecutor::excludeObject(const std::string& type, const std::string& name)
{
  m_excludedObjects.emplace(type, name);
}

// ---------------------------------------------------------------------------------------------------- the action

void WriteStateExecutor::invoke(const std::vector<std::string>& p_action)
{
  checkAction(p_action, {action}, writeStateExecutorClass);
  const Request request = readRequest(p_action);
  checkTarget(request);
  const bool everything = StringUtilities::trimmed(request.objects).empty();
  StateLines text(FileText::head(FileText::stateHead));
  const auto reportMissing = [&text](const std::string& item) { text.report(missing(item)); };
  const bool complete =
      writeState(everything ? topObjects() : listedObjects(request.objects, request.typed, reportMissing),
                 everything, text);
  text.tell();
  ORVFile::replace(request.fileName, text.text());
  if (m_files)  // now that the file is complete: a manager may read it at once
    m_files->registerFileChange(request.fileName, fileType);
  if (m_changes && everything && complete)
    m_changes->setDBStateDirty(false);
}

void WriteStateExecutor::saveEverything(const std::string& fileName) const
{
  StateLines text(FileText::head(FileText::stateHead));
  writeState(topObjects(), true, text);
  text.tell();
  ORVFile::replace(fileName, text.text());
}

WriteStateExecutor::Request WriteStateExecutor::readRequest(const std::vector<std::string>& words) const
{
  Request request;
  if (const KSLObject* state = ObjectDB::instance()->getObjectByPath("/STATE")) {
    request.fileName = asFileName(textOf(*state, "State Filename"));
    request.mode = textOf(*state, "Save State Mode");
    request.objects = textOf(*state, "Save State Objects");
  }
  std::vector<std::string> objects;
  for (std::size_t i = 1; i < words.size(); ++i)
    readArgument(words[i], request, objects);
  if (!objects.empty()) {
    request.objects = StringUtilities::vectorToString(objects, ',');
    request.typed = true;
  }
  if (request.mode.empty())
    request.mode = "overwrite";
  request.mode = capitalised(request.mode);
  return request;
}

void WriteStateExecutor::readArgument(const std::string& argument, Request& request,
                                      std::vector<std::string>& objects) const
{
  const auto [name, value] = squeezedArgument(argument, action, writeStateExecutorClass);
  if (name == "filename")
    request.fileName = value;
  else if (name == "object")
    objects.push_back(value);
  else if (name != "mode")
    throw diagnosed(
        ksl::invalid(writeStateExecutorClass, "invoke", _("Invalid parameter in %s: '%s'.", action, name)),
        oneOf(name, {"filename", "mode", "object"}));
  else if (value != "none" && value != "overwrite")
    throw diagnosed(
        data::invalid(writeStateExecutorClass, "invoke", _("Invalid parameter value: '%s'.", value)),
        oneOf(value, {"none", "overwrite"}));
  else
    request.mode = value;
}

void WriteStateExecutor::checkTarget(const Request& request)
{
  const WriteSessionExecutor* writer = KSLCoreAPI::instance()->getSessionWriter();
  if (writer && writer->isRecordingTo(request.fileName))
    throw file::error(writeStateExecutorClass, "invoke",
                      _("File '%s' is the session file that is being written.", request.fileName));
  if (request.mode == "Overwrite")
    return;
  if (request.mode != "None")
    throw ksl::invalid(writeStateExecutorClass, "invoke", _("Invalid parameter value: %s.", "mode"));
  struct stat status {};
  if (::stat(request.fileName.c_str(), &status) == 0)
    throw file::error(writeStateExecutorClass, "invoke", _("Overwrite not allowed: %s", request.fileName));
  const int failure = errno;
  if (failure != ENOENT)
    throw file::error(writeStateExecutorClass, "invoke",
                      _("File status error: '%s' - %s.", request.fileName, Error::getSystemError(failure)));
}

// ------------------------------------------------------------------------------------------------------ the text

// What follows the head. False when something had to be left out.
bool WriteStateExecutor::writeState(const std::vector<const KSLObject*>& objects, bool everything,
                                    StateLines& out) const
{
  const StateLines::Mark empty = out.mark();
  const bool complete = writeStateData(objects, out);
  if (everything
      && out.mark() == empty) {  // nothing: a file without a block would be refused as one that was cut off
    KSLBuilder block;
    block.beginObject("FILE PROCESSING", "");
    block.addParam(pathStackParam, idlePathStack);
    block.addParam(processingModeParam, idleMode);
    block.endObject();
    out.append(block.text());
  }
  return complete;
}

bool WriteStateExecutor::writeStateData(const std::vector<const KSLObject*>& objects, StateLines& out) const
{
  // All are taken for written from the start: whatever their order, each is written once, inside the outermost, or not
  // at all when that one is not.
  Paths written;
  std::vector<const KSLObject*> distinct;
  for (const KSLObject* object : objects)
    if (written.insert(object->getPath()).second)
      distinct.push_back(object);
  bool complete = true;
  for (const KSLObject* object : distinct) {
    if (!parentAlreadyWritten(object->getPath(), written))
      complete = writeOneObject(*object, out) && complete;
  }
  return complete;
}

bool WriteStateExecutor::parentAlreadyWritten(std::string_view path, const Paths& written)
{
  for (path = PathUtils::parentPath(path); !path.empty(); path = PathUtils::parentPath(path))
    if (written.contains(path))
      return true;
  return false;
}

bool WriteStateExecutor::isValidForWriting(const std::string& type, const std::string& name) const
{
  if (isNeverSaved(type))
    return false;
  const auto [first, last] = m_excludedObjects.equal_range(type);
  return std::none_of(first, last, [&name](const auto& entry) { return entry.second == name; });
}

bool WriteStateExecutor::isWritten(const KSLObject& object) const
{
  return isValidForWriting(object.getType(), object.getName()) && !isUnusedReader(object);
}

bool WriteStateExecutor::writeOneObject(const KSLObject& object, StateLines& out) const
{
  if (!object.hasPath())
    return true;  // the root is no object to be written, and does not stand for what is below it
  const std::vector<const KSLObject*> places = placesOf(object);
  if (!std::all_of(places.begin(), places.end(), [this](const KSLObject* place) { return isWritten(*place); })
      || !isWritten(object))
    return true;
  const StateLines::Mark start = out.mark();
  for (auto place = places.rbegin(); place != places.rend(); ++place)
    if (!out.header(**place, static_cast<std::size_t>(place - places.rbegin()))) {
      out.cutBackTo(start);
      return false;
    }
  const bool complete = validatedParameters(object, places.size(), out);
  for (std::size_t depth = places.size(); depth-- > 0;)
    out.end(depth);
  return complete;
}

// Blocks of the object and what is in it, its header at this depth.
bool WriteStateExecutor::validatedParameters(const KSLObject& top, std::size_t depth, StateLines& out) const
{
  struct Visit {
    const KSLObject* object;  // null where a block ends
    std::size_t depth;
  };
  bool complete = true;
  std::vector<Visit> waiting{{&top, depth}};
  while (!waiting.empty()) {
    const Visit visit = waiting.back();
    waiting.pop_back();
    if (!visit.object) {
      out.end(visit.depth);
      continue;
    }
    if (!out.header(*visit.object, visit.depth)) {
      complete = false;  // and nothing that is in it
      continue;
    }
    complete = out.parameters(*visit.object, visit.depth + 1) && complete;
    waiting.push_back({nullptr, visit.depth});
    const auto first = static_cast<std::ptrdiff_t>(waiting.size());
    visit.object->forEachChild([&](const KSLObject* child) {
      if (isWritten(*child))
        waiting.push_back({child, visit.depth + 1});
    });
    std::reverse(waiting.begin() + first, waiting.end());
  }
  return complete;
}

}  // namespace orv
