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
constexpr std::size_t width = 80;
constexpr std::size_t indentStep = 2;

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

// What a state file may not hold: readers would refuse all of it. Texts that come as KSL are never so; names that
// programs give, and names in RULES, may be.
bool isReadableParam(const std::string& name)
{
  return std::none_of(name.begin(), name.end(), [](char c) { return c == ':' || c == '#'; })
         && !name.starts_with('>');
}

std::string headerOf(const KSLObject& object)
{
  return KSLPath::Component{object.getType(), object.getName(), object.isSingleton()}.header();
}

bool isReadableHeader(const std::string& header)
{
  return MiniKSLParser::determineLineType(header) == MiniKSLParser::objectLine
         && header.find_first_of("/,\n\r") == std::string::npos;
}

void reportLeftOut(const char* function, const std::string& line)
{
  ErrorProgressReporter::instance()->reportError(data::invalid(
      writeStateExecutorClass, function, _("Line '%s' cannot be read back.", line), errorType::warning));
}

// Lines are not indented further: the text grows with the work, and not with the square of its depth.
std::size_t indentOf(std::size_t depth)
{
  constexpr std::size_t deepest = 60;  // columns
  return std::min(indentStep * depth, deepest);
}

void appendLine(std::string_view text, std::size_t depth, std::string& out)
{
  out.append(indentOf(depth), ' ').append(text) += '\n';
}

// Names and values that a line holds as they are: printable, without comments and escapes, single blanks between words.
bool isSimple(std::string_view text)
{
  enum Kind : std::uint8_t { common = 0, blank = 1, special = 2 };
  static constexpr std::array<std::uint8_t, 256> kinds = [] {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t c = 0; c < table.size(); ++c)
      table[c] = c > ' ' && c < 0x7f && c != '#' && c != '{' && c != '\\' ? common : special;
    table[' '] = blank;
    return table;
  }();
  std::uint8_t seen = 0;
  std::uint8_t before = blank;  // none at the beginning either
  for (const char c : text) {
    const std::uint8_t kind = kinds[static_cast<unsigned char>(c)];
    seen |= kind & (before | special);
    before = kind;
  }
  return seen == 0 && before != blank;
}

constexpr std::string_view equalSign = " = ";

// The lines of parameters that fit as they are, as nearly all do. What stands before a value is kept for each parameter
// of a type, and found again by the rules that hold its name.
class SimpleLines {
 public:
  // False, and nothing, for a line that needs another look.
  bool append(const ParamDefinition& param, const std::string& value, std::size_t depth, std::string& out)
  {
    const std::string* const start = startOf(param.getName(), indentOf(depth));
    if (!start || start->size() + value.size() > width || !isSimple(value))
      return false;
    out.append(*start).append(value) += '\n';
    return true;
  }

 private:
  struct Known {
    const std::string* name = nullptr;
    std::size_t indent = 0;
    std::string start;
  };
  const std::string* startOf(const std::string& name, std::size_t indent)
  {
    constexpr std::uint64_t spread = 0x9e3779b97f4a7c15;  // addresses have much in common
    const std::size_t home = (reinterpret_cast<std::uintptr_t>(&name) * spread) >> 57;
    Known* known = &m_known[home];
    for (std::size_t i = 0; i < tries; ++i) {
      Known& at = m_known[(home + i) % m_known.size()];
      if (at.name == &name && at.indent == indent)
        return &at.start;
      if (known->name && !at.name)
        known = &at;
    }
    if (!isSimple(name) || !isReadableParam(name))
      return nullptr;
    *known = {&name, indent, std::string(indent, ' ').append(name).append(equalSign)};
    return &known->start;
  }

  static constexpr std::size_t tries =
      4;  // places of a name: two that meet in one would drive each other out
  std::array<Known, 128> m_known;
};

// The line of a parameter. Most fit as they are; they are not taken apart first.
void appendParameter(const KSLObject& object, const std::string& name, const std::string& value,
                     std::size_t depth, std::string& out)
{
  const bool readable = isReadable(value);
  if (!readable)
    reportUnreadable(writeStateExecutorClass, "validatedParameters", object.getPath(), name, value);
  const std::size_t start = out.size();
  out.append(indentOf(depth), ' ').append(name).append(equalSign).append(value);
  const bool plain = FileText::isPlain(std::string_view(out).substr(start));
  if (plain && readable && value.back() != '\\' && out.size() - start <= width) {
    out += '\n';
    return;
  }
  out.resize(start);
  const std::string line = name + " = " + value + '\n';
  out += StringUtilities::splitStringToSize(plain ? line : FileText::escaped(line), depth, width);
}

