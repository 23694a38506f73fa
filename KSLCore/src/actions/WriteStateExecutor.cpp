#include "actions/WriteStateExecutor.h"

#include "platform/ORVApplicationSupport.h"
#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "command/actionChecks.h"
#include "actions/ReadableText.h"
#include "actions/StateChangeObserver.h"
#include "actions/fileNames.h"
#include "actions/listedObjects.h"
#include "actions/stateTypes.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>

namespace orv {

namespace {

constexpr const char* className = "WriteStateExecutor";
constexpr const char* action = "savestate";
constexpr const char* fileType = "qst";
constexpr std::size_t width = 80;
constexpr std::size_t indentStep = 2;

std::string header()
{
  return "# State file created: " + cTime().text() + "\n# libORVKSLCore " ORV_VERSION "\n\n";
}

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

// External parameters with a value; one that was never set may have a default that its own rules refuse, which no
// reader would take back.
bool isSaved(const ParamDefinition& param, const std::string& type)
{
  return !param.isInternal() && !StringUtilities::trimmed(param.getValue()).empty()
         && isSavedParam(type, param.getName())
         && (param.hasBeenSet() || param.isAllowedValue(param.getValue()));
}

// The line of a parameter. Most fit as they are; they are not taken apart first.
void appendLine(const KSLObject& object, const ParamDefinition& param, std::size_t depth, std::string& out)
{
  const std::string& name = param.getName();
  const std::string& value = param.getValue();
  const bool readable = isReadable(value, Carrier::file);
  if (!readable)
    reportUnreadable(className, "validatedParameters", object.getPath(), name, value, Carrier::file);
  constexpr std::string_view equals = " = ";
  constexpr std::size_t deepest = 60;  // columns; beyond, lines are not indented further
  const std::size_t indent = indentStep * depth;
  if (readable && value.back() != '\\' && indent <= deepest
      && indent + name.size() + equals.size() + value.size() <= width)
    out.append(indent, ' ').append(name).append(equals).append(value) += '\n';
  else
    out += StringUtilities::splitStringToSize(name + " = " + value + "\n", depth, width);
}

void appendParameters(const KSLObject& object, std::size_t depth, std::string& out)
{
  object.forEachParam([&](const ParamDefinition& param) {
    if (isSaved(param, object.getType()))
      appendLine(object, param, depth, out);
  });
}

std::string headerOf(const KSLObject& object)
{
  return KSLPath::Component{object.getType(), object.getName(), object.isSingleton()}.header();
}

// Readers refuse the whole file for one name that is not ASCII; better known while the object is there.
void reportUnreadableName(const KSLObject* object)
{
  if (!ORVFile::isAscii(object->getName()))
    ErrorProgressReporter::instance()->reportError(
        data::invalid(className, "writeOneObject", _("Line '%s' cannot be read back.", headerOf(*object)),
                      errorType::warning));
}

// The objects that it is in, innermost first.
std::vector<const KSLObject*> placesOf(const KSLObject& object)
{
  std::vector<const KSLObject*> places;
  for (const KSLObject* place = object.getParentObject(); place && !place->getPath().empty();
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

void reportMissing(const std::string& item)
{
  ErrorProgressReporter::instance()->reportError(data::invalid(
      className, "writeStateData", _("Cannot find object %s. No state written for that object.", item)));
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
  checkAction(p_action, {action}, className);
  const Request request = readRequest(p_action);
  checkTarget(request);
  const bool everything = StringUtilities::trimmed(request.objects).empty();
  std::string text = header();
  writeStateData(everything ? topObjects() : listedObjects(request.objects, request.typed, reportMissing),
                 text);
  ORVFile::replace(request.fileName, text);
  if (m_files)  // now that the file is complete: a manager may read it at once
    m_files->registerFileChange(request.fileName, fileType);
  if (m_changes && everything)
    m_changes->setDBStateDirty(false);
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
  const auto [name, value] = squeezedArgument(argument, action, className);
  if (name == "filename")
    request.fileName = value;
  else if (name == "object")
    objects.push_back(value);
  else if (name != "mode")
    throw ksl::invalid(className, "invoke", _("Invalid parameter in %s: '%s'.", action, name));
  else if (value != "none" && value != "overwrite")
    throw data::invalid(className, "invoke", _("Invalid parameter value: '%s'.", value));
  else
    request.mode = value;
}

void WriteStateExecutor::checkTarget(const Request& request)
{
  if (request.mode == "Overwrite")
    return;
  if (request.mode != "None")
    throw ksl::invalid(className, "invoke", _("Invalid parameter value: %s.", "mode"));
  struct stat status {};
  if (::stat(request.fileName.c_str(), &status) == 0)
    throw file::error(className, "invoke", _("Overwrite not allowed: %s", request.fileName));
  const int failure = errno;
  if (failure != ENOENT)
    throw file::error(className, "invoke",
                      _("File status error: '%s' - %s.", request.fileName, Error::getSystemError(failure)));
}

// ------------------------------------------------------------------------------------------------------ the text

void WriteStateExecutor::writeStateData(const std::vector<const KSLObject*>& objects, std::string& out) const
{
  // All are taken for written from the start: whatever their order, each is written once, inside the outermost, or not
  // at all when that one is not.
  Paths written;
  std::vector<const KSLObject*> distinct;
  for (const KSLObject* object : objects)
    if (written.insert(object->getPath()).second)
      distinct.push_back(object);
  for (const KSLObject* object : distinct) {
    if (!parentAlreadyWritten(object->getPath(), written))
      writeOneObject(*object, out);
  }
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

void WriteStateExecutor::writeOneObject(const KSLObject& object, std::string& out) const
{
  if (object.getPath().empty())
    return;  // the root is no object to be written, and does not stand for what is below it
  const std::vector<const KSLObject*> places = placesOf(object);
  if (!isWritten(object) || !std::all_of(places.begin(), places.end(), [this](const KSLObject* place) {
        return isWritten(*place);
      }))
    return;
  std::for_each(places.begin(), places.end(), reportUnreadableName);
  const KSLPath path(object.getPath());
  const auto [headers, ends] = path.makeKSLPathAndEnd(indentStep);
  out += headers;
  validatedParameters(object, path.size(), out);
  out += ends;
}

// The parameters of the object, and the blocks of what is in it, at this depth of open blocks.
void WriteStateExecutor::validatedParameters(const KSLObject& top, std::size_t depth, std::string& out) const
{
  struct Visit {
    const KSLObject* object;  // null where a block ends
    std::size_t depth;
  };
  std::vector<Visit> waiting{{&top, depth}};
  while (!waiting.empty()) {
    const Visit visit = waiting.back();
    waiting.pop_back();
    if (!visit.object) {
      out.append(indentStep * visit.depth, ' ') += "END\n";
      continue;
    }
    reportUnreadableName(visit.object);
    if (visit.object != &top) {
      out.append(indentStep * (visit.depth - 1), ' ') += headerOf(*visit.object);
      out += '\n';
    }
    appendParameters(*visit.object, visit.depth, out);
    const auto first = static_cast<std::ptrdiff_t>(waiting.size());
    visit.object->forEachChild([&](KSLObject* child) {
      if (!isWritten(*child))
        return;
      waiting.push_back({child, visit.depth + 1});
      waiting.push_back({nullptr, visit.depth});
    });
    std::reverse(waiting.begin() + first, waiting.end());
  }
}

}  // namespace orv
