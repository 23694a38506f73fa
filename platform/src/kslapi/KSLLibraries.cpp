// Definition libraries: KSL files read at start-up.
#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSystem.h"
#include "platform/src/loader/OwnDirectory.h"
#include "platform/src/parse/lexical.h"
#include "StoreImpl.h"
#include "StoreLoader.h"

#include <cstdlib>

namespace orv {

namespace {

constexpr const char* function = "readNamedLibraries";
constexpr std::string_view libraryEnding = ".ksl";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

void addFiles(const std::string& place, std::vector<std::string>& files)
{
  if (!ORVFile::isDirectory(place)) {
    files.push_back(place);
    return;
  }
  for (std::string& file : ORVFile::listFiles(place, libraryEnding))
    files.push_back(std::move(file));
}

std::vector<std::string> readLibrary(const std::string& file)
{
  try {
    std::vector<std::string> lines = ORVFile::readLines(file);
    if (!lines.empty() && lines.front().starts_with(byteOrderMark))
      lines.front().erase(0, byteOrderMark.size());
    return lines;
  } catch (const file::error& error) {
    // The file library's message ends in the system's reason, after the last ": ".
    const std::string& text = error.getMessage();
    const std::size_t reason = text.rfind(": ");
    std::string why = reason == std::string::npos ? text : text.substr(reason + 2);
    if (!why.empty() && why.back() == '.')
      why.pop_back();
    throw file::error("KSLAPI", function, _("Cannot read KSL library '%s': %s.", file, why));
  }
}

// The lines of one statement, from this one on, as one line.
std::string joinedFrom(const std::vector<std::string>& lines, std::size_t first, std::size_t& behind)
{
  behind = first + 1;
  for (bool goesOn = lexical::continues(lines[first]); goesOn && behind < lines.size(); ++behind)
    goesOn = lexical::continues(StringUtilities::trimmed(lines[behind]));
  const auto begin = lines.begin();
  return StringUtilities::removeContinuation(
             {begin + static_cast<std::ptrdiff_t>(first), begin + static_cast<std::ptrdiff_t>(behind)})
      .front();
}

// A library defines; nobody is there yet to act.
void refuseActions(const std::string& file, const std::vector<std::string>& lines)
{
  for (std::size_t i = 0, behind = 0; i < lines.size(); i = behind) {
    const std::string line = joinedFrom(lines, i, behind);
    if (MiniKSLParser::determineLineType(line) == MiniKSLParser::actionLine)
      throw ksl::invalid("KSLAPI", function,
                         _("Action line in KSL library '%s', line %d: '%s'.", file, i + 1,
                           StringUtilities::simplifyWhitespace(line)));
  }
}

void readLibraryLine(store::Loader& loader, const std::string& file, const std::string& line,
                     std::size_t number)
{
  if (loader.depth() == 0 && MiniKSLParser::determineLineType(line) == MiniKSLParser::endLine)
    throw ksl::invalid("KSLAPI", function, _("Too many END statements in KSL library '%s'.", file));
  try {
    loader.readLine(line);
  } catch (const ksl::invalid& error) {
    throw ksl::invalid(error.getClassName(), function, _("%s (KSL library '%s')", error.getMessage(), file));
  }
  // The text store alone would know of it, and no command could reach it.
  if (loader.depth() == 1 && !store::isRulesPath(loader.topPath()))
    throw ksl::invalid(
        "KSLAPI", function,
        _("Object '%s' in KSL library '%s', line %d, is no definition.", loader.topPath(), file, number));
}

void loadLibrary(KSLAPI::Impl& store, const std::string& file, const std::vector<std::string>& lines)
{
  store::Loader loader(store, nullptr, true);
  for (std::size_t i = 0, behind = 0; i < lines.size(); i = behind) {
    const std::string line = joinedFrom(lines, i, behind);
    readLibraryLine(loader, file, line, i + 1);
  }
  if (loader.depth() > 0)
    throw ksl::invalid("KSLAPI", function, _("Not enough END statements in KSL library '%s'.", file));
}

std::vector<std::string> splitPlaces(const std::string& text, char separator)
{
  std::vector<std::string> places;
  for (const std::string& place : StringUtilities::stringToVector(text, separator)) {
    if (std::string trimmed = StringUtilities::removeWhitespace(place); !trimmed.empty())
      places.push_back(std::move(trimmed));
  }
  return places;
}

std::vector<std::string> defaultPlaces()
{
  if (const char* path = std::getenv("ORV_KSL_LIBRARY_PATH"); path && *path)
    return splitPlaces(path, ':');
  if (std::string installed = ownDirectory() + "/" KSL_LIBRARY_FROM_HERE; ORVFile::isDirectory(installed))
    return {std::move(installed)};
  return {};
}

std::vector<std::string> filesOf(const std::vector<std::string>& places)
{
  std::vector<std::string> files;
  for (const std::string& place : places)
    addFiles(place, files);
  return files;
}

}  // namespace

void KSLAPI::Impl::readLibraryFiles(const std::vector<std::string>& files)
{
  std::vector<std::vector<std::string>> texts;
  for (const std::string& file : files) {
    texts.push_back(readLibrary(file));
    refuseActions(file, texts.back());
  }
  const std::uint64_t before = mark();
  const std::size_t told = changes.size();
  try {
    for (std::size_t i = 0; i < files.size(); ++i)
      loadLibrary(*this, files[i], texts[i]);
  } catch (...) {
    undoTo(before);
    changes.truncate(told);
    throw;
  }
}

void KSLAPI::readLibraries()
{
  m_impl->readLibraryFiles(filesOf(defaultPlaces()));
}

void KSLAPI::readNamedLibraries(const std::string& rules, const std::string& others)
{
  std::vector<std::string> files = filesOf(splitPlaces(rules, ','));
  for (std::string& file : filesOf(splitPlaces(others, ',')))
    files.push_back(std::move(file));
  m_impl->readLibraryFiles(files);
}

}  // namespace orv
