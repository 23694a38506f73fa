// The actions on files, as a person would enter them.
#pragma once

#include "platform/ORVExport.h"

#include <string>

namespace orv {

// Why an action line cannot name this file; empty when it can. White space is taken out of names, so there must be none
// in that of a file that is written; one that is read is found all the same, unless there is one of the name without.
ORV_API std::string fileNameProblem(const std::string& name, bool written);

ORV_API std::string startRecordingText(const std::string& sessionFile);  // refuses a file that exists
ORV_API std::string endRecordingText();                           // does nothing when nothing is recorded
ORV_API std::string loadStateText(const std::string& stateFile);  // in place of what is deletable
ORV_API std::string saveStateText(const std::string& stateFile);  // over a file that exists
ORV_API std::string replayText(const std::string& sessionFile);

}  // namespace orv
