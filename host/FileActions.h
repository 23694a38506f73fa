// The actions on files that options of the command line ask for, as a person would enter them.
#pragma once

#include "Texts.h"

#include <string>

// Why an action line cannot name this file; empty when it can. White space is taken out of the names of files that
// are written, so there must be none.
std::string fileNameProblem(const std::string& name, bool written);

EnteredText startRecordingText(const std::string& sessionFile);  // refuses a file that exists
EnteredText endRecordingText();                                  // does nothing when nothing is recorded
EnteredText loadStateText(const std::string& stateFile);         // in place of what is deletable
EnteredText saveStateText(const std::string& stateFile);         // over a file that exists
EnteredText replayText(const std::string& sessionFile);
