// Each report whole: where it is, the line, what is valid, the object.
#include "Process.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>

namespace {

struct Case {
  std::string name;
  Arguments arguments;
  std::vector<std::pair<std::string, std::string>> files;
  std::string report;
};

// "\n" in an argument is a line end.
std::string unescaped(const std::string& text)
{
  return std::regex_replace(text, std::regex("\\\\n"), "\n");
}

std::vector<Case> readCases(const std::string& fileName)
{
  std::vector<Case> cases;
  std::istringstream in(readFile(fileName));
  std::string* section = nullptr;
  std::string arguments;
  std::string line;
  const auto endCase = [&] {
    if (!cases.empty()) {
      std::istringstream words(arguments);
      for (std::string word; std::getline(words, word);)
        cases.back().arguments.push_back(unescaped(word));
    }
    arguments.clear();
  };
  while (std::getline(in, line)) {
    if (line.starts_with("=== ")) {
      endCase();
      cases.push_back({line.substr(4), {}, {}, {}});
      section = nullptr;
    } else if (line.starts_with("--- file ")) {
      cases.back().files.emplace_back(line.substr(9), "");
      section = &cases.back().files.back().second;
    } else if (line == "--- ksl") {
      section = &arguments;
    } else if (line == "--- report") {
      section = &cases.back().report;
    } else if (section) {
      *section += line + '\n';
    }
  }
  endCase();
  return cases;
}

// An empty line ends a case, but belongs to a file inside it.
std::string withoutLastEmptyLine(const std::string& text)
{
  return text.ends_with("\n\n") ? text.substr(0, text.size() - 1) : text;
}

TEST(Reports, AreWholeAsShown)
{
  const std::vector<Case> cases = readCases(sourceDir() + "/tests/host/reports.txt");
  EXPECT_GE(cases.size(), 40U);
  std::string written;
  for (const Case& each : cases) {
    for (const auto& [name, text] : each.files)
      makeFile("work/" + name, text);
    const Arguments arguments =
        each.arguments.empty() ? Arguments{"run", each.files.back().first} : each.arguments;
    const Outcome outcome = ksl(arguments, {}, "ORV_KSL_LIBRARY_PATH=");
    // The system's reasons name files by their paths.
    const std::string report = std::regex_replace(outcome.err, std::regex("/[^ ]*/libflow"), "libflow");
    EXPECT_EQ(report, withoutLastEmptyLine(each.report)) << each.name;
    EXPECT_EQ(outcome.out, "") << each.name;
    const bool isError = outcome.err.find("error[") != std::string::npos;
    EXPECT_EQ(outcome.status != 0, isError || outcome.err.find("Run with --help") != std::string::npos)
        << each.name;
  }
}

// Of the first error, or warning if there is none: "cut.ksl:4:10: error[4]: ..." as the file and line, and the kind of
// report; empty for reports without a place.
std::string placeOf(const std::string& reports)
{
  std::smatch found;
  for (const char* kind : {"error", "warning"})
    if (std::regex_search(reports, found,
                          std::regex(std::string("(^|\n)([^ :]+:[0-9]+:)[0-9]+: (") + kind + ")\\[")))
      return found[2].str() + found[3].str();
  return {};
}

// All files in the demo's language, each with its error, checked together.
TEST(Reports, CheckTellsThemInOneGo)
{
  Arguments arguments{"check", "--format", "short"};
  std::map<std::string, std::string> expected;  // places, and the cases
  const std::vector<Case> cases = readCases(sourceDir() + "/tests/host/reports.txt");
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const Arguments& given = cases[i].arguments;
    if (std::find(given.begin(), given.end(), "--library") != given.end() || placeOf(cases[i].report).empty())
      continue;
    const std::string folder = "case" + std::to_string(i) + "/";
    for (const auto& [name, text] : cases[i].files) {
      makeFile("work/" + folder + name, text);
      if (!name.ends_with(".res"))
        arguments.push_back(folder + name);
    }
    expected[folder + placeOf(cases[i].report)] = cases[i].name;
  }
  std::istringstream told(ksl(arguments, {}, "ORV_KSL_LIBRARY_PATH=").err);
  for (std::string line; std::getline(told, line);)
    expected.erase(placeOf(line));
  std::set<std::string> untold;
  for (const auto& [place, name] : expected)
    untold.insert(name);
  EXPECT_GE(cases.size() - untold.size(), 40U);
  EXPECT_EQ(untold, (std::set<std::string>{
                        "action on nothing",                   // another file has the object
                        "calculation",                         // is not done
                        "results file",                        // is not read
                        "value in a text of the command line"  // is no file
                    }));
}

