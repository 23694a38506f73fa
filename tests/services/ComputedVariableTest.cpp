// Variables whose values calculations leave.
#include "platform/ORVDynamicLoader.h"
#include "database/EvaluatingObject.h"
#include "tests/services/ExpressionSystem.h"
#include "tests/support/thrown.h"

#include <cmath>
#include <gtest/gtest.h>

namespace orv::test {
namespace {

// A GAUGE doubles the length of the wing that it stands on, in its second calculation.
const char* const gaugeRules =
    "\nRULES:\nSchedulerTypes = S, Look, Read\n"
    "OBJECT: GAUGE\nKSLObject Class = GenericKSLObject\nCategory = deletable, variable\nScheduler = Look, "
    "Read\n"
    "Calculate Function = Look, gauge, look, Read, gauge, read\nOptional Parameter List = On, Tint\n"
    "Internal Parameter List = Value\nEND\n"
    "PARAMETER: On\nLocal Type = Read\nRemote Type = S\nEND\nPARAMETER: Tint\nLocal Type = Look\nEND\n"
    "PARAMETER: Value\nEND\nEND";

struct Gauge : CalculateFunction {
  void calculate(KSLObject* object, const std::string& type) override
  {
    ++CountingObject::counts()[object->getPath() + "." + type];
    if (type == "Look")
      return;
    const auto wings = object->namedObjects(*object->lookUpParam("On"));
    if (wings.empty())
      object->setValue("Value", "");
    else
      object->setValue("Value", Quantity(2 * wings[0]->getFloatValue("Length", "m"), "m").toString());
  }
};

class ComputedVariable : public ::testing::Test {
 protected:
  ComputedVariable()
  {
    SharedLibrary::instance()->provide("libgauge.so", [](const std::string&) { return new Gauge; });
  }
  ~ComputedVariable() override { SharedLibrary::instance()->provide("libgauge.so", {}); }
  std::string enter(const std::string& text, kslUpdateMode mode = kslUpdateAtEnd)
  {
    CountingObject::counts().clear();
    system->run(text, mode);
    return system->errors();
  }
  static float lengthOf(const std::string& wing) { return ExpressionSystem::length("/WING:" + wing); }

  ExpressionSystem system{std::string(expressionRules) + gaugeRules};
  // The users come first in the text, and so are the first to be made.
  const std::string model =
      "WING: tip\nLength = twice + 1 [m]\nEND\nEXPRESSIONS:\ntwice = 2 * g\nEND\n"
      "WING: second\nLength = g / 2\nEND\nWING: first\nLength = 3 [m]\nEND\nGAUGE: g\nOn = first\nEND\n";
};

TEST_F(ComputedVariable, UsersFollowAllCalculationsOfIt)
{
  ASSERT_EQ(enter(model), "");
  EXPECT_EQ(system.recalculated(), "GAUGE:g.Look 1, GAUGE:g.Read 1, WING:first 1, WING:second 1, WING:tip 1");
  EXPECT_FLOAT_EQ(lengthOf("second"), 3);
  EXPECT_EQ(enter("WING: first\nLength = 5 [m]\nEND\n"), "");
  EXPECT_EQ(system.recalculated(), "GAUGE:g.Read 1, WING:first 1, WING:second 1, WING:tip 1");
  EXPECT_FLOAT_EQ(lengthOf("tip"), 21);
  EXPECT_EQ(enter("GAUGE: g\nTint = red\nEND\n"), "");
  EXPECT_EQ(system.recalculated(), "GAUGE:g.Look 1, WING:second 1, WING:tip 1")
      << "nobody says which leaves it";
  EXPECT_EQ(enter("WING: second\nWidth = 1 [m]\nEND\n"), "");
  EXPECT_EQ(system.recalculated(), "WING:second 1");
}

TEST_F(ComputedVariable, WhatIsRefusedLeavesAllAsItWas)
{
  ASSERT_EQ(enter(model), "");
  const std::string before = system->fullState();
  for (const auto& [text, says] : std::vector<std::pair<std::string, std::string>>{
           {"WING: first\nLength = g\nEND\n",
            "cyclic dependency between object g (Read) and object first (S)"},
           {"EXPRESSIONS:\ntwice = 3 * g\nEND\nGAUGE: g\nOn = tip\nEND\n", "cyclic dependency"},
           {"> delete /GAUGE:g\n", "depends on a variable 'g' which does not exist"},
           {"GAUGE: g\nOn =\nEND\nWING: second\nWidth = g\nEND\nEXPRESSION EVALUATOR: e\n"
            "Evaluated Expression = g\nEND\n",
            "Variable '/GAUGE:g' has no value: nothing is computed for it."},
           {"> rename from=/GAUGE:g, to=Tip-1\n", "cannot use that name"}}) {
    EXPECT_NE(enter(text).find(says), std::string::npos) << text;
    EXPECT_EQ(system->fullState(), before) << text;
    EXPECT_FLOAT_EQ(lengthOf("tip"), 13) << text;
  }
}

TEST_F(ComputedVariable, UndoRedoRenameAndLoadKeepValues)
{
  ASSERT_EQ(enter(model), "");
  ASSERT_EQ(enter("WING: first\nLength = 5 [m]\nEND\n"), "");
  system->undo();
  EXPECT_FLOAT_EQ(lengthOf("tip"), 13);
  system->redo();
  EXPECT_FLOAT_EQ(lengthOf("tip"), 21);
  EXPECT_EQ(enter("> rename from=/GAUGE:g, to=Wide Gauge\n"), "");
  EXPECT_EQ(system.at("/WING:second")->getValue("Length"), "Wide Gauge / 2");
  EXPECT_EQ(enter("WING: first\nLength = 1 [m]\nEND\n"), "");
  EXPECT_FLOAT_EQ(lengthOf("tip"), 5);
  const std::string saved = system->state();
  EXPECT_EQ(enter("> delete /WING:tip, /WING:second, /EXPRESSIONS, /GAUGE:Wide Gauge, /WING:first\n"), "");
  EXPECT_EQ(system->state(), "");
  EXPECT_EQ(enter(saved), "");
  EXPECT_EQ(system->state(), saved);
  EXPECT_FLOAT_EQ(lengthOf("tip"), 5);
}

// It never passes for a value: neither what is out of date, nor what the object itself computes.
TEST_F(ComputedVariable, IsNoNameForAnOldValue)
{
  ASSERT_EQ(enter(model), "");
  enter("WING: first\nLength = 7 [m]\nEND\n> update noaction\n", kslUpdateNoAction);
  const auto read = [&] { return lengthOf("second"); };
  system.at("/WING:first")->setPending();
  EXPECT_EQ(thrown<data::invalid>(read).getMessage(), "Variable '/GAUGE:g' is out of date.");
  system.at("/WING:first")->update();
  system.at("/GAUGE:g")->update();
  EXPECT_FLOAT_EQ(read(), 7);
  ASSERT_EQ(system.define("Value = 4 [m]"), "");
  const KSLObject& gauge = *system.at("/GAUGE:g");
  const EvaluatingObject scope(&gauge);
  EXPECT_EQ(ExpressionEvaluator::evaluate("Value / 2", "On").getNumber(), 2);
}

}  // namespace
}  // namespace orv::test
