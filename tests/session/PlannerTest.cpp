// A plan is what then happens, and making it does nothing.
#include "session/Planner.h"

#include "platform/ORVOutputFiles.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "command/KSLUpdateInfo.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TestSystem.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace orv {
namespace {

// Each box is made, then painted, and may need the paint of others to be made.
constexpr const char* boxRules =
    "RULES:\nSchedulerTypes = Make, Paint\nKSLObjectClasses = DataKSLObject, GenericKSLObject\n"
    "Categories = deletable\n"
    "OBJECT: BOX\nKSLObject Class = GenericKSLObject\nCategory = deletable\nScheduler = Make, Paint\n"
    "Scheduler Links = Make, Paint\n"
    "Essential Parameter List = Size\nOptional Parameter List = On, Beside, Picture\nEND\n"
    "SINGLETON: FILE PROCESSING\nKSLObject Class = DataKSLObject\n"
    "Essential Parameter List = Processing Mode, Path Stack\nEND\n"
    "PARAMETER: Processing Mode\nEND\nPARAMETER: Path Stack\nEND\n"
    "PARAMETER: Size\nDefault = 1\nLocal Type = Make\nEND\n"
    "PARAMETER: On\nLocal Type = Make\nRemote Type = Paint\nEND\n"
    "PARAMETER: Picture\nLocal Type = Paint\nParameter Category = File\nEND\n"
    "PARAMETER: Beside\nLocal Type = Make\nRemote Type = Paint\nEND\nEND\n";

struct Boxes {
  Boxes() { GenericKSLObject::registerBaseType(); }
};
// The class must be there before the rules are read.
struct BoxSystem : private Boxes, public TestSystem {
  BoxSystem() : TestSystem(boxRules) {}
};

KSLUpdateInfo::UpdateList recorded()
{
  const auto [first, end] = KSLCoreAPI::instance()->getUpdateInfo()->getUpdates();
  return {first, end};
}

// Everything that a plan must leave as it is.
std::string traces(TestSystem& system)
{
  std::string text = system.fullState() + "-- store\n" + system.store() + "-- steps\n";
  const KSLInterface* commands = KSLInterface::instance();
  text += StringUtilities::toString(commands->getUndoStack().size()) + " "
          + StringUtilities::toString(commands->getRedoStack().size()) + "\n-- pending\n";
  for (const KSLObject* object : ObjectDB::instance()->getAllObjects())
    text += object->getSchedulerInfo();
  return text;
}

rc::Gen<std::string> randomText()
{
  const auto piece = rc::gen::element<std::string>(
      "BOX: a\nEND\n", "BOX: b\nOn = a\nEND\n", "BOX: b\nSize = 2\nBeside = a\nEND\n",
      "BOX: c\nOn = a, b\nSize = 3\nEND\n", "&replace BOX: a\nSize = 4\nEND\n",
      "BOX: a\nSize = 5\nBOX: in\nEND\nEND\n", "> delete a\n", "> delete /BOX:a/BOX:in, b\n", "> undo\n",
      "> copy from=/BOX:a, to=copied\n", "> rename from=/BOX:b, to=c\n", "> forceupdate a\n",
      "BOX: a\nBad = 1\nEND\n", "BOX: open\n", "> update noaction\n");
  return rc::gen::map(
      rc::gen::resize(4, rc::gen::nonEmpty(rc::gen::container<std::vector<std::string>>(piece))),
      [](const std::vector<std::string>& parts) { return StringUtilities::vectorToString(parts, ""); });
}

RC_GTEST_PROP(Planner, ThePlanIsWhatHappensAndNothingElse, ())
{
  BoxSystem system;
  KSLCoreAPI* api = KSLCoreAPI::instance();
  api->recordKSLChanges(true);
  const auto enter = [&] { return StringUtilities::stringToVector(*randomText(), '\n'); };
  api->externalProcessKSL(enter());
  for (int i = 0; i < 3; ++i) {
    const std::vector<std::string> lines = enter();
    const std::string before = traces(system);
    system.errors();
    system.notifications();
    const KSLUpdateInfo::UpdateList items = recorded();
    const Plan plan = Planner().plan({lines});
    RC_ASSERT(traces(system) == before);
    RC_ASSERT(system.errors() + system.notifications() == "");
    RC_ASSERT(recorded() == items);
    CalculationLog calculations;
    api->externalProcessKSL(lines);
    RC_ASSERT(plan.steps.at(0).items == recorded());
    RC_ASSERT(plan.steps.at(0).reports == system.errorList());
    RC_ASSERT(plan.calculations.size() == calculations.entries().size());
  }
}

TEST(Planner, ActionsThatReachFurtherAreToldAndNotDone)
{
  const TempFolder folder;
  BoxSystem system;
  bool done = false;
  system.registerAction("launch", [&](const auto&) { done = true; });
  const std::string file = folder / "saved.qst";
  const Plan plan =
      Planner().plan({{"BOX: a", "Size = 2", "Picture = a.svg", "END", "> savestate filename=" + file,
                       "> launch now", "> session start, filename=" + file},
                      {"> delete a"}});
  EXPECT_EQ(plan.writtenFiles, (std::vector<std::string>{file, file}));
  EXPECT_EQ(plan.passedOver, std::vector<std::string>{"launch, now"});
  ASSERT_EQ(plan.namedFiles.size(), 1u);
  EXPECT_EQ(plan.namedFiles[0].path + plan.namedFiles[0].param + plan.namedFiles[0].file,
            "/BOX:aPicturea.svg");
  EXPECT_EQ(plan.steps.size(), 2u);
  EXPECT_TRUE(plan.objects.empty());  // it came and went
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_FALSE(done);
}

}  // namespace
}  // namespace orv
