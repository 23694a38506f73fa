// Evaluators while the unit system changes.
#include "services/EngineUnitSystemHandler.h"
#include "ExpressionSystem.h"

#include <gtest/gtest.h>

namespace orv::test {
namespace {

class EvaluatorsAndUnits : public testing::Test {
 protected:
  EvaluatorsAndUnits()
  {
    EngineUnitSystemHandler::instance();
    system.define("Head = 3 [m]\nTotal = 2 * Head");
    system.run(
        "EXPRESSION EVALUATOR: free\nEvaluated Expression = Total\nEND\n"
        "EXPRESSION EVALUATOR: own\nEvaluated Expression = Head\nUser Units = mm\nEND\n"
        "EXPRESSION PREVIEW: p\nEvaluated Expression = Head\nEND\nWING: w\nLength = Total\nEND\n");
  }
  ~EvaluatorsAndUnits() override { EngineUnitSystemHandler::destroyInstance(); }

  std::string choose(const std::string& name, const std::string& more = {})
  {
    return system.run("UNITS:\nUnit System = " + name + "\nEND\n" + more);
  }
  static std::string shown()
  {
    return ExpressionSystem::result("/EXPRESSION EVALUATOR:free") + ", "
           + ExpressionSystem::result("/EXPRESSION EVALUATOR:own") + ", "
           + ExpressionSystem::result("/EXPRESSION PREVIEW:p");
  }
  static constexpr const char* inSI = "6 [m], 3000 [mm], 3 [m]";
  static constexpr const char* inCGS = "600 [cm], 3000 [mm], 300 [cm]";

  ExpressionSystem system;
};

TEST_F(EvaluatorsAndUnits, ASwitchChangesResultsAndNoText)
{
  choose("SI");
  const std::string before = system->state() + system->store();
  EXPECT_EQ(shown(), inSI);
  EXPECT_EQ(choose("CGS"), "");
  EXPECT_EQ(shown(), inCGS);
  EXPECT_EQ(system.recalculated(), "") << "nobody else is touched";
  system->undo();
  EXPECT_EQ(shown(), inSI);
  system->redo();
  EXPECT_NE(choose("SI", "WING: w\nNothing = 1\nEND\n"), "");
  EXPECT_EQ(shown(), inCGS) << "taken back";
  EXPECT_EQ(choose("SI", "EXPRESSIONS:\nHead = 1 [m]\nEND\n"), "");
  EXPECT_EQ(shown(), "2 [m], 1000 [mm], 1 [m]");
  system.define("Head = 3 [m]");
  EXPECT_EQ(system->state() + system->store(), before);
}

TEST_F(EvaluatorsAndUnits, DeletionsAreTakenBackAndUnitsThatDoNotFitTold)
{
  choose("CGS");
  EXPECT_EQ(system.run("> delete /EXPRESSION EVALUATOR:free, /EXPRESSION EVALUATOR:own, "
                       "/EXPRESSION PREVIEW:p, /WING:w, EXPRESSIONS, /UNITS"),
            "");
  system->undo();
  EXPECT_EQ(shown(), inCGS);
  for (const auto& [units, reason] : {std::pair("s", "Cannot convert units 'm' to 's'."),
                                      std::pair("blob", "Units 'blob' are not recognized.")})
    EXPECT_EQ(system.run(_("EXPRESSION EVALUATOR: own\nUser Units = %s\nEND\n", units)),
              _("error[4] ExpressionEvaluatorKSLObject::evaluate: Cannot show expression 'Head' of object "
                "'/EXPRESSION EVALUATOR:own' in units '%s'. %s",
                units, reason));
  EXPECT_EQ(shown(), inCGS);
}

}  // namespace
}  // namespace orv::test
