// "ksl eval", and what the page about expressions shows of objects.
#include "Process.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>

namespace {

TEST(Eval, ComputesOneExpression)
{
  EXPECT_EQ(ksl({"eval", "2 [mm] + 1 [m]"}), (Outcome{0, "1.002 [m]\n", ""}));
  EXPECT_EQ(ksl({"eval", "2 [mm] + 1 [m]", "--in", "cm"}), (Outcome{0, "100.2 [cm]\n", ""}));
  EXPECT_EQ(ksl({"eval", "--in", "degree", "--", "-pi"}), (Outcome{0, "-180 [degree]\n", ""}));
  EXPECT_EQ(ksl({"eval", "1 / 0"}),
            (Outcome{1, "",
                     "error[4] ExpressionEvaluator::evalSingleValue: Cannot evaluate '1 / 0' at column 3: "
                     "division by zero.\n"}));
  EXPECT_EQ(ksl({"eval", "1 [m]", "--in", "s"}),
            (Outcome{1, "", "error[4] UnitsConverter::convertUnits: Cannot convert units 'm' to 's'.\n"}));
  EXPECT_EQ(ksl({"eval"}).status, 2);
}

TEST(Eval, KnowsTheNamesOfAState)
{
  const std::string state = makeFile("heads.qst", "EXPRESSIONS:\n  Head = 2 [m]\n  Total = 3 * Head\nEND\n");
  EXPECT_EQ(ksl({"eval", "Total + Head", "--load", state}), (Outcome{0, "8 [m]\n", ""}));
  EXPECT_EQ(ksl({"eval", "Total + Foot", "--load", state}).status, 1);
  const Outcome missing = ksl({"eval", "Head", "--load", state + "x"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err.find("variable"), std::string::npos) << "one error is enough: " << missing.err;
}

// Any name may be set there, also where parameters are checked beforehand.
TEST(Eval, NamesAreNoFaultOfValidation)
{
  const std::string text = "EXPRESSIONS:\n  Head = 2 [m]\nEND\n";
  EXPECT_EQ(ksl({"run", "--validate", "-e", text, "--state"}), (Outcome{0, text, ""}));
}

// A recorded session, a saved state and a copy say the same as what was entered; evaluators are not saved, and the
// choice of units is recorded once.
TEST(Eval, ExpressionsTravel)
{
  const std::string state = makeFile("travel.qst", "");
  const std::string session = makeFile("travel.ksl", "");
  const std::string names = "EXPRESSIONS:\n  Fast = 2 * Limit\n  Limit = 10 [m s^-1]\nEND\n";
  const std::string evaluator = "EXPRESSION EVALUATOR:e\n  Evaluated Expression = Fast\nEND\n";
  const std::string wall =
      "DOMAIN:d\n  BOUNDARY:b\n    Boundary Type = Inlet\n    Inlet Speed = Fast\n  END\nEND\n";
  const std::string shown = "/EXPRESSIONS,/EXPRESSION EVALUATOR:e,/DOMAIN:d";
  const Outcome entered =
      ksl({"run", "-e", "> session start, mode=overwrite, filename=" + session, "-e",
           names + evaluator + wall, "-e", "> preferences Unit System=CGS", "-e",
           "> savestate mode=overwrite, filename=" + state, "-e", "> session stop", "--state=" + shown});
  EXPECT_EQ(entered.err, "");
  EXPECT_TRUE(entered.out.starts_with(names + evaluator)) << entered.out;
  const std::string saved = readFile(state);
  EXPECT_NE(saved.find(names), std::string::npos) << saved;
  EXPECT_EQ(saved.find("EVALUATOR"), std::string::npos) << saved;
  EXPECT_EQ(readFile(session).find("UNITS"), std::string::npos) << "the action alone";

  const std::string change = "EXPRESSIONS:\n  Limit = 3 [m s^-1]\nEND\n";
  const auto resultAfter = [&](const std::string& command, const std::string& more) {
    const Outcome outcome =
        ksl({"run", "-e", command, "-e", more, "-e", "> copy from=/EXPRESSION EVALUATOR:e, to=f", "-e",
             change, "-e", "> getstate /EXPRESSION EVALUATOR:f"});
    const std::size_t place = outcome.out.find("Result = ");
    return outcome.err + outcome.out.substr(place, outcome.out.find("END") - place);
  };
  const std::string inCGS = "Result = 600\n  Result Units = cm s^-1\n";
  std::filesystem::remove(state);  // the session saves it again
  EXPECT_EQ(ksl({"run", "-e", "> readsession filename=" + session, "--state=" + shown}), entered);
  EXPECT_EQ(resultAfter("> readsession filename=" + session, ""), inCGS);
  EXPECT_EQ(resultAfter("> readstate mode=overwrite, filename=" + state, evaluator), inCGS);
}

// The block of the page, and for each object in the table behind it what it shows.
TEST(Eval, EvaluatorsOfThePage)
{
  std::istringstream page(readFile(sourceDir() + "/docs/expressions.md"));
  std::string block;
  bool inside = false;
  int rows = 0;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("```"))
      inside = line == "```ksl";
    else if (inside)
      block += line + "\n";
    if (!line.starts_with("| /"))
      continue;
    const std::size_t middle = line.find(" | ");
    const std::string path = line.substr(2, middle - 2);
    const std::string shown = line.substr(middle + 3, line.size() - middle - 5);
    const std::size_t units = shown.rfind(" [");
    const Outcome state = ksl({"run", "-e", block, "-e", "> getstate " + path});
    EXPECT_NE(state.out.find("Result = " + shown.substr(0, units) + "\n"), std::string::npos)
        << line << state.out;
    EXPECT_NE(state.out.find("Result Units = " + shown.substr(units + 2, shown.size() - units - 3) + "\n"),
              std::string::npos)
        << line << state.out;
    ++rows;
  }
  EXPECT_EQ(rows, 3);
}

}  // namespace
