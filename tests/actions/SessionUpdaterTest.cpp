// The replay with a strategy.
#include "actions/SessionUpdater.h"

#include "platform/ORVError.h"
#include "command/SessionUpdateStrategy.h"
#include "actions/ReadSessionExecutor.h"
#include "SessionFixture.h"
#include "tests/support/thrown.h"

#include <functional>

namespace orv {
namespace {

using Lines = std::vector<std::string>;

// Runs what it is given, and keeps a log.
class LoggingStrategy : public SessionUpdateStrategy {
 public:
  std::string log;
  KSLAPI* store = nullptr;
  std::function<void(Lines& output, const std::string& action)> onAction =
      [](Lines& output, const std::string& action) { output.push_back("> " + action); };
  kslUpdateMode mode = kslUpdateAtEnd;

  void prepare(KSLAPI* mainStore, KSLAPI* privateStore) override
  {
    EXPECT_EQ(mainStore, KSLInterface::instance()->getKSLAPI());
    EXPECT_NE(mainStore, privateStore);
    store = privateStore;
    log += mainStore->doesPathExist("/A:a") ? "prepare with a\n" : "prepare\n";
  }
  void acceptExpandedKSL(const Lines& lines, Lines& output) override
  {
    log += "text " + StringUtilities::vectorToString(lines, '|') + "\n";
    output.insert(output.end(), lines.begin(), lines.end());
  }
  void handleAction(Lines& output, KSLAPI*, KSLAPI*, const std::string& action, const Lines& args) override
  {
    log += "action " + action + (args.empty() ? "\n" : " with arguments\n");
    onAction(output, action);
  }
  kslUpdateMode updateMode() override { return mode; }
};

class SessionUpdaterTest : public SessionTest {
 protected:
  static constexpr const char* session =
      "&replace A: a # new\n  y = one two\\ \n  z = one \\\n   two\n  &replace B: c\n  END\nEND\n> delete "
      "/C:b\nVIEW:\nText = "
      "t\nEND\r\n";
  static constexpr const char* rest =
      "text A: a|y = one two\\|z = one two|B: c|END|END\naction delete /C:b\nprepare with a\ntext VIEW:|Text "
      "= t|END\n";
  static constexpr const char* result =
      "A:a\n  y = one two\\ \n  z = one two\n  B:c\n  END\nEND\nVIEW:\n  Text = t\n  Zoom = 1\nEND\n";

  void setUpWork()
  {
    system->run("A: a\nx = 1\nB: c\nEND\nEND\nC: b\nEND");
    system->actions().registerExecutor("replayed", new NamedReplay(this));
  }
  class NamedReplay : public ActionExecutor {
   public:
    explicit NamedReplay(SessionUpdaterTest* owner) : m_owner(owner) {}
    void invoke(const Lines&) override
    {
      ReadSessionExecutor(&m_owner->strategy).invoke({"rs", "filename=" + (m_owner->folder / "s.ksl")});
    }

   private:
    SessionUpdaterTest* m_owner;
  };

  LoggingStrategy strategy;
};

TEST_F(SessionUpdaterTest, PassesEachPieceToTheStrategy)
{
  EXPECT_EQ(
      thrown<internal::error>([] { KSLCoreAPI::instance()->processKSLWithSessionUpdate("A: a", nullptr); }),
      ErrorMsg("SessionUpdater", "SessionUpdater", "Null pointer passed to constructor.", 4));
  for (const bool inside : {true, false}) {
    SCOPED_TRACE(inside);
    startAfresh();
    setUpWork();
    strategy.log.clear();
    folder.write("s.ksl", session);
    if (inside)
      system->run("> replayed");
    else
      KSLCoreAPI::instance()->processKSLWithSessionUpdate(session, &strategy);
    EXPECT_EQ(system->errors(), "");
    // Outside any text the main store keeps the object until the output runs.
    EXPECT_EQ(strategy.log, (inside ? "prepare\n" : "prepare with a\n") + std::string(rest));
    EXPECT_EQ(work(), result);
    system->expectConsistent();
  }
}

TEST_F(SessionUpdaterTest, AFailureTakesEverythingBack)
{
  setUpWork();
  const std::string before = system->state();
  const std::string error = "error[32] ActionFactory::getExecutor: Action nothing is not recognized.";
  folder.write("s.ksl", session + std::string("&replace A: a\nEND\n> nothing\nC: z\nEND\n"));
  system->run("> replayed");
  EXPECT_EQ(system->errors(), error);
  EXPECT_EQ(system->state(), before);
  EXPECT_EQ(strategy.log.find("C: z"), std::string::npos) << "no later piece is read";

  // Outside any text a failing piece is taken back alone, and what it was to replace is still there.
  KSLCoreAPI::instance()->processKSLWithSessionUpdate("&replace A: a\nx = 2\nEND\n> nothing\nC: z\nEND\n",
                                                      &strategy);
  EXPECT_EQ(system->errors(), error);
  EXPECT_EQ(system->state(), before + "C:z\nEND\n");
  system->expectConsistent();
}

TEST_F(SessionUpdaterTest, WhileOutputRunsNobodyElseIsHeard)
{
  setUpWork();
  strategy.onAction = [](Lines& output, const std::string&) { output = {"> meddle"}; };
  system->registerAction("meddle", [this](const Lines&) { strategy.store->loadKSLData({"> more"}); });
  KSLCoreAPI::instance()->processKSLWithSessionUpdate("> first", &strategy);
  EXPECT_EQ(strategy.log, "prepare with a\ntext \naction first\nprepare with a\ntext \n");
}

// The directive goes to nested and quoted names, to a name that is its type, and stays where the strategy put it.
TEST_F(SessionUpdaterTest, PutsTheDirectiveBeforeTheHeaders)
{
  system->run(
      "A: a\nx = 1\n&replace B: \"a # b\"\nEND\nB: A\nx = 1\nEND\nEND\nA: A\nx = 1\nEND\nC: c\nx = "
      "1\nEND\nVIEW:\n"
      "Zoom = 2\nEND");
  strategy.onAction = [](Lines& output, const std::string& action) {
    EXPECT_EQ(action, "update");
    output.insert(output.begin(), {"&replace C: c", "y = 1", "END"});
  };
  KSLCoreAPI::instance()->processKSLWithSessionUpdate(
      "A: a\ny = 2\n&replace B: \"a # b\"\ny = 2\nEND\nB: A\ny = 2\nEND\nEND\n&replace A: A\ny = 2\nEND\n"
      "&replace VIEW:\nEND\n> update",
      &strategy);
  EXPECT_EQ(system->errors(), "");
  EXPECT_EQ(
      work(),
      "A:a\n  x = 1\n  y = 2\n  B:A\n    x = 1\n    y = 2\n  END\n  B:\"a # b\"\n    y = 2\n  END\nEND\n"
      "A:A\n  y = 2\nEND\nC:c\n  y = 1\nEND\nVIEW:\n  Zoom = 1\nEND\n");
  system->expectConsistent();
}

}  // namespace
}  // namespace orv
