#include "FileActions.h"

#include "session/FileActions.h"

EnteredText startRecordingText(const std::string& sessionFile)
{
  return {orv::startRecordingText(sessionFile), {.name = "--record"}};
}

EnteredText endRecordingText()
{
  return {orv::endRecordingText(), {.name = "--record"}};
}

EnteredText loadStateText(const std::string& stateFile)
{
  return {orv::loadStateText(stateFile), {.name = "--load"}};
}

EnteredText saveStateText(const std::string& stateFile)
{
  return {orv::saveStateText(stateFile), {.name = "--save"}};
}

EnteredText replayText(const std::string& sessionFile)
{
  return {orv::replayText(sessionFile), {.name = "--as-one"}};
}
