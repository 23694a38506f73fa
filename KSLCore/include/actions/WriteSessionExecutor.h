// The action "session": records what is entered in a session file.
#pragma once

#include "platform/ORVSystem.h"
#include "command/ActionExecutor.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class KSLObject;
struct ParsedText;

//   > session start, filename=FILE, mode=none|overwrite|append
//   > session stop | stopsilently
//
// While a session is recorded, every text that is entered from outside (KSLCoreAPI::externalProcessKSL) is written to
// the file before it runs, so one that fails is there too. docs/session-file.md describes the file, and ReadSession-
// Executor plays it back. Settings that are not given come from the object SESSION when there is one, and the start of
// a recording shows them there. A file that is appended to, and whose last command is incomplete because its process
// was killed, first loses that, which is reported as file::error of type 8. White space in a file name of the action line is dropped; the name of SESSION is
// taken as it stands. Quotes around either are taken off, so that it may hold a "#".
//
// Two states: idle, and recording from a start that succeeded until a stop, terminateSession or a failing write. The
// destructor writes nothing more: a file is ended by a stop.
class ORV_API WriteSessionExecutor : public ActionExecutor {
 public:
  // Registers itself with the core API as the session writer.
  WriteSessionExecutor();
  // Unregisters itself when it still is the one.
  ~WriteSessionExecutor() override;

  // Fails before anything is changed but for a start whose SESSION text fails, after the file was opened. Function
  // "invoke": internal::badParam for the words as every action; ksl::invalid
  //   "Must specify START or STOP session."
  //   "%s duplicately specified." with "'start'" or "'stop'"     "Cannot START & STOP session at same time."
  //   "%s already in progress." "%s is not in progress." with "Session write"
  //   "Syntax error: %s parameters should have the format: %s"   "Invalid parameter in %s: '%s'."
  //   "STOP session cannot take other parameters."               "Invalid parameter value: %s." (of SESSION)
  // data::invalid "Invalid parameter value: '%s'." for a mode of the line; file::error "Overwrite not allowed: %s" in
  // mode none, "File status error: '%s' - %s." when the file cannot be asked for; and what ORVStream throws.
  void invoke(const std::vector<std::string>& words) override;

  // Writes one text that was entered, in the core API's external update mode; nothing when idle or when the text names
  // "AutoSaveState.qst". Empty lines are left out, and lines that control sessions, or legends that come by themselves
  // ("> autolegend"); the text is written as it is understood, so that it means the same when it is replayed in another
  // mode, and in ASCII (FileText). On disk when it returns. Throws nothing but for lack of memory: when the file cannot
  // be written any more it is cut back to its last whole block, that is reported once, and the recording ends. Linear in
  // the text.
  void writeSessionKSL(const std::string& text) { writeSessionKSL(text, nullptr); }
  // The same for a text that was parsed already, in that mode, which saves most of the work.
  void writeSessionKSL(const std::string& text, const ParsedText* parsed);

  // Ends a recording as "stop" does, when there is one; a failure is reported.
  void terminateSession();
  bool isRecording() const { return m_inProgress; }
  // The name, by whatever way, leads to the file that is being written.
  bool isRecordingTo(const std::string& fileName) const;

  // Text behind the head of every file that is started afterwards, by whichever executor; empty at start.
  static void setFilePreamble(const std::string& preamble);

 private:
  struct Request {
    bool start = false;
    bool stop = false;
    bool other = false;
    std::string fileName;
    std::string mode;
  };

  void readWord(const std::string& word, Request& request) const;
  void requestStart(Request& request) const;
  void requestStop(Request& request, bool silently) const;
  void readParameter(const std::string& word, Request& request) const;
  void start(Request request, const KSLObject* settings);
  void openFile(Request& request);
  static void heal(const std::string& fileName);
  void writeHeader();
  void append(const std::string& text);
  void cutBack() noexcept;
  void stop();
  void abandon(const file::error& error) noexcept;

  const std::set<std::string> m_parameters;
  const std::set<std::string> m_modes;
  ORVStream m_stream;
  std::string m_file;              // canonical, of the stream
  std::uintmax_t m_wholeSize = 0;  // of the file up to its last whole block
  std::string m_block;             // of the last command
  bool m_canBeCut = false;         // a regular file
  bool m_inProgress = false;
};

}  // namespace orv
