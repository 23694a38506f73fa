// Evaluators while the unit system changes, and what stays behind of both.
#include "services/EngineUnitSystemHandler.h"
#include "services/UnitsKSLObject.h"
#include "ExpressionSystem.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace orv::test {
namespace {

class EvaluatorsAndUnits : public testing::Test {
 protected:
  EvaluatorsAndUnits() { startUp(); }
  ~EvaluatorsAndUnits() override { shutDown(); }

  void startUp()
  {
    EngineUnitSystemHandler::instance();
    UnitsKSLObject::registerBaseType();
    std::string rules(expressionRules);
    rules.insert(rules.find("ExpressionsKSLObject,"), "UnitsKSLObject, ");
    rules.insert(
        rules.find("  SINGLETON: LIBRARY"),
        "SINGLETON: UNITS\nKSLObject Class = UnitsKSLObject\nEssential Parameter List = Unit System\n"
        "END\nPARAMETER: Unit System\nEND\n");
    m_system = std::make_unique<ExpressionSystem>(rules);
    system().define("Head = 3 [m]\nTotal = 2 * Head");
    system().run(
        "EXPRESSION EVALUATOR: free\nEvaluated Expression = Total\nEND\n"
        "EXPRESSION EVALUATOR: own\nEvaluated Expression = Head\nUser Units = mm\nEND\n"
        "EXPRESSION PREVIEW: p\nEvaluated Expression = Head\nEND\nWING: w\nLength = Total\nEND\n");
  }
  void shutDown()
  {
    m_system.reset();
    EngineUnitSystemHandler::destroyInstance();
  }
  ExpressionSystem& system() { return *m_system; }
  std::string choose(const std::string& name)
  {
    return system().run("UNITS:\nUnit System = " + name + "\nEND\n");
  }
  static std::string shown()
  {
    return ExpressionSystem::result("/EXPRESSION EVALUATOR:free") + ", "
           + ExpressionSystem::result("/EXPRESSION EVALUATOR:own") + ", "
           + ExpressionSystem::result("/EXPRESSION PREVIEW:p");
  }

  static constexpr const char* inSI = "6 [m], 3000 [mm], 3 [m]";
  static constexpr const char* inCGS = "600 [cm], 3000 [mm], 300 [cm]";

 private:
  std::unique_ptr<ExpressionSystem> m_system;
};

TEST_F(EvaluatorsAndUnits, ASwitchChangesResultsAndNoText)
{
  choose("SI");
  const std::string state = system()->state();
  const std::string store = system()->store();
  EXPECT_EQ(shown(), inSI);
  EXPECT_EQ(choose("CGS"), "");
  EXPECT_EQ(shown(), inCGS);
  EXPECT_EQ(system().recalculated(), "") << "nobody else is touched";
  system()->undo();
  EXPECT_EQ(shown(), inSI);
  system()->redo();
  EXPECT_EQ(shown(), inCGS);
  EXPECT_NE(system().run("UNITS:\nUnit System = SI\nEND\nWING: w\nNothing = 1\nEND\n"), "");
  EXPECT_EQ(shown(), inCGS) << "taken back";
  EXPECT_EQ(system().run("UNITS:\nUnit System = SI\nEND\nEXPRESSIONS:\nHead = 1 [m]\nEND\n"), "");
  EXPECT_EQ(shown(), "2 [m], 1000 [mm], 1 [m]");
  system().define("Head = 3 [m]");
  EXPECT_EQ(system()->state(), state);
  EXPECT_EQ(system()->store(), store);
}

// Through names, and in whatever units.
TEST_F(EvaluatorsAndUnits, ADifferenceOfTemperaturesIsShownAsOne)
{
  choose("English");
  system().define("Hot = 46 [C]\nDrop = Hot - 36 [C]\nHalf = Drop / 2");
  system().run(
      "EXPRESSION EVALUATOR: free\nEvaluated Expression = Drop\nEND\n"
      "EXPRESSION EVALUATOR: own\nEvaluated Expression = Half\nUser Units = F\nEND\n"
      "EXPRESSION PREVIEW: p\nEvaluated Expression = Hot + Drop\nEND\n");
  EXPECT_EQ(shown(), "18 [degR], 9 [F], 132.8 [F]");
}

TEST_F(EvaluatorsAndUnits, DeletionsAreTakenBack)
{
  choose("CGS");
  for (const char* command : {"> delete /UNITS", "> delete /EXPRESSION EVALUATOR:own",
                              "> delete /EXPRESSION EVALUATOR:free, /EXPRESSION EVALUATOR:own, "
                              "/EXPRESSION PREVIEW:p, /WING:w, EXPRESSIONS, /UNITS"}) {
    EXPECT_EQ(system().run(command), "");
    system()->undo();
    EXPECT_EQ(shown(), inCGS) << command;
    system().define("Head = 1 [m]");
    EXPECT_EQ(shown(), "200 [cm], 1000 [mm], 100 [cm]") << command;
    system()->undo();
  }
  EXPECT_EQ(system()->errors(), "");
}

TEST_F(EvaluatorsAndUnits, UnitsThatDoNotFitAreTold)
{
  const std::string error =
      "error[4] ExpressionEvaluatorKSLObject::evaluate: Cannot show expression 'Head' of object '/EXPRESSION "
      "EVALUATOR:own' in units '";
  EXPECT_EQ(system().run("EXPRESSION EVALUATOR: own\nUser Units = s\nEND\n"),
            error + "s'. Cannot convert units 'm' to 's'.");
  EXPECT_EQ(system().run("EXPRESSION EVALUATOR: own\nUser Units = blob\nEND\n"),
            error + "blob'. Units 'blob' are not recognized.");
  EXPECT_EQ(shown(), inSI);
}

// Evaluators live until the database ends, after the units object or before.
TEST_F(EvaluatorsAndUnits, AStartUpLeavesNothingBehind)
{
  choose("CGS");
  shutDown();
  EXPECT_EQ(ExpressionResolver::installed(), nullptr);
  EXPECT_EQ(EngineUnitSystemHandler::existing(), nullptr);
  startUp();
  EXPECT_EQ(shown(), inSI);
  choose("CGS");
  EXPECT_EQ(shown(), inCGS);
}

}  // namespace
}  // namespace orv::test
