#include "actions/ReadStateExecutor.h"

#include "platform/ORVApplicationSupport.h"
#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSourceText.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "rules/SchedulerObject.h"
#include "command/FileText.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "command/actionChecks.h"
#include "actions/FileProcessingScope.h"
#include "actions/ORVMPStream.h"
#include "actions/ReadableText.h"
#include "actions/fileNames.h"
#include "actions/linesOf.h"

#include <algorithm>
#include <map>
#include <typeinfo>
#include <utility>

namespace orv {

namespace {

constexpr const char* readStateExecutorClass = "ReadStateExecutor";
constexpr const char* readAction = "readstate";
constexpr const char* readFileType = "qst";
constexpr const char* overwriteMode = "Overwrite";
constexpr const char* tooFewEnds = "Not enough END statements in KSL.";

bool isTrue(const std::string& text)
{
  bool ok = true;
  return StringUtilities::isTrue(text, ok);
}

// The parameters of STATE, or of its type.
std::map<std::string, std::string> settings(const KSLObject* state)
{
  return state ? state->getParams(UnitSystemTypes::asStored, false)
               : KSLCoreAPI::instance()->getParamsForObjectType("STATE", UnitSystemTypes::asStored);
}

void requireProcessingObject()
{
  if (!ObjectDB::instance()->hasObject(fileProcessingPath))
    throw ksl::invalid(readStateExecutorClass, "invoke", _("Cannot find object %s", "FILE PROCESSING"));
}

void dropComment(std::string& line)
{
  line.resize(StringUtilities::withoutComment(line).size());
  if (!line.empty() && line.back() == '\\')
    line += ' ';  // the line is whole: it must not go on when it is read once more
}

// The comment lines that a file begins with.
std::size_t headSize(std::string_view text)
{
  std::size_t at = 0;
  while (at < text.size() && text[at] == '#')
    at = std::min(text.find('\n', at), text.size() - 1) + 1;
  return at;
}

std::string_view secondLine(std::string_view text)
{
  const std::size_t end = text.find('\n');
  if (end == std::string_view::npos)
    return {};
  text.remove_prefix(end + 1);
  return text.substr(0, text.find('\n'));
}

// Without lines that go on and other ends of lines than "\n", and behind the head without comments and escapes: as most
// states are.
bool isAsRead(std::string_view text, std::size_t head)
{
  const auto has = [text](char c, std::size_t from) { return text.find(c, from) != std::string_view::npos; };
  return !has('\\', 0) && !has('\r', 0) && !has('#', head) && !has('{', head);
}

void recordLoad(const std::string& fileName, const std::string& mode, bool loadData)
{
  const std::string shown = StringUtilities::writtenName(fileName);
  reportUnreadable(readStateExecutorClass, "invoke", "/STATE", "State Filename", shown);
  KSLBuilder text;
  text.beginObject("STATE", "");
  text.addParam("State Filename", shown);
  text.addParam("Read State Mode", mode);
  text.addParam("Load Data", loadData ? "True" : "False");
  text.endObject();
  KSLCoreAPI::instance()->processKSL(text.text(), kslUpdateDefault);
}

// The objects in whose place the state comes. What is being read is kept in FILE PROCESSING, which must stay.
void deleteDeletable()
{
  std::vector<std::string> paths = ObjectDB::instance()->getAllObjectPathsByCategory("deletable");
  std::erase(paths, fileProcessingPath);
  deleteObjects(paths, kslUpdateDefault);
}

// Reads one header line.
class HeaderReader : public MiniKSLParser {
 public:
  explicit HeaderReader(const std::string& line) : MiniKSLParser({line}) { parse(); }
  std::string type;
  std::string name;

