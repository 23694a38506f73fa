#include "session/FileActions.h"

#include "platform/ORVUtilities.h"

#include <filesystem>

namespace orv {

std::string fileNameProblem(const std::string& name, bool written)
{
  if (name.empty())
    return "must not be empty";
  if (name.find_first_of(",#\\\"") != std::string::npos)
    return "must not hold any of , # \\ \"";
  if (StringUtilities::simplifyWhitespace(name) != name)
    return "must not hold white space but single blanks inside";
  std::error_code unknown;
  if (name.find(' ') != std::string::npos
      && (written || std::filesystem::exists(StringUtilities::removeAllWhitespace(name), unknown)))
    return "must not hold blanks";
  return {};
}

std::string startRecordingText(const std::string& sessionFile)
{
  return "> session, start, filename=" + sessionFile;
}

std::string endRecordingText()
{
  return "> session, stopsilently";
}

std::string loadStateText(const std::string& stateFile)
{
  return "> readstate mode=overwrite, filename=" + stateFile;
}

std::string saveStateText(const std::string& stateFile)
{
  return "> savestate mode=overwrite, filename=" + stateFile;
}

std::string replayText(const std::string& sessionFile)
{
  return "> readsession filename=" + sessionFile;
}

}  // namespace orv
