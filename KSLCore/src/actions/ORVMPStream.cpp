#include "actions/ORVMPStream.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "platform/internal/ContextLocal.h"
#include "database/ObjectDB.h"
#include "actions/fileNames.h"

#include <utility>
#include <vector>

namespace orv {

namespace {

constinit ContextLocal<std::string*> theFallback(ContextEnd::memory,
                                                 [] { delete std::exchange(*theFallback, nullptr); });

// The directories of the files in progress, innermost first.
std::vector<std::string> directoriesInProgress()
{
  const KSLObject* processing = ObjectDB::instance()->getObjectByPath(fileProcessingPath);
  if (!processing || !processing->hasParam(processingModeParam) || !processing->hasParam(pathStackParam)
      || processing->getValue(processingModeParam) == idleMode)
    return {};
  return StringUtilities::stringToVector(processing->getValue(pathStackParam), ',');
}

void reportUse(const char* function, const std::string& fileName, const std::string& candidate)
{
  ErrorProgressReporter::instance()->reportError(internal::error(
      "ORVMPStream", function, _("File %s not found.\n  -> Used local file %s instead.", fileName, candidate),
      errorType::warning));
}

}  // namespace

void ORVMPStream::setFallbackDirectory(const std::string& directory)
{
  delete std::exchange(*theFallback, new std::string(directory));
}

ORVMPStream::ORVMPStream() = default;

ORVMPStream::ORVMPStream(const std::string& fileName, Mode mode)
{
  ORVMPStream::open(fileName, mode);
}

ORVMPStream::~ORVMPStream() = default;

void ORVMPStream::open(const std::string& fileName, Mode mode)
{
  std::vector<std::string> candidates;
  if (mode == Mode::read)
    candidates = localCandidates(fileName);
  if (!candidates.empty() && tryOpen(fileName, mode))
    return;
  for (const std::string& candidate : candidates)
    if (tryOpen(candidate, mode))
      return reportUse("open", fileName, candidate);
  // Again when nothing was found, so that the caller hears why the file that it named did not open.
  ORVStream::open(fileName, mode);
}

// Where a file that is not there may be instead.
std::vector<std::string> ORVMPStream::localCandidates(const std::string& fileName)
{
  std::vector<std::string> candidates;
  const auto add = [&](std::string candidate) {
    if (!ORVFile::isDirectory(candidate))
      candidates.push_back(std::move(candidate));
  };
  const std::string baseName = ORVFile::getFilename(fileName);
  for (const std::string& entry : directoriesInProgress()) {
    const std::string directory = StringUtilities::removeWhitespace(entry);
    if (!directory.empty())
      add(directory + "/" + baseName);
  }
  const std::string fallback = *theFallback ? **theFallback : std::string();
  if (!fallback.empty()) {
    if (!fileName.starts_with('/'))
      add(fallback + "/" + fileName);
    add(fallback + "/" + baseName);
  }
  return candidates;
}

bool ORVMPStream::tryOpen(const std::string& fileName, Mode mode)
{
  try {
    ORVStream::open(fileName, mode);
    return true;
  } catch (const file::error&) {
    return false;
  }
}

std::string ORVMPStream::findLocalFile(const std::string& fileName, bool report)
{
  if (ORVFile::exists(fileName))
    return fileName;
  for (const std::string& candidate : localCandidates(fileName)) {
    if (!ORVFile::exists(candidate))
      continue;
    if (report)
      reportUse("findLocalFile", fileName, candidate);
    return candidate;
  }
  return fileName;
}

}  // namespace orv
