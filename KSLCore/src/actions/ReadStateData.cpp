// What "readstate" does with the blocks of a state file.

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "database/ParamKSLParser.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "command/actionChecks.h"
#include "actions/ReadStateExecutor.h"
#include "actions/fileNames.h"
#include "actions/linesOf.h"
#include "actions/stateTypes.h"

#include <algorithm>
#include <map>

namespace orv {

namespace {

constexpr const char* readStateDataClass = "ReadStateExecutor";
constexpr const char* readerType = "DATA READER";
constexpr const char* resultsParam = "Current Results File";

using Lines = std::vector<std::string>;

bool isFile(const std::string& name)
{
  return ORVFile::exists(name) && !ORVFile::isDirectory(name);
}

// A file of this name in the directory of the state file.
std::string besideState(const std::string& stateFile, const std::string& name)
{
  const std::string state = PathUtils::toForwardSlashes(stateFile);
  const std::size_t slash = state.rfind('/');
  const std::string directory = slash == std::string::npos ? "./" : state.substr(0, slash + 1);
  return directory + ORVFile::getFilename(name);
}

std::string resultsFile(const Lines& block)
{
  ParamKSLParser parser(block);
  parser.parseForParam(readerType, resultsParam);
  const auto& results = parser.getResults();
  return results.empty() ? std::string() : StringUtilities::removeWhitespace(results.begin()->second);
}

void setResultsFile(Lines& block, const std::string& name)
{
  for (std::string& line : block)
    if (MiniKSLParser::determineLineType(line) == MiniKSLParser::parameterLine
        && StringUtilities::splitNameValue(line).first == resultsParam)
      line = std::string(resultsParam) + " = " + name;
}

// The block with a results file that exists.
void findResults(Lines& block, const std::string& stateFile)
{
  const std::string named = PathUtils::toForwardSlashes(resultsFile(block));
  if (isFile(named))
    return;
  const std::string local = besideState(stateFile, named);
  if (!isFile(local))
    throw data::invalid(
        readStateDataClass, "invoke",
        _("Results file referred to in the state was not found:\n\n  %s\n\nPlease ensure that the file path "
          "is "
          "correct.\nAlternatively, load the results file first, then the\nstate file with 'Load results' "
          "option turned off.",
          named));
  setResultsFile(block, local);
  ErrorProgressReporter::instance()->reportError(data::invalid(
      readStateDataClass, "invoke",
      _("Results file referred to in the state was not found:\n\n  %s\n\nLocal results file with "
        "the same name was loaded instead:\n\n  %s\n",
        named, local)));
}

std::vector<KSLObject*> topObjectsNamed(const std::string& name)
{
  return ObjectDB::instance()->getRoot()->getChildObjectsByName(name);
}

// Name and value of what a state may say of objects of this type. A default that the type does not allow itself is
// left out: it cannot be set.
std::map<std::string, std::string> savedDefaults(const std::string& type)
{
  const KSLObject* prototype = ObjectFactory::instance()->findPrototype(type);
  std::map<std::string, std::string> params =
      KSLCoreAPI::instance()->getParamsForObjectType(type, UnitSystemTypes::asStored);
  // What the state does not mention is not to be seen.
  const auto visibility = params.find("Visibility");
  if (visibility != params.end() && (type == "BOUNDARY" || type == "SUBDOMAIN"))
    visibility->second = "Off";
  std::erase_if(params, [&](const auto& param) {
    const ParamDefinition* definition = prototype->lookUpParam(param.first);
    return !isSavedParam(type, param.first) || !definition || !definition->isAllowedValue(param.second);
  });
  return params;
}

}  // namespace

// Adds the lines of a block. A state is data: an action in it is passed over, inside blocks as between them.
void ReadStateExecutor::appendBlock(const File& file, const Block& block, std::string& text)
{
  std::string_view rest = std::string_view(file.text).substr(block.first, block.last - block.first);
  if (!block.hasActions) {
    text += rest;
    rest = {};
  }
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
    if (!StringUtilities::trimmed(line).starts_with('>'))
      text += line;
    rest.remove_prefix(line.size());
  }
  if (!text.ends_with('\n'))
    text += '\n';
}

