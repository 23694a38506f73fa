#include "Texts.h"

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "ErrorPrinter.h"
#include "Host.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace {

Lines splitLines(const std::string& text)
{
  Lines lines = orv::StringUtilities::stringToVector(text, '\n');
  for (std::string& line : lines)
    if (!line.empty() && line.back() == '\r')
      line.pop_back();
  return lines;
}

Lines readStandardInput()
{
  std::string text;
  char buffer[1 << 16];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, stdin))
    text.append(buffer, count);
  if (std::ferror(stdin))
    throw orv::file::error("ksl", "readStandardInput",
                           orv::_("Cannot read standard input: %s.", orv::Error::getSystemError()));
  return splitLines(text);
}

bool isBlank(const Lines& lines)
{
  return std::all_of(lines.begin(), lines.end(), [](const std::string& line) { return line.empty(); });
}

Texts readTexts(const TextOptions& options)
{
  Texts texts;
  for (const std::string& file : options.files)
    texts.push_back(file == "-" ? readStandardInput() : orv::ORVFile::readLines(file));
  for (const std::string& text : options.texts)
    texts.push_back(splitLines(text));
  // An empty file says nothing; the library takes an empty text for a slip of its caller.
  std::erase_if(texts, isBlank);
  return texts;
}

void flushOutput()
{
  if (!std::cout.flush())
    throw orv::file::error("ksl", "flushOutput", orv::_("Cannot write to standard output."));
}

void runReported(const TextOptions& options, const std::function<void(const Texts&)>& work)
{
  const Host host(options.libraries);
  orv::KSLCoreAPI* api = orv::KSLCoreAPI::instance();
  api->setExternalKslUpdateMode(options.updateMode);
  api->setValidationEnabled(options.validate);
  work(readTexts(options));
  flushOutput();
}

}  // namespace

int runWithTexts(const TextOptions& options, const std::function<void(const Texts&)>& work)
{
  ErrorPrinter printer;
  printer.setTracing(options.traceErrors);
  orv::ErrorProgressReporter* reporter = orv::ErrorProgressReporter::instance();
  try {
    runReported(options, work);
  } catch (const orv::Error& error) {
    reporter->reportError(error);
  } catch (const std::exception& exception) {
    reporter->reportError(orv::ErrorMsg("ksl", "run", exception.what(), orv::errorType::system));
  }
  return printer.errorCount() > 0 ? 1 : 0;
}

void enterText(const Lines& text)
{
  orv::KSLCoreAPI::instance()->externalProcessKSL(text);
  if (const std::size_t changes = orv::KSLInterface::instance()->getLastRecoverySize())
    std::cerr << "rolled back " << changes << " changes\n";
}
