#include "actions/ORVMPStream.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "actions/fileNames.h"

#include <vector>

namespace orv {

namespace {

// Where a file that is not there may be instead; nothing when no file is in progress.
std::vector<std::string> localCandidates(const std::string& fileName)
{
  const KSLObject* processing = ObjectDB::instance()->getObjectByPath(fileProcessingPath);
  if (!processing || !processing->hasParam(processingModeParam) || !processing->hasParam(pathStackParam)
      || processing->getValue(processingModeParam) == idleMode)
    return {};
  std::vector<std::string> candidates;
  const std::string baseName = ORVFile::getFilename(fileName);
  for (const std::string& entry :
       StringUtilities::stringToVector(processing->getValue(pathStackParam), ',')) {
    const std::string directory = StringUtilities::removeWhitespace(entry);
    std::string candidate = directory + "/" + baseName;
    if (!directory.empty() && !ORVFile::isDirectory(candidate))
      candidates.push_back(std::move(candidate));
  }
  return candidates;
}

void reportUse(const char* function, const std::string& fileName, const std::string& candidate)
{
  ErrorProgressReporter::instance()->reportError(internal::error(
      "ORVMPStream", function, _("File %s not found.\n  -> Used local file %s instead.", fileName, candidate),
      errorType::warning));
}

}  // namespace

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
