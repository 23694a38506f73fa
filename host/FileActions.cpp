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

EnteredText startRecordingText(const std::string& sessionFile)
{
  return {{"> session, start, filename=" + sessionFile}, {.name = "--record"}};
}

EnteredText endRecordingText()
{
  return {{"> session, stopsilently"}, {.name = "--record"}};
}

EnteredText loadStateText(const std::string& stateFile)
{
  return {{"> readstate mode=overwrite, filename=" + stateFile}, {.name = "--load"}};
}

EnteredText saveStateText(const std::string& stateFile)
{
  return {{"> savestate mode=overwrite, filename=" + stateFile}, {.name = "--save"}};
}

EnteredText replayText(const std::string& sessionFile)
{
  return {{"> readsession filename=" + sessionFile}, {.name = "--as-one"}};
}
