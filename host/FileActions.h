// The actions on files that options of the command line ask for.
#pragma once

#include "Texts.h"

#include <string>

EnteredText startRecordingText(const std::string& sessionFile);  // refuses a file that exists
EnteredText endRecordingText();                                  // does nothing when nothing is recorded
EnteredText loadStateText(const std::string& stateFile);         // in place of what is deletable
EnteredText saveStateText(const std::string& stateFile);         // over a file that exists
EnteredText replayText(const std::string& sessionFile);