 protected:
  void newObject(const std::string& itsType, const std::string& itsName) override
  {
    type = itsType;
    name = itsName;
  }
};

[[noreturn]] void throwDepth(const char* message)
{
  throw data::error(readStateExecutorClass, "loadStateData", message);
}

void placeEnds(Error& error, const std::string& fileName) noexcept
{
  try {
    Diagnostic known;
    SourceText(fileName, ORVFile::readAll(fileName), SyntaxTree::Reading::command, {}).placeEnds(known);
    error.setDiagnostic(std::make_shared<const Diagnostic>(std::move(known)));
  } catch (...) {}  // no memory, or the file has gone
}

// Does what throwDepth ends; the error then tells where in the file the cause is.
template <class Work>
auto placingEnds(const std::string& fileName, Work work)
{
  try {
    return work();
  } catch (data::error& error) {
    placeEnds(error, fileName);
    throw;
  }
}

}  // namespace

ReadStateExecutor::ReadStateExecutor(FileChangeManager* files, bool catchExceptionsOff)
    : m_paramNames{"filename", "mode", "load"},
      m_files(files),
      m_catchExceptionsOff(catchExceptionsOff)
{
  if (m_files)
    m_files->registerFileType(readFileType);
}

ReadStateExecutor::~ReadStateExecutor() = default;

void ReadStateExecutor::addValidParam(const std::string& name)
{
  m_paramNames.insert(StringUtilities::toLower(name));
}

bool ReadStateExecutor::componentProcessing(std::vector<std::string>&, const std::string&, const std::string&)
{
  return false;
}

// ---------------------------------------------------------------------------------------------------- the action

void ReadStateExecutor::invoke(const std::vector<std::string>& p_action)
{
  checkAction(p_action, {readAction}, readStateExecutorClass);
  const bool caught = !m_catchExceptionsOff && SchedulerObject::setCatchExceptions(true);
  ScopeGuard onFailure([&] {
    if (!m_catchExceptionsOff)
      SchedulerObject::setCatchExceptions(caught);
  });
  load(p_action);
  onFailure.dismiss();
  if (!caught)  // so always when catching is off, whatever was set before; deliberate
    SchedulerObject::setCatchExceptions(false);
}

void ReadStateExecutor::load(const std::vector<std::string>& words)
{
  Request request = readRequest(words);
  File file = readFile(request);
  if (StringUtilities::trimmed(file.text).empty()) {
    ErrorProgressReporter::instance()->reportError(
        file::error(readStateExecutorClass, "invoke", _("State file contains no data.")));
    return;
  }
  FileProcessingScope::checkNotInProgress(request.fileName, readStateExecutorClass, "invoke");
  // Judged before anything is deleted.
  file.blocks = placingEnds(request.fileName, [&] { return findBlocks(file.text); });
  if (m_files)
    m_files->registerFileChange(request.fileName, readFileType);
  const bool created = FileProcessingScope::createObject(readStateExecutorClass, "invoke");
  const bool broughtSomething = process(request, file);
  requireProcessingObject();
  if (created && !broughtSomething)  // what is as empty as before is saved as such
    deleteObjects({fileProcessingPath}, kslUpdateDefault);
}

// False when no block of the file was entered.
bool ReadStateExecutor::process(const Request& request, File& file)
{
  // Any other mode that STATE may have adds to what is there: deleting needs to be asked for.
  const bool overwrite = request.mode == overwriteMode;
  if (overwrite)
    deleteDeletable();
  if (request.loadData)
    loadResults(request, file);
  requireProcessingObject();
  const FileProcessingScope scope("State", request.fileName);
  processComponents(request, file);
  Names loaded;
  const bool entered = loadStateData(request, file, loaded);
  if (overwrite)
    resetToDefault(loaded);
  if (request.recorded)
    recordLoad(request.fileName, request.mode, request.loadData);
  return entered;
}

ReadStateExecutor::Request ReadStateExecutor::readRequest(const std::vector<std::string>& words) const
{
  const KSLObject* state = ObjectDB::instance()->getObjectByPath("/STATE");
  std::map<std::string, std::string> defaults = settings(state);
  Request request;
  request.fileName = asFileName(defaults["State Filename"]);
  request.mode = defaults["Read State Mode"];
  request.loadData = isTrue(defaults["Load Data"]);
  request.recorded = state != nullptr;
  for (std::size_t i = 1; i < words.size(); ++i)
    readArgument(words[i], request);
  request.mode = capitalised(request.mode);
  return request;
}

void ReadStateExecutor::readArgument(const std::string& argument, Request& request) const
{
  const auto [name, value] = squeezedArgument(argument, readAction, readStateExecutorClass);
  const std::string key = StringUtilities::toLower(name);
  if (!m_paramNames.contains(key))
    throw diagnosed(
        ksl::invalid(readStateExecutorClass, "invoke", _("Invalid parameter in %s: '%s'.", readAction, name)),
        oneOf(name, {m_paramNames.begin(), m_paramNames.end()}));
  if (key == "filename")
    request.fileName = fileToRead(std::string_view(argument).substr(argument.find('=') + 1));
  else if (key == "load")
    request.loadData = isTrue(value);
  else if (key == "mode") {
    request.mode = StringUtilities::toLower(value);
    if (request.mode != "overwrite" && request.mode != "append")
      throw diagnosed(
          data::invalid(readStateExecutorClass, "invoke", _("Invalid parameter value: '%s'.", value)),
          oneOf(value, {"append", "overwrite"}));
  }
}

// Lines are whole and without comments. The name becomes that of the file that was found.
ReadStateExecutor::File ReadStateExecutor::readFile(Request& request)
{
  ORVMPStream stream(request.fileName, ORVStream::Mode::read);
  request.fileName = stream.getFileName();
  std::string text = stream.readAll();
  stream.close();
  if (!ORVFile::isAscii(text))
    throw file::error(readStateExecutorClass, "invoke", _("Non ASCII file: '%s'.", request.fileName));
  if (text.starts_with(FileText::stateHead) && !text.ends_with('\n'))  // cut off, if only by a character
    placingEnds(request.fileName, [] { throwDepth(tooFewEnds); });
  File file;
  const std::size_t head = headSize(text);
  if (isAsRead(text, head)) {
    file.versionLine = secondLine(std::string_view(text).substr(0, head));
    text.erase(0, head);
    file.text = std::move(text);
    return file;
  }
  std::vector<std::string> lines = StringUtilities::removeContinuation(linesOf(text));
  if (lines.size() > 1 && lines[1].starts_with('#'))
    file.versionLine = lines[1];
  FileText::Reader reader;
  for (std::string& line : lines) {
    reader.read(line);
    dropComment(line);
    file.text.append(line) += '\n';
  }
  return file;
}

// Lines are made for those who may want to change them.
void ReadStateExecutor::processComponents(const Request& request, File& file)
{
  if (typeid(*this) == typeid(ReadStateExecutor))
    return;
  std::string_view text = file.text;
  if (text.ends_with('\n'))
    text.remove_suffix(1);
  std::vector<std::string> lines = StringUtilities::stringToVector(text, '\n');
  const std::size_t before = lines.size();
  if (!componentProcessing(lines, file.versionLine, request.fileName) && lines.size() == before)
    return;
  file.text.clear();
  for (const std::string& line : lines)
    file.text.append(line) += '\n';
  file.blocks = findBlocks(file.text);
}

namespace {

// Most lines of a state: what is behind their "=" need not be read to see it.
bool isSurelyParameter(std::string_view line) noexcept
{
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos)
    return false;
  std::string_view name = line.substr(0, equals);
  while (name.starts_with(' '))
    name.remove_prefix(1);
  return !name.empty() && !StringUtilities::isSpace(name.front()) && name.front() != '>'
         && name.find(':') == std::string_view::npos && name.find('#') == std::string_view::npos;
}

}  // namespace

std::vector<ReadStateExecutor::Block> ReadStateExecutor::findBlocks(std::string_view text)
{
  std::vector<Block> blocks;
  std::size_t depth = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::string_view line = text.substr(at, end - at);
    const std::size_t first = std::exchange(at, std::min(end + 1, text.size()));
    if (isSurelyParameter(line))
      continue;
    const int type = MiniKSLParser::determineLineType(line);
    if (type == MiniKSLParser::objectLine && depth++ == 0) {
      HeaderReader header{std::string(line)};
      blocks.push_back({first, at, false, std::move(header.type), std::move(header.name)});
    }
    if (type == MiniKSLParser::actionLine && depth > 0)
      blocks.back().hasActions = true;
    if (type != MiniKSLParser::endLine)
      continue;
    if (depth == 0)
      throwDepth("Too many END statements in KSL.");
    if (--depth == 0)
      blocks.back().last = at;
  }
  if (depth != 0)  // cut off
    throwDepth(tooFewEnds);
  return blocks;
}

}  // namespace orv
