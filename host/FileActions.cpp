#include "FileActions.h"

#include "platform/ORVUtilities.h"

std::string fileNameProblem(const std::string& name, bool written)
{
  if (name.empty())
    return "must not be empty";
  if (name.find_first_of(",#\\\"") != std::string::npos)
    return "must not hold any of , # \\ \"";
  if (orv::StringUtilities::simplifyWhitespace(name) != name)
    return "must not hold white space but single blanks inside";
  if (written && name.find(' ') != std::string::npos)
    return "must not hold blanks";
  return {};
}

Lines startRecordingText(const std::string& sessionFile)
{
  return {"> session, start, filename=" + sessionFile};
}

Lines endRecordingText()
{
  return {"> session, stopsilently"};
}

Lines loadStateText(const std::string& stateFile)
{
  return {"> readstate mode=overwrite, filename=" + stateFile};
}

Lines saveStateText(const std::string& stateFile)
{
  return {"> savestate mode=overwrite, filename=" + stateFile};
}

Lines replayText(const std::string& sessionFile)
{
  return {"> readsession filename=" + sessionFile};
}
