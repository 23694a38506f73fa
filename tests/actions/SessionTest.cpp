// The recording of sessions.
#include "SessionFixture.h"

namespace orv {
namespace {

// Every way to open the file: what it held, what the settings and the line say, and what it holds then.
TEST_F(SessionTest, Modes)
{
  const std::string body = "A: a\nEND\n\n\n";  // the stop is left out, the line end behind its text is not
  const std::string made = head + body + foot;
  const std::string refused = "error[4] WriteSessionExecutor::invoke: Overwrite not allowed: FILE";
  struct Row {
    const char* setting;  // in SESSION; null without one
    const char* argument;
    const char* before;  // null for no file
    std::string after;
    std::string errors;
    const char* settingAfter;
  };
  const Row rows[] = {
      {nullptr, "", "old\n", "old\n", refused, ""},
      {nullptr, ", mode = over write", "old\n", made, "", ""},
      {nullptr, ", mode=Append", "old\n", "old\n",
       "error[4] WriteSessionExecutor::invoke: Invalid parameter value: 'Append'.", ""},
      {"", "", nullptr, made, "", "None"},
      {"None", ", mode=append", "old\n", "old\n" + made, "", "Append"},
      {"Append", "", "old\n", "old\n" + made, "", "Append"},
      {"Wild", "", nullptr, "(none)", "error[4] WriteSessionExecutor::invoke: Invalid parameter value: mode.",
       "Wild"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.setting ? row.setting : "-") + row.argument
                 + (row.before ? " old" : " new"));
    startAfresh();
    const std::string file = folder / "s.ksl";
    std::filesystem::remove(file);
    if (row.before)
      folder.write("s.ksl", row.before);
    if (row.setting)
      enter("SESSION:\nSession Filename = other\nWrite Session Mode = " + std::string(row.setting) + "\nEND");
    enter("> session start, filename=" + file + row.argument);
    EXPECT_EQ(system->errors(),
              row.errors.empty() ? "" : std::regex_replace(row.errors, std::regex("FILE"), file));
    EXPECT_EQ(isRecording(), row.errors.empty());
    enter("A: a\nEND");
    enter("> session stopsilently");
    EXPECT_EQ(contents(), row.after);
    EXPECT_EQ(system->errors(), "");
    if (const KSLObject* session = ObjectDB::instance()->getObjectByPath("/SESSION")) {
      EXPECT_EQ(session->getValue("Write Session Mode"), row.settingAfter);
      EXPECT_EQ(session->getValue("Session Filename"), row.errors.empty() ? file : "other");
    }
  }
}

TEST_F(SessionTest, RefusalsChangeNothing)
{
  const std::string file = folder.write("file.txt", "text");
  const std::string twice = "Cannot START & STOP session at same time.";
  const std::string syntax = "Syntax error: session parameters should have the format: param=value";
  struct Row {
    bool recording;
    std::string line;
    std::string message;  // empty for none
  };
  const Row rows[] = {
      {false, "> session", "Must specify START or STOP session."},
      {false, "> session start, start", "'start' duplicately specified."},
      {false, "> session start, stop", twice},
      {false, "> session stop", "Session write is not in progress."},
      {false, "> session stopsilently, filename=x", ""},
      {false, "> session start, Filename=x", "Invalid parameter in session: 'Filename'."},
      {false, "> session start, START", syntax},
      {false, "> session start, filename=" + file + "/x",
       "File status error: 'Bad Status' - " + file + "/x."},
      {false, "> session start, filename=" + (folder / "none/x"),
       "Cannot open file '" + (folder / "none/x") + "': No such file or directory."},
      {false, "> session start, mode=append, filename=/dev/full",
       "Cannot write file '/dev/full': No space left on device."},
      {true, "> session start", "Session write already in progress."},
      {true, "> session stop, filename=x", "STOP session cannot take other parameters."},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    startAfresh();
    if (row.recording)
      enter("> session start, mode=overwrite, filename=" + (folder / "s.ksl"));
    enter(row.line);
    const auto errors = system->errorList();
    ASSERT_EQ(errors.size(), row.message.empty() ? 0U : 1U);
    EXPECT_EQ(errors.empty() ? "" : errors[0].getMessage(), row.message);
    EXPECT_EQ(isRecording(), row.recording);
    EXPECT_EQ(contents(), row.recording ? std::string(head) + "\n" : "(none)");
  }
}

// What is refused in a recovery must not be done by a replay.
TEST_F(SessionTest, WhatIsRefusedIsNotRecorded)
{
  enter("> session start, mode=overwrite, filename=" + (folder / "s.ksl"));
  system->onNotification = [](int type) {
    if (type == 12)
      enter("A: refused\nEND");
  };
  enter("> nonsense");
  EXPECT_EQ(system->errorList().size(), 2U);  // no such action, refused
  EXPECT_EQ(contents().find("refused"), std::string::npos);
  EXPECT_NE(contents().find("nonsense"), std::string::npos);
}

TEST_F(SessionTest, WritesWholeLinesIndentedAndWrapped)
{
  WriteSessionExecutor::setFilePreamble("# made by a test");
  enter("> session start, filename=" + (folder / "s.ksl"));
  WriteSessionExecutor::setFilePreamble("");
  enter("A: a # note\nx = one \\\r\n   two\r\nB: b\n\nEND\nEND\n> delete /A:a");
  enter("> session start, \\\nfilename=x");  // the second line goes with the first
  enter(
      "> autolegend on\n>autolegend\n>autolegends\n> autolegendary\n>session\n> session# c\n  > session "
      "stop, \\\nx=1\n> "
      "sessions");
  enter("A: a\nx = AutoSaveState.qst\nEND");
  enter("A: a\nx = 1 \\\n> session stop\ny = C:\\ \nEND");
  enter("A: a\nx = " + std::string(60, 'v') + " and " + std::string(12, 'w') + "\nEND");
  KSLCoreAPI::instance()->setExternalKslUpdateMode(kslUpdateAtEnd);
  enter("A: b\nEND");
  KSLCoreAPI::instance()->getSessionWriter()->terminateSession();
  KSLCoreAPI::instance()->getSessionWriter()->terminateSession();
  enter("A: c\nEND");
  const std::string start =
      "# Session file started: TIME\n# libORVKSLCore 1.0.0, text beyond ASCII as {U+HHHH}\n\n# made by a "
      "test\n";
  EXPECT_EQ(contents(), start
                            + "A: a # note\n  x = one two\n  B: b\n  END\nEND\n> delete /A:a\n\n"
                              "\n"
                              ">autolegends\n> sessions\n\n"
                              "A: a\n  x = 1 > session stop\n  y = C:\\ \\\n\nEND\n\n"
                              "A: a\n  x = "
                            + std::string(60, 'v') + " and \\\n  " + std::string(12, 'w')
                            + "\nEND\n\nA: b\nEND\n> update\n\n" + foot);
}

TEST_F(SessionTest, NamesOfFilesComeBackFromTheSettings)
{
  enter("SESSION:\nEND");
  enter("> session start, filename=" + (folder / "caf\xC3\xA9"));
  enter("> session stop");
  enter("> session start, filename=\"" + (folder / "a#b") + "\"");
  EXPECT_EQ(system->errors(), "");
  enter("> session stop\n> session start, mode=append");
  EXPECT_EQ(system->errors(), "");
  EXPECT_EQ(contents("a#b"), head + std::string("\n") + foot + head)
      << "the name comes back from the settings";
  enter("> session stop");
  ObjectDB::instance()->getObjectByPath("/SESSION")->setValue("Session Filename", folder / "a  b");
  enter("> session start, mode=none");
  EXPECT_EQ(system->errors(),
            "warning[8] WriteSessionExecutor::invoke: Value of parameter 'Session Filename' of object "
            "'/SESSION' cannot be read back.");
}

TEST_F(SessionTest, AWriterTakesAwayItselfAlone)
{
  WriteSessionExecutor* const first = KSLCoreAPI::instance()->getSessionWriter();
  {
    const WriteSessionExecutor other;
    KSLCoreAPI::instance()->setSessionWriter(first);
  }
  EXPECT_EQ(KSLCoreAPI::instance()->getSessionWriter(), first);
  {
    const WriteSessionExecutor other;
  }
  EXPECT_EQ(KSLCoreAPI::instance()->getSessionWriter(), nullptr);
  KSLCoreAPI::instance()->setSessionWriter(first);
}

// The settings refuse the mode: the file was opened by then.
TEST_F(SessionTest, AStartThatFailsLateLeavesNoFile)
{
  enter("SESSION:\nEND");
  system->onNotification = [fails = true](int type) mutable {
    if (type == KSLCoreAPI::updateBegin && std::exchange(fails, false))
      throw data::error("Host", "update", "no");
  };
  enter("> session start, filename=" + (folder / "s.ksl"));
  EXPECT_EQ(system->errors(), "error[4] Host::update: no");
  EXPECT_FALSE(isRecording());
  EXPECT_EQ(contents(), "(none)");
}

}  // namespace
}  // namespace orv
