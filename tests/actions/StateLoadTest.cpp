// The action readstate: what becomes of the work at hand, and of what the results define.
#include "rules/SchedulerObject.h"
#include "command/RenamingBackCompatibilityFunctor.h"
#include "actions/FileProcessingScope.h"
#include "actions/ReadStateExecutor.h"
#include "stateRules.h"

#include <algorithm>

namespace orv {
namespace {

class StateLoad : public StateFiles {
 protected:
  static std::string processing()
  {
    const KSLObject* object = ObjectDB::instance()->getObjectByPath("/FILE PROCESSING");
    return object ? object->getValue("Processing Mode") + " | " + object->getValue("Path Stack") : "-";
  }
  std::string everything() const
  {
    return processing() + "\n" + system.undoSteps() + " " + system.redoSteps() + "\n" + system.fullState();
  }
  // Expects that the load fails with this error and changes nothing.
  void expectRefused(const std::string& arguments, const std::string& error)
  {
    const std::string before = everything();
    system.run("> readstate " + arguments);
    EXPECT_EQ(system.errors(), error) << arguments;
    EXPECT_EQ(everything(), before) << arguments;
    system.expectConsistent();
  }
};

TEST_F(StateLoad, Modes)
{
  const std::string file = folder.write("a.qst", "A: new\nEND\nA: both\n  x = 2\nEND\n");
  const std::string name = "filename=" + file;
  const std::string replaced = "A:new\nEND\nA:both\n  x = 2\nEND\nB:kept\nEND\n";
  const std::string added = "A:old\nEND\nA:both\n  x = 2\n  y = 1\nEND\nA:new\nEND\nB:kept\nEND\n";
  const std::string untouched = "A:old\nEND\nA:both\n  x = 1\n  y = 1\nEND\nB:kept\nEND\n";
  const auto refusal = [](const std::string& text) { return "error[4] ReadStateExecutor::invoke: " + text; };
  const struct {
    std::string inState;
    std::string arguments;
    std::string after;
    std::string errors = {};
    std::string recorded = {};
  } table[] = {
      {"", name + ", MODE = OverWrite", replaced, "", file + " Overwrite False"},
      {"", name + ", mode=APPEND, load=yes", added, "", file + " Append True"},
      {"overwrite", name, replaced, "", file + " Overwrite False"},
      {"", name, added, "", file + "  False"},
      {"whatever", "", added, "", file + " Whatever False"},
      {"", name + ", mode=none", untouched, refusal("Invalid parameter value: 'none'.")},
      {"", name + ", objects=a", untouched, refusal("Invalid parameter in readstate: 'objects'.")},
      {"", "overwrite", untouched,
       refusal("Syntax error: readstate parameters should have the format: param=value")},
  };
  for (const auto& row : table) {
    const std::string label = row.inState + "; " + row.arguments;
    restart();
    system.run("A: old\nEND\nA: both\nx = 1\ny = 1\nEND\nB: kept\nEND\nSTATE:\nState Filename = " + file
               + "\nRead State Mode = " + row.inState + "\nEND");
    system.run("> readstate " + row.arguments);
    EXPECT_EQ(system.errors(), row.errors) << label;
    const auto value = [](const char* param) {
      return ObjectDB::instance()->getObjectByPath("/STATE")->getValue(param);
    };
    if (!row.recorded.empty()) {
      EXPECT_EQ(value("State Filename") + " " + value("Read State Mode") + " " + value("Load Data"),
                row.recorded)
          << label;
    }
    system.run("> delete /STATE");
    EXPECT_EQ(work(), row.after) << label;
  }
}

TEST_F(StateLoad, AFileThatWasCutOffIsRefused)
{
  system.run(
      "A: a\nx = 1\ny = a long value that takes more than one line when it is written to a state file\n"
      "B: b\nEND\nEND\n");
  save("whole.qst");
  const std::string whole = folder.read("whole.qst");
  std::size_t cut = whole.find("A:a") + 3;
  for (; cut + 4 <= whole.size(); ++cut) {
    folder.write("cut.qst", whole.substr(0, cut));
    expectRefused("mode=overwrite, filename=" + folder / "cut.qst",
                  "error[4] ReadStateExecutor::loadStateData: Not enough END statements in KSL.");
  }
  folder.write("cut.qst", whole + "END\nA: c\n");
  expectRefused("mode=overwrite, filename=" + folder / "cut.qst",
                "error[4] ReadStateExecutor::loadStateData: Too many END statements in KSL.");
}

TEST_F(StateLoad, FilesThatAreRefusedOrSayNothing)
{
  system.run("A: a\nEND\n> readstate filename=" + folder.write("some.qst", "B: b\nEND"));
  const std::string arguments = "mode=overwrite, filename=";
  expectRefused(arguments + folder.write("bad.qst", "A: b\n  x = \xc3\xa4\nEND\n"),
                "error[4] ReadStateExecutor::invoke: Non ASCII file: '" + folder / "bad.qst" + "'.");
  expectRefused(arguments + folder.write("none.qst", "# A: b \\\nEND\n \n  # END\n\n"),
                "error[4] ReadStateExecutor::invoke: State file contains no data.");
  expectRefused(arguments + folder.write("wrong.qst", "A: b\nEND\nA: c\n  z = 1\nEND\n"),
                "error[4] DataKSLObject::setValue: Parameter 'z' is not recognized on object '/A:c'.");
  const FileProcessingScope scope("State", folder / "some.qst");
  const std::string again = folder / "./some.qst";
  load("./some.qst", ", mode=overwrite");
  EXPECT_EQ(system.errors(),
            "error[4] ReadStateExecutor::invoke: File '" + again + "' is already being processed.");
  EXPECT_NE(work().find("A:a"), std::string::npos);
}

TEST_F(StateLoad, Blocks)
{
  const std::string reader = "DATA READER:\n  Current Results File = /no/such/file\nEND\n";
  const struct {
    const char* row;
    std::string before;
    std::string file;
    std::string after;
  } table[] = {
      {"all are skipped", "B: b\nEND",
       reader
           + "BOUNDARY: w\n x = 1\nEND\nFILE PROCESSING:\n"
             "Processing Mode = Session\nEND\n",
       "B:b\nEND\n"},
      {"another type of that name", "B: n\nx = 1\nEND\nB: m\nEND", "A: n\nEND", "A:n\nEND\nB:m\nEND\n"},
      {"results are adjusted", "BOUNDARY: w\nEND", "BOUNDARY: w\n  Visibility = Off\nEND",
       "BOUNDARY:w\n  Visibility = Off\nEND\n"},
      {"named like a result", "BOUNDARY: w\nx = 1\nEND\nB: w\nEND", "A: w\nEND\nA: v\nEND",
       "A:v\nEND\nB:w\nEND\nBOUNDARY:w\n  x = 1\nEND\n"},
      {"lines that are no blocks", "A: w\nEND", "x = 1\n> delete /A:w\nB: b\nEND\n> nonsense",
       "A:w\nEND\nB:b\nEND\n"},
      {"actions in blocks", "A: w\nEND", "A: v\n  > delete /A:w\n  B: b\n  >nonsense\n  END\nEND",
       "A:w\nEND\nA:v\n  B:b\n  END\nEND\n"},
      {"named like the loader's own", "B: b\nEND", "A: FILE PROCESSING\nEND",
       "A:FILE PROCESSING\nEND\nB:b\nEND\n"},
      {"replaced", "A: w\nx = 1\ny = 1\nEND", "&replace A: w\r\n  x = 2 \\\r\n 3 # old\r\nEND\r\n",
       "A:w\n  x = 2 3\nEND\n"},
      {"a backslash before a comment", "", "A: w\n  x = a\\# c\n  y = 1\nEND",
       "A:w\n  x = a\\ \n  y = 1\nEND\n"},
  };
  for (const auto& row : table) {
    restart();
    if (!row.before.empty())
      system.run(row.before);
    system.run("> readstate mode=append, filename=" + folder.write("a.qst", row.file));
    EXPECT_EQ(system.errors(), "") << row.row;
    EXPECT_EQ(work(), row.after) << row.row;
    system.expectConsistent();
  }
}

TEST_F(StateLoad, OverwritingResetsResultsThatAreNotMentioned)
{
  const std::string results =
      "BOUNDARY: a\nx = 1\nDomain List = one\nEND\nBOUNDARY: b\nx = 1\nDomain List = one\nEND\n"
      "DOMAIN: d\nx = 1\nVisibility = Off\nShape = Round\nEND\n";
  folder.write("a.qst", "BOUNDARY: a\n  x = 2\nEND\n");
  system.run(results);
  load("a.qst", ", mode=append");
  const std::string kept = "DOMAIN:d\n  Shape = Round\n  Visibility = Off\n  x = 1\nEND\n";
  EXPECT_EQ(work(),
            "BOUNDARY:a\n  Domain List = one\n  x = 2\nEND\nBOUNDARY:b\n  Domain List = one\n  x = 1\nEND\n"
                + kept);
  load("a.qst", ", mode=overwrite");
  EXPECT_EQ(work(),
            "BOUNDARY:a\n  Domain List = one\n  x = 2\nEND\n"
            "BOUNDARY:b\n  Domain List = one\n  Visibility = Off\nEND\n"
            "DOMAIN:d\n  Shape = Round\n  Visibility = On\nEND\n")
      << "what the results gave stays, and so does a value whose default is not allowed";
  EXPECT_EQ(system.errors(), "");
}

TEST_F(StateLoad, ResultsAreLoadedFirst)
{
  std::string read;
  system.registerAction("load", [&](const std::vector<std::string>&) {
    read = ObjectDB::instance()->getObjectByPath("/DATA READER")->getValue("Current Results File");
    KSLCoreAPI::instance()->processKSL("BOUNDARY: wall\nx = 1\nEND", kslUpdateDefault);
  });
  const std::string there = folder.write("results/run 1.res", "");
  const std::string local = folder.write("run 1.res", "");
  const std::string gone = folder / "gone/run 1.res";
  const auto reader = [](const std::string& file) {
    return "DATA READER:\n  Current Results File = " + file + "\nEND\n";
  };
  const std::string notFound = "Results file referred to in the state was not found:\n\n  " + gone + "\n\n";
  const auto error = [](const std::string& text) {
    return std::vector{ErrorMsg("ReadStateExecutor", "invoke", text, 4)};
  };
  const struct {
    std::string reader;
    const char* load;
    std::string read;
    std::vector<ErrorMsg> errors = {};
  } table[] = {
      {reader(there), "true", there},
      {reader(gone), "true", local,
       error(notFound + "Local results file with the same name was loaded instead:\n\n  " + local + "\n")},
      {reader(gone), "false", ""},
      {"", "true", ""},
  };
  for (const auto& row : table) {
    system.run("> delete wall, /DATA READER");
    read.clear();
    folder.write("a.qst", row.reader + "BOUNDARY: wall\n  x = 2\nEND\n");
    load("a.qst", std::string(", load=") + row.load);
    EXPECT_EQ(system.errorList(), row.errors) << row.reader;
    EXPECT_EQ(read, row.read) << row.reader;
    const KSLObject* object = ObjectDB::instance()->getObjectByPath("/BOUNDARY:wall");
    EXPECT_EQ(object ? object->getValue("x") : "-", row.read.empty() ? "-" : "2") << row.reader;
  }
  std::filesystem::remove(local);
  folder.write("a.qst", reader(gone));
  system.run("A: a\nEND");
  load("a.qst", ", mode=overwrite, load=true");
  EXPECT_EQ(
      system.errorList(),
      error(notFound
            + "Please ensure that the file path is correct.\nAlternatively, load the results file first, "
              "then the\nstate file with 'Load results' option turned off."));
  EXPECT_NE(ObjectDB::instance()->getObjectByPath("/A:a"), nullptr);
}

// Of version 1, where an A was an OLD.
class Converting : public ReadStateExecutor {
 public:
  Converting() : ReadStateExecutor(nullptr, false) { addValidParam("Colour"); }
  std::string seen;