void ReadStateExecutor::loadResults(const Request& request, const File& file)
{
  const auto found = std::find_if(file.blocks.begin(), file.blocks.end(),
                                  [](const Block& block) { return block.type == readerType; });
  if (found == file.blocks.end())
    return;
  std::string text;
  appendBlock(file, *found, text);
  Lines block = ObjectKSLParser(linesOf(text)).parseForObject(readerType);
  if (resultsFile(block).empty())  // a state of work that has no results
    return;
  findResults(block, request.fileName);
  KSLCoreAPI::instance()->processKSL(StringUtilities::vectorToString(block, '\n') + "\n>load\n",
                                     kslUpdateDefault);
}

bool ReadStateExecutor::isResDefinedObject(const std::string& type, const std::string&)
{
  return isResultsDefined(type);
}

bool ReadStateExecutor::exactObjectExists(const std::string& type, const std::string& name)
{
  const std::vector<KSLObject*> objects = topObjectsNamed(name);
  return std::any_of(objects.begin(), objects.end(),
                     [&](const KSLObject* object) { return object->typeIs(type); });
}

bool ReadStateExecutor::objectNameExists(const std::string&, const std::string& name)
{
  return !topObjectsNamed(name).empty();
}

// Whether the block is to be entered; adds the paths of the objects that must go before.
bool ReadStateExecutor::isKept(const Block& block, Names& loaded, std::set<std::string>& replaced)
{
  if (block.type == readerType || block.type == "FILE PROCESSING")
    return false;
  const bool exists = exactObjectExists(block.type, block.name);
  if (isResDefinedObject(block.type, block.name)) {
    if (exists)
      loaded.insert(block.name);
    return exists;
  }
  if (exists || !objectNameExists(block.type, block.name))
    return true;
  const std::vector<KSLObject*> others = topObjectsNamed(block.name);
  for (const KSLObject* other : others)
    if (isResDefinedObject(other->getType(), block.name))
      return false;
  for (const KSLObject* other : others)
    if (!other->pathIs(fileProcessingPath))  // the loader's own
      replaced.insert(other->getPath());
  return true;
}

// False when there was no block to enter.
bool ReadStateExecutor::loadStateData(const Request& request, File& file, Names& loaded)
{
  std::string text;
  text.reserve(file.text.size() + 1);
  std::set<std::string> replaced;
  for (const Block& block : file.blocks) {
    if (isKept(block, loaded, replaced))
      appendBlock(file, block, text);
  }
  file.text = {};  // the memory is needed now
  deleteObjects({replaced.begin(), replaced.end()}, kslUpdateAtEnd);
  if (text.empty())
    return !replaced.empty();
  KSLInterface::instance()->setBWCForNextProcessKSL(true);
  KSLCoreAPI::instance()->processKSL(text, kslUpdateAtEnd, {.name = request.fileName, .isExcerpt = true});
  return true;
}

void ReadStateExecutor::resetToDefault(const Names& loaded)
{
  KSLBuilder text;
  for (const std::string& type : resultsDefinedTypes()) {
    const std::map<std::string, std::string> params = savedDefaults(type);
    if (params.empty())
      continue;
    for (const std::string& name : ObjectDB::instance()->getNamesByType(type)) {
      if (loaded.contains(name))
        continue;
      text.beginObject(type, name);
      for (const auto& [param, value] : params)
        text.addParam(param, value);
      text.endObject();
    }
  }
  if (!text.text().empty())
    KSLCoreAPI::instance()->processKSL(text.text(), kslUpdateAtEnd);
}

}  // namespace orv
