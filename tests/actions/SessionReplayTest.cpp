// The replay of sessions.
#include "platform/ORVSystem.h"
#include "rules/SchedulerObject.h"
#include "SessionFixture.h"

#include <rapidcheck/gtest.h>

namespace orv {
namespace {

class SessionReplay : public SessionTest {
 protected:
  void replay(const std::string& name) { enter("> readsession filename=" + (folder / name)); }
};

TEST_F(SessionReplay, ArgumentsAndFiles)
{
  folder.write("good.ksl", "A: a\r\nx = 1 \\\r\n  2\r\nEND\r\n");
  folder.write("run 1.ksl", "A: b\nEND\n");
  folder.write("#2.ksl", "A: b\nEND\n");
  folder.write("empty.ksl", "");
  folder.write("foreign.ksl", "A: a\nx = caf\xC3\xA9\nEND\n");
  const std::string good = "A:a\n  x = 1 2\nEND\n";
  const std::string at = "filename=" + folder.path();
  const std::string error = "error[4] ReadSessionExecutor::";
  struct Row {
    std::string line;
    std::string work;
    std::string errors;
  };
  const Row rows[] = {
      {"rs filename=none, file name = " + folder.path() + "good.ksl", good, ""},
      {"rs " + at + "good.ksl # note", good, ""},
      {"rs filename=\"" + folder.path() + "#2.ksl\"", "A:b\nEND\n", ""},
      {"rs " + at + "foreign.ksl", "",
       error + "readFileContents: Non ASCII file: '" + (folder / "foreign.ksl") + "'."},
      {"rs " + at + "empty.ksl", "", "error[4] ReadStateExecutor::invoke: Session file contains no data."},
      {"rs " + at + "none", "",
       "error[4] ORVStream::open: Cannot open file '" + (folder / "none") + "': No such file or directory."},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    startAfresh();
    SchedulerObject::setCatchExceptions(true);
    enter("> " + row.line);
    EXPECT_EQ(SchedulerObject::setCatchExceptions(false), !row.errors.empty()) << "off after a replay";
    EXPECT_EQ(system->errors(), row.errors);
    EXPECT_EQ(work(), row.work);
  }
}

TEST_F(SessionReplay, AFileIsNotReplayedWithinItself)
{
  folder.write("a.ksl", "A: a\nEND\n> rs filename=" + (folder / "b.ksl") + "\n");
  folder.write("b.ksl", "> rs filename=/gone/a.ksl\n");
  replay("a.ksl");
  EXPECT_EQ(system->errorList().back(),  // it was found beside the one that names it
            ErrorMsg("ReadSessionExecutor", "invoke",
                     "File '" + (folder / "a.ksl") + "' is already being processed.", 4));
  EXPECT_EQ(system->state() + system->undoSteps(), "0");
  enter("SESSION:\nEND");
  enter("> session start, filename=" + (folder / "s.ksl"));
  enter("A: a\nEND");
  enter("> readsession");  // reads the line that it was written as
  EXPECT_EQ(system->errorList().size(), 1U);
  EXPECT_EQ(work(), "A:a\nEND\n");
}

// So that the line can be mended: the file's own, not that of the action that read it.
TEST_F(SessionReplay, ErrorsTellTheirPlaceInTheFile)
{
  class Places : public ErrorSink {
   public:
    std::string last;
    void report(const ErrorMsg& error) override
    {
      const Diagnostic& known = *error.getDiagnostic();
      last = std::filesystem::path(known.source).filename().string()
             + _(":%d:%d %s", known.line, known.column, known.object);
    }
  } places;
  const std::pair<const char*, const char*> rows[] = {
      {"# head\n\nA: a\nx = 1 \\\n 2\nEND\n>nothing \\\n  b\nA: b\nEND", "s.ksl:7:2 "},
      {"CUT: c\n  Colour = pink\n>update\nEND\n", "s.ksl:2:12 /CUT:c"},
      {"CUT: b\nEND\nCUT: c\n  Colour = pink\nEND\n", "s.ksl:4:12 /CUT:c"},
      {"> update\nx = 1\n", "s.ksl:2:1 "},
  };
  ErrorProgressReporter* reporter = ErrorProgressReporter::instance();
  ErrorSink* former = reporter->setSink(&places);
  for (const auto& [text, place] : rows) {
    replay(std::filesystem::path(folder.write("s.ksl", text)).filename());
    EXPECT_EQ(places.last, place) << text;
  }
  reporter->setSink(former);
}

// -------------------------------------------------------------------------------------------- record, then replay

std::string anyValue()
{
  const auto piece = rc::gen::element<std::string>(" ", ",", "\"", "\"a # b\"", "\\", "=", ":", "> x", "word",
                                                   "END", std::string(85, 'w'), "\\ ");
  return StringUtilities::vectorToString(*rc::gen::container<std::vector<std::string>>(piece),
                                         *rc::gen::element('.', ' '));
}

std::string anyCommand()
{
  const std::string name = *rc::gen::element<std::string>("a", "b", "c c");
  const std::string value = anyValue();
  switch (*rc::gen::inRange(0, 6)) {
    case 0:
      return "A: " + name + "\n  x = " + value + " \n  y = \\\n second \\\n" + value + " .\nEND # " + value
             + " ";
    case 1:
      return "A: " + name + "\nB: " + name + "\nz = " + value + " \nEND\nEND\n>delete /A:" + name + "/B:a";
    case 2:
      return "> delete /A:" + name;
    case 3:
      return "&replace A: " + name + "\r\n x = 1 \\\r\n 2\r\nEND";
    case 4:
      return "# " + value + " \n\n> update\n> session stopsilently, x=\\";
    default:
      return "VIEW:\nText = " + value + " \nEND\nVIEW:\nLABEL: " + name + "\nEND\nEND";
  }
}

TEST_F(SessionReplay, GivesTheStateThatWasRecorded)
{
  rc::check([this] {
    const int mode = *rc::gen::inRange(0, 2);
    startAfresh();
    KSLCoreAPI::instance()->setExternalKslUpdateMode(static_cast<kslUpdateMode>(mode));
    enter("> session start, mode=overwrite, filename=" + (folder / "s.ksl"));
    for (int count = *rc::gen::inRange(0, 12); count > 0; --count) {
      const std::string command = anyCommand();
      if (command.find("stopsilently") == std::string::npos)
        enter(command);
      else  // not run: it would end the recording
        KSLCoreAPI::instance()->getSessionWriter()->writeSessionKSL(command);
    }
    const std::string errors = system->errors();
    enter("> session stop");
    const std::string state = work();
    const std::string store = system->store();
    RC_PRE(errors.empty());
    startAfresh();
    replay("s.ksl");
    RC_ASSERT(system->errors() == "");
    RC_ASSERT(work() == state);
    RC_ASSERT(system->store() == store);
    std::istringstream file(contents());
    for (std::string line; std::getline(file, line);)
      RC_ASSERT(line.size() <= 80U);
  });
}

}  // namespace
}  // namespace orv