 protected:
  bool componentProcessing(std::vector<std::string>& lines, const std::string& versionLine,
                           const std::string& fileName) override
  {
    seen = versionLine + "|" + fileName;
    const KSLObject* object = ObjectDB::instance()->getObjectByPath("/FILE PROCESSING");
    EXPECT_EQ(object->getValue("Processing Mode"), "State");
    EXPECT_TRUE(SchedulerObject::setCatchExceptions(true));
    std::replace(lines.begin(), lines.end(), std::string("OLD: a"), std::string("A: a"));
    std::replace(lines.begin(), lines.end(), std::string("OLD: w"), std::string("BOUNDARY: w"));
    return true;
  }
};

TEST_F(StateLoad, DerivedOnesConvertTheFileAndTakeArguments)
{
  Converting executor;
  EXPECT_ANY_THROW(executor.invoke({"readstate", "filename=/no/such/file"}));
  EXPECT_FALSE(SchedulerObject::setCatchExceptions(false)) << "as it was, after a failure";
  const std::string file = folder.write("a b.qst", "#\n# version 1\nOLD: w\nEND\nOLD: a\nEND");
  executor.invoke({"readstate", "colour=1", "filename=" + folder / "a b.qst", "mode=append"});
  EXPECT_EQ(executor.seen, "# version 1|" + file);
  EXPECT_FALSE(SchedulerObject::setCatchExceptions(false));
  EXPECT_EQ(work(), "A:a\nEND\n");
  executor.invoke({"readstate", "filename=" + folder.write("a b.qst", "A: b\n  x = 1\nEND"), "mode=append"});
  EXPECT_EQ(executor.seen, "|" + file) << "no comment, no version";
  RenamingBackCompatibilityFunctor functor;
  functor.renameType("FORMER", "A");
  system.interface()->setBackFunctor(&functor);
  system.interface()->setBWC(false);  // for a state all the same
  system.fileChanges();
  system.run("> readstate mode=append, filename=" + folder.write("old.qst", "FORMER: c\nEND"));
  EXPECT_EQ(system.fileChanges().find("changed " + folder / "old.qst"), 0U);
  EXPECT_NE(work().find("A:c"), std::string::npos);
}

}  // namespace
}  // namespace orv