// Of the object that says what is being read: while a state is saved that is no part of the work.
const std::string& idleValue(const ParamDefinition& param)
{
  static const std::string mode = idleMode;
  static const std::string stack = idlePathStack;
  if (param.getName() == processingModeParam)
    return mode;
  return param.getName() == pathStackParam ? stack : param.getValue();
}

// False when a line was left out.
bool appendParameters(const KSLObject& object, std::size_t depth, SimpleLines& lines, std::string& out)
{
  bool complete = true;
  const bool isFileProcessing = object.pathIs(fileProcessingPath);
  object.forEachParam([&](const ParamDefinition& param) {
    if (!isSaved(param, object.getType()))
      return;
    const std::string& value = isFileProcessing ? idleValue(param) : param.getValue();
    if (lines.append(param, value, depth, out))
      return;
    if (!isReadableParam(param.getName())) {
      reportLeftOut("validatedParameters", param.getName() + " = " + value);
      complete = false;
      return;
    }
    appendParameter(object, param.getName(), value, depth, out);
  });
  return complete;
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

// False, and reported, for one that could not be read.
bool appendHeader(const KSLObject& object, std::size_t depth, std::string& out)
{
  const std::string header = headerOf(object);
  if (!isReadableHeader(header)) {
    reportLeftOut("writeOneObject", header);
    return false;
  }
  appendLine(FileText::isPlain(header) ? header : FileText::escaped(header), depth, out);
  return true;
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
  ErrorProgressReporter::instance()->reportError(
      diagnosed(data::invalid(writeStateExecutorClass, "writeStateData",
                              _("Cannot find object %s. No state written for that object.", item)),
                unknownObject(item)));
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
  const auto [text, complete] = stateText(
      everything ? topObjects() : listedObjects(request.objects, request.typed, reportMissing), everything);
  ORVFile::replace(request.fileName, text);
  if (m_files)  // now that the file is complete: a manager may read it at once
    m_files->registerFileChange(request.fileName, fileType);
  if (m_changes && everything && complete)
    m_changes->setDBStateDirty(false);
}

void WriteStateExecutor::saveEverything(const std::string& fileName) const
{
  ORVFile::replace(fileName, stateText(topObjects(), true).first);
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

// The whole file, and whether nothing had to be left out.
std::pair<std::string, bool> WriteStateExecutor::stateText(const std::vector<const KSLObject*>& objects,
                                                           bool everything) const
{
  std::string text = FileText::head(FileText::stateHead);
  const std::size_t empty = text.size();
  const bool complete = writeStateData(objects, text);
  if (everything
      && text.size() == empty) {  // nothing: a file without a block would be refused as one that was cut off
    KSLBuilder block;
    block.beginObject("FILE PROCESSING", "");
    block.addParam(pathStackParam, idlePathStack);
    block.addParam(processingModeParam, idleMode);
    block.endObject();
    text += block.text();
  }
  return {std::move(text), complete};
}

bool WriteStateExecutor::writeStateData(const std::vector<const KSLObject*>& objects, std::string& out) const
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

bool WriteStateExecutor::writeOneObject(const KSLObject& object, std::string& out) const
{
  if (!object.hasPath())
    return true;  // the root is no object to be written, and does not stand for what is below it
  const std::vector<const KSLObject*> places = placesOf(object);
  if (!std::all_of(places.begin(), places.end(), [this](const KSLObject* place) { return isWritten(*place); })
      || !isWritten(object))
    return true;
  std::string text;
  for (auto place = places.rbegin(); place != places.rend(); ++place)
    if (!appendHeader(**place, static_cast<std::size_t>(place - places.rbegin()), text))
      return false;
  const bool complete = validatedParameters(object, places.size(), text);
  for (std::size_t depth = places.size(); depth-- > 0;)
    appendLine("END", depth, text);
  out += text;
  return complete;
}

// Blocks of the object and what is in it, its header at this depth.
bool WriteStateExecutor::validatedParameters(const KSLObject& top, std::size_t depth, std::string& out) const
{
  struct Visit {
    const KSLObject* object;  // null where a block ends
    std::size_t depth;
  };
  bool complete = true;
  SimpleLines lines;
  std::vector<Visit> waiting{{&top, depth}};
  while (!waiting.empty()) {
    const Visit visit = waiting.back();
    waiting.pop_back();
    if (!visit.object) {
      appendLine("END", visit.depth, out);
      continue;
    }
    if (!appendHeader(*visit.object, visit.depth, out)) {
      complete = false;  // and nothing that is in it
      continue;
    }
    complete = appendParameters(*visit.object, visit.depth + 1, lines, out) && complete;
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