TEST(Reports, FormatsForPrograms)
{
  makeFile("work/bad.ksl", "CUT: a\n  Axis = W\nEND\n");
  const std::pair<const char*, std::string> formats[] = {
      {"short", "bad.ksl:2:10: error[4]: Parameter 'Axis' cannot have value 'W'.\nrolled back 1 changes\n"},
      {"json",
       R"({"severity":"error","type":4,"class":"ParamDefinition","function":"setValue",)"
       R"("message":"Parameter 'Axis' cannot have value 'W'.","source":"bad.ksl","line":2,"column":10,"length":1,)"
       R"("object":"/CUT:a","parameter":"Axis","subject":"W","valid":["X","Y","Z"]})"
       "\n"},
      {"sarif",
       R"({"version":"2.1.0","runs":[{"tool":{"driver":{"name":"ksl","version":"V"}},"results":[{)"
       R"("ruleId":"ParamDefinition::setValue","level":"error",)"
       R"("message":{"text":"Parameter 'Axis' cannot have value 'W'."},"locations":[{"physicalLocation":)"
       R"({"artifactLocation":{"uri":"bad.ksl"},"region":{"startLine":2,"startColumn":10,"endColumn":11}},)"
       R"("logicalLocations":[{"fullyQualifiedName":"/CUT:a"}]}]}]}]})"
       "\n"},
      {"github",
       "::error file=bad.ksl,line=2,col=10,title=error[4]::Parameter 'Axis' cannot have value 'W'."
       "%0Aallowed: X, Y, Z\nrolled back 1 changes\n"},
  };
  for (const auto& [format, expected] : formats) {
    const Outcome outcome = ksl({"run", "--format", format, "bad.ksl"});
    EXPECT_EQ(std::regex_replace(outcome.err, std::regex("\"version\":\"[0-9]+\\.[0-9]+\\.[0-9]+[^\"]*\"\\}"),
                                 "\"version\":\"V\"}"),
              expected);
  }
}

// Whatever is in a text, a program can read what is said of it.
TEST(Reports, DataIsEscaped)
{
  const std::string odd = "\xFF\x1B \"q\" \\ 100%\xE2\x82\xAC";
  const std::string json = ksl({"run", "--format", "json", "-e", odd}).err;
  EXPECT_NE(json.find("line: '\xEF\xBF\xBD"
                      R"(\u001b \"q\" \\ 100%)"
                      "\xE2\x82\xAC'."),
            std::string::npos)
      << json;
  EXPECT_NE(ksl({"run", "--format", "github", "-e", "100%"}).err.find("line: '100%25'.\n"),
            std::string::npos);
}

TEST(Reports, AreExplained)
{
  const std::string printed = "cut.ksl:4:10: error[4]: Parameter 'Axis' cannot have value 'W'.";
  for (const std::string& text : {printed, printed.substr(24), printed + "\n  4 |   Axis = W"})
    EXPECT_EQ(ksl({"explain", text}).out.substr(0, 42), "Parameter '%s' cannot have value '%s'.  (t") << text;
  EXPECT_EQ(ksl({"explain", "All is well."}),
            (Outcome{1, "", "ksl: error[4]: No report in docs/errors.md reads like 'All is well.'.\n"}));
}

}  // namespace
