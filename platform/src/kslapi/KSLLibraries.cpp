// Definition libraries: KSL files read at start-up.
#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSourceText.h"
#include "platform/ORVSystem.h"
#include "platform/src/loader/OwnDirectory.h"
#include "platform/src/parse/lexical.h"
#include "StoreImpl.h"
#include "StoreLoader.h"

#include <cstdlib>

namespace orv {

namespace {

constexpr const char* librariesFunction = "readNamedLibraries";
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
    throw diagnosed(
        file::error("KSLAPI", librariesFunction, _("Cannot read KSL library '%s': %s.", file, why)),
        {.source = file});
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

SourceText sourceText(const store::Rules& rules, const std::string& file,
                      const std::vector<std::string>& lines)
{
  const auto append = [&rules](std::string& path, std::string_view type, std::string_view name) {
    path += '/';
    rules.appendComponent(path, type, name);
  };
  return {file, StringUtilities::vectorToString(lines, '\n'), SyntaxTree::Reading::library, append};
}

// A count of END that is off has its cause somewhere, what else is wrong stands on the line.
void locate(Error& error, const SourceText& text, std::size_t line)
{
  Diagnostic more = error.getDiagnostic() ? *error.getDiagnostic() : Diagnostic();
  if (error.getMessage().find(" END statements ") != std::string::npos)
    text.placeEnds(more);
  else
    text.placeLine(more, line);
  error.setDiagnostic(std::make_shared<const Diagnostic>(std::move(more)));
}

// A library defines; nobody is there yet to act.
void refuseActions(const std::string& file, const std::vector<std::string>& lines)
{
  for (std::size_t i = 0, behind = 0; i < lines.size(); i = behind) {
    const std::string line = joinedFrom(lines, i, behind);
    if (MiniKSLParser::determineLineType(line) == MiniKSLParser::actionLine)
      throw diagnosed(
          ksl::invalid("KSLAPI", librariesFunction,
                       _("Action line in KSL library '%s', line %d: '%s'.", file, i + 1,
                         StringUtilities::simplifyWhitespace(line))),
          {.source = file, .line = i + 1, .column = 1, .length = lines[i].size(), .lineText = lines[i]});
  }
}

void readLibraryLine(store::Loader& loader, const std::string& file, const std::string& line,
                     std::size_t number)
{
  if (loader.depth() == 0 && MiniKSLParser::determineLineType(line) == MiniKSLParser::endLine)
    throw ksl::invalid("KSLAPI", librariesFunction, _("Too many END statements in KSL library '%s'.", file));
  try {
    loader.readLine(line);
  } catch (const ksl::invalid& error) {
    ksl::invalid inFile(error.getClassName(), librariesFunction,
                        _("%s (KSL library '%s')", error.getMessage(), file));
    inFile.setDiagnostic(error.getDiagnostic());
    throw inFile;
  }
  // The text store alone would know of it, and no command could reach it.
  if (loader.depth() == 1 && !store::isRulesPath(loader.topPath()))
    throw ksl::invalid(
        "KSLAPI", librariesFunction,
        _("Object '%s' in KSL library '%s', line %d, is no definition.", loader.topPath(), file, number));
}

void loadLibrary(KSLAPI::Impl& store, const std::string& file, const std::vector<std::string>& lines)
{
  store::Loader loader(store, nullptr, true);
  std::size_t i = 0;
  try {
    for (std::size_t behind = 0; i < lines.size(); i = behind) {
      const std::string line = joinedFrom(lines, i, behind);
      readLibraryLine(loader, file, line, i + 1);
    }
    if (loader.depth() > 0)
      throw ksl::invalid("KSLAPI", librariesFunction,
                         _("Not enough END statements in KSL library '%s'.", file));
  } catch (Error& error) {
    locate(error, sourceText(store.rules, file, lines), i + 1);
    throw;
  }
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
  libraryFiles = files;
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

void KSLAPI::locateInLibraries(Diagnostic& error) const
{
  const std::vector<std::string>& files = m_impl->libraryFiles;
  for (std::size_t i = files.size(); i-- > 0;)
    if (sourceText(m_impl->rules, files[i], readLibrary(files[i]))
            .placeObject(error, static_cast<std::size_t>(-1)))
      return;
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
