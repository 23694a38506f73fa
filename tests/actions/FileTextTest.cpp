// What session and state files make of any text, and what becomes of files that are not whole.
#include "command/FileText.h"

#include "platform/ORVSystem.h"
#include "database/KSLObject.h"
#include "actions/SessionFile.h"
#include "SessionFixture.h"
#include "stateRules.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/thrown.h"

#include <rapidcheck/gtest.h>

namespace orv {
namespace {

using Lines = std::vector<std::string>;

const std::string stateHead = FileText::head(FileText::stateHead);
const std::string sessionHead = FileText::head(FileText::sessionHead) + "\n";

TEST(FileText, EscapesWhatIsNotAsciiAndWhatLooksLikeAnEscape)
{
  const std::pair<std::string, std::string> rows[] = {
      {"caf\xC3\xA9", "caf{U+00E9}"},
      {"\xE2\x82\xAC\xF0\x9F\x98\x80", "{U+20AC}{U+1F600}"},
      {"\xC3|\xA9|\xC0\x80|\xED\xA0\x80|\xF4\x90\x80\x80",
       "{B+C3}|{B+A9}|{B+C0}{B+80}|{B+ED}{B+A0}{B+80}|{B+F4}{B+90}{B+80}{B+80}"},
      {std::string("a\0b", 3), "a{B+00}b"},
      {"{U+00E9} {B+E9} {u+} {}", "{U+007B}U+00E9} {U+007B}B+E9} {u+} {}"},
  };
  for (const auto& [text, file] : rows) {
    EXPECT_EQ(FileText::escaped(text), file);
    EXPECT_FALSE(FileText::isPlain(text)) << file;
    Lines lines = StringUtilities::stringToVector(stateHead + file, '\n');
    FileText::undo(lines);
    EXPECT_EQ(lines.back(), text);
  }
  EXPECT_TRUE(FileText::isPlain("{u+00E9} 50% [m^2] {"));
}

// Only what writers write is undone, and only below a head that says so; joined lines leave empty ones.
TEST(FileText, UndoesWhatTheHeadSays)
{
  const std::string old = "# State file created: then\n# libORVKSLCore 1.0.0\n\n";
  const std::pair<std::string, std::string> rows[] = {
      {"x = {U+00E9}\n", "x = {U+00E9}\n"},
      {stateHead + "x = {U+00e9}{U+E9}{U+D800}{B+41}{U+000A}{U+00E9\n",
       "x = {U+00e9}{U+E9}{U+D800}{B+41}{U+000A}{U+00E9\n"},
      {stateHead + "x = {U+00\\\n  E9} y\\\n\nz\n", "x = \xC3\xA9 y\n\n\nz\n"},
      {stateHead + "x = {U+00E9}\n" + old + "x = {U+00E9}\n", "x = \xC3\xA9\n" + old + "x = {U+00E9}\n"},
  };
  for (const auto& [file, text] : rows) {
    Lines lines = StringUtilities::stringToVector(file, '\n');
    FileText::undo(lines);
    const std::string read = StringUtilities::vectorToString(lines, '\n');
    EXPECT_EQ(read.substr(file.starts_with(stateHead) ? stateHead.size() : 0), text) << file;
  }
}

// Names and values as people and programs have them.
rc::Gen<std::string> words()
{
  const auto piece = rc::gen::element<std::string>("a", "\xC3\xA9", "\xF0\x9F\x98\x80", "\xFF", "{U+00E9}",
                                                   "{B+", "}", "\\", "%", "\"\xC3\xBC # x\"", "Session", " ");
  return rc::gen::map(rc::gen::nonEmpty(rc::gen::container<Lines>(piece)), [](const Lines& pieces) {
    const std::string text = StringUtilities::simplifyWhitespace(StringUtilities::vectorToString(pieces, ""));
    return text.empty() ? std::string("w") : text;
  });
}

RC_GTEST_FIXTURE_PROP(SessionTest, EveryTextSurvives, ())
{
  startAfresh();
  enter("> session start, mode=overwrite, filename=" + (folder / "s.ksl"));
  const std::size_t count = *rc::gen::inRange<std::size_t>(1, 6);
  for (std::size_t i = 0; i < count; ++i) {
    std::string name = "n" + std::to_string(i) + *words();
    std::erase_if(name, [](char c) { return c == '"' || c == '#'; });
    const std::string value = *words();
    enter("# Session file st" + *rc::gen::element<std::string>("arted", "opped") + ": " + value
          + " \nA: " + name + " \nx = " + value + " \nEND");
  }
  RC_ASSERT(system->errors() == "");
  enter("> session stop");
  enter("> savestate mode=overwrite, filename=" + (folder / "s.qst"));
  const std::string expected = system->state();
  RC_ASSERT(ORVFile::isAscii(folder.read("s.ksl")) && ORVFile::isAscii(folder.read("s.qst")));
  const auto expectSame = [&](const std::string& way) {
    RC_ASSERT(system->errors() == "");
    RC_ASSERT(work() + way == expected + way);
  };
  startAfresh();
  enter("> readstate mode=append, filename=" + (folder / "s.qst"));
  expectSame("state");
  startAfresh();
  enter("> readsession filename=" + (folder / "s.ksl"));
  expectSame("as one");
  startAfresh();
  const SessionFile file = SessionFile::read(folder / "s.ksl");
  file.requireWhole();
  RC_ASSERT(file.commands().size() == count);
  for (const SessionFile::Command& command : file.commands())
    KSLCoreAPI::instance()->processKSL(StringUtilities::vectorToString(command.lines, '\n'), command.mode);
  expectSame("one by one");
}

// What was accepted means the same when it is replayed, in whatever mode, whole or command by command.
RC_GTEST_FIXTURE_PROP(SessionTest, WhatWasAcceptedReplaysInEitherMode, ())
{
  startAfresh();
  enter("> session start, mode=overwrite, filename=" + (folder / "s.ksl"));
  const auto line =
      rc::gen::element<std::string>("A: a", "A: b", "B: in", "END", "END", "x = 1", "x = 2", "y = 3", "",
                                    "> delete /A:a", "# note", "> update", "> update noaction");
  const int count = *rc::gen::inRange(1, 8);
  bool allAccepted = true;
  for (int i = 0; i < count; ++i) {
    const kslUpdateMode mode = *rc::gen::element(kslUpdateAtEnd, kslUpdateDefault, kslUpdateNoAction);
    KSLCoreAPI::instance()->setExternalKslUpdateMode(mode);
    Lines lines = *rc::gen::container<Lines>(line);
    if (mode
        == kslUpdateDefault)  // with ENDs that only come out even in sum it cannot be told from other modes
      std::erase(lines, "> update noaction");
    if (StringUtilities::vectorToString(lines, "").empty())
      continue;
    enter(StringUtilities::vectorToString(lines, '\n'));
    allAccepted = system->errors().empty() && allAccepted;
  }
  KSLCoreAPI::instance()->setExternalKslUpdateMode(kslUpdateDefault);
  enter("> session stop");
  const std::string expected = system->state();
  startAfresh();
  for (const SessionFile::Command& command : SessionFile::read(folder / "s.ksl").commands())
    KSLCoreAPI::instance()->processKSL(StringUtilities::vectorToString(command.lines, '\n'), command.mode);
  RC_ASSERT(system->state() == expected);
  // As one text a failure is one of all, and only a command of its own can leave out what objects do.
  if (!allAccepted || folder.read("s.ksl").find("noaction") != std::string::npos)
    return;
  for (const kslUpdateMode mode : {kslUpdateAtEnd, kslUpdateDefault}) {
    startAfresh();
    KSLCoreAPI::instance()->setExternalKslUpdateMode(mode);
    enter("> readsession filename=" + (folder / "s.ksl"));
    RC_ASSERT(system->errors() == "");
    RC_ASSERT(work() == expected);
  }
}

TEST(SessionFile, TakesAFileApart)
{
  const TempFolder folder;
  struct Row {
    const char* what;
    std::string text;
    std::string commands;  // "LINE MODE|first line|…" one after the other
    std::string refusal;
  };
  const std::string oldHead = "# Session file started: then\n# libORVKSLCore 1.0.0\n\n\n";
  const std::string foot = "# Session file stopped: then\n\n";
  const std::string noEnd = " has no end.";
  const Row rows[] = {
      {"whole", sessionHead + "A: a\nEND\n\n# note\n> delete /A:a\n\n" + foot,
       "5 1|A: a|END;9 1|# note|> delete /A:a;", ""},
      {"at the end", sessionHead + "A: a\nEND\n> update\n\n> update noaction\n\n",
       "5 0|A: a|END|> update;9 0|> update noaction;", ""},
      {"failed, left open", sessionHead + "A: a\n\nA: b\nEND\n\n", "5 1|A: a;7 1|A: b|END;", ""},
      {"of old, with an empty line", oldHead + "A: a\n\nEND\n\n> update\n\n" + foot,
       "5 1|A: a|END;9 0|> update;", ""},
      {"appended", sessionHead + "A: a\nEND\n\n" + foot + oldHead + "B: b\nEND\n\n",
       "5 1|A: a|END;14 1|B: b|END;", ""},
      {"by hand", "A: a\n\nEND\nB: b\nEND\n\n> delete b", "1 1|A: a|END|B: b|END;7 1|> delete b;", ""},
      {"no line end", sessionHead + "A: a\nEND\n\n> delete /PALETTE:p1", "5 1|A: a|END;", "line 8" + noEnd},
      {"no empty line", sessionHead + "A: a\nEND\n\n> delete a\n", "5 1|A: a|END;",
       "the command at line 8" + noEnd},
      {"cut, then appended", sessionHead + "A: a\n" + sessionHead + "B: b\nEND\n\n", "10 1|B: b|END;",
       "the command at line 5" + noEnd},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const std::string name = folder.write("s.ksl", row.text);
    const SessionFile file = SessionFile::read(name);
    std::string commands;
    for (const SessionFile::Command& command : file.commands())
      commands += std::to_string(command.line) + " " + std::to_string(command.mode) + "|"
                  + StringUtilities::vectorToString(command.lines, '|') + ";";
    EXPECT_EQ(commands, row.commands);
    if (row.refusal.empty())
      EXPECT_NO_THROW(file.requireWhole());
    else
      EXPECT_EQ(thrown<file::error>([&] { file.requireWhole(); }).getMessage(),
                "Session file '" + name + "' is incomplete: " + row.refusal);
  }
}

// At every size at which a disk may be full: one report, and the file ends with a whole command; so it does when it is
// continued after its process was killed in the middle of one.
TEST_F(SessionTest, AJournalIsWholeWhateverHappens)
{
  const std::string start = "> session start, mode=append, filename=" + (folder / "s.ksl");
  enter(start);
  std::vector<std::size_t> ends{0, folder.read("s.ksl").size()};
  for (const char* text : {"A: a\nx = 1\nEND", "> delete /A:a"}) {
    enter(text);
    ends.push_back(folder.read("s.ksl").size());
  }
  enter("> session stop");
  const std::string whole = folder.read("s.ksl");
  for (std::size_t size = 1; size + 1 < whole.size(); ++size) {
    SCOPED_TRACE(size);
    std::filesystem::remove(folder / "s.ksl");
    startAfresh();
    {
      const FileSizeLimit limit(size);
      enter(start);
      enter("A: a\nx = 1\nEND");
      enter("> delete /A:a");
      EXPECT_EQ(isRecording(), size >= ends.back());
      KSLCoreAPI::instance()->getSessionWriter()->terminateSession();
    }
    EXPECT_EQ(system->errorList().size(), 1U);
    const std::string left = folder.read("s.ksl");
    EXPECT_EQ(left.size(), *--std::upper_bound(ends.begin(), ends.end(), size)) << left;
    EXPECT_NO_THROW(SessionFile::read(folder / "s.ksl").requireWhole()) << left;

    folder.write("s.ksl", whole.substr(0, size));
    enter(start);
    enter("A: b\nEND");
    const SessionFile continued = SessionFile::read(folder / "s.ksl");
    EXPECT_NO_THROW(continued.requireWhole()) << folder.read("s.ksl");
    EXPECT_EQ(continued.commands().back().lines.front(), "A: b");
    enter("> session stop");
  }
}

const std::string idle = "FILE PROCESSING:\n  Path Stack = .\n  Processing Mode = None\nEND\n";

TEST_F(StateFiles, AStateIsAState)
{
  save("empty.qst");
  EXPECT_EQ(body("empty.qst"), idle);
  load("empty.qst", ", mode=append");
  load("empty.qst", ", mode=overwrite");
  folder.write("none.qst", "# nothing\n");
  load("none.qst", ", mode=append");
  EXPECT_EQ(system.errors(), "error[4] ReadStateExecutor::invoke: State file contains no data.");
  EXPECT_EQ(system.state(), "");

  // Saved while it is replayed, and entered as plain text: undo is still possible.
  folder.write("s.ksl", "A: a\nEND\n> savestate filename=" + folder / "in.qst" + "\n");
  system.run("> readsession filename=" + folder / "s.ksl");
  EXPECT_EQ(body("in.qst"), "A:a\nEND\n" + idle);
  system.run(folder.read("in.qst") + "A: b\nEND");
  system.run("> undo");
  EXPECT_EQ(system.errors(), "");
}

// A program may give names that no text can have: they must not cost the rest of the file.
TEST_F(StateFiles, WhatWouldMakeTheFileUnreadableIsLeftOut)
{
  system.run("A: a\nEND\nA: b\nEND");
  ObjectDB::instance()->addObject(KSLCoreAPI::instance()->createObject("A", "x = 1"));
  system.stateChanges().setDBStateDirty(true);
  save("a.qst");
  EXPECT_EQ(system.errors(),
            "warning[8] WriteStateExecutor::writeOneObject: Line 'A:x = 1' cannot be read back.");
  EXPECT_EQ(body("a.qst"), "A:a\nEND\nA:b\nEND\n");
  EXPECT_TRUE(system.stateChanges().isDBStateDirty());
}

}  // namespace
}  // namespace orv
