// What all subcommands have in common: texts are entered into the library while it is up.
#pragma once

#include "platform/ORVSystem.h"
#include "command/KSLUpdateMode.h"
#include "command/TextSource.h"
#include "actions/SessionFile.h"
#include "ReportText.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class Host;

struct TextOptions {
  std::vector<std::string> files;  // "-" is standard input
  std::vector<std::string> texts;  // entered after the files
  std::vector<std::string> libraries;
  orv::kslUpdateMode updateMode = orv::kslUpdateDefault;
  bool validate = false;
  bool traceErrors = false;
  ReportFormat format = ReportFormat::text;
  bool endsProgram = false;  // when this is done: the model's memory is left to the system
};

using Lines = std::vector<std::string>;
// One command, and where errors in it are.
struct EnteredText {
  std::string text;
  orv::TextSource source;
  std::shared_ptr<orv::ORVStream> file = nullptr;  // open, that has a large text once more; null for others
};
using Texts = std::vector<EnteredText>;

// The texts of the options in order, also those without a statement. Throws what reading a file does.
Texts readTexts(const TextOptions& options);
// An empty file says nothing; the library takes an empty text for a slip of its caller.
bool isBlank(const std::string& text);

// Brings the library up, reads all texts and gives them to `work`, which is to enter them. What work leaves on
// std::cout is written. Returns the exit status: 0, or 1 when an error was reported, or 130 when Ctrl-C stopped
// the work (what enterText throws then may pass). Faulty RULES, and files that cannot be read, are reported before
// work begins, and end the run.
int runWithTexts(const TextOptions& options, const std::function<void(Texts&)>& work);
// The same for work that reads its own texts.
int runWithHost(const TextOptions& options, const std::function<void(Host&)>& work);
// The same for work that brings the library up itself, or does without; and how it does so. withHost lets out what
// the start and the work throw.
int runReporting(const TextOptions& options, const std::function<void()>& work);
void withHost(const TextOptions& options, const std::function<void(Host&)>& work);

// Enters a text as one command; one that fails is taken back, which is told. False when an error was reported.
// Throws orv::Interrupt once Ctrl-C was pressed meanwhile; that, too, was told.
bool enterText(const EnteredText& text);
// The same for a text that is not asked for again: one of a file does not stay in memory while it runs.
bool enterOnce(EnteredText& text);
// The same for a command of a session file, which is not recorded again.
bool enterText(const orv::SessionFile::Command& command, const std::string& file);
