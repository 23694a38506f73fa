// Objects that recompute when changes have been applied, and what the Executive needs for it.
#include "command/Executive.h"

#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv {

// An object that runs the test's code when it recomputes.
class Recomputing : public DataKSLObject {
 public:
  static std::function<void(const std::string& path)> onUpdate;
  void update() override
  {
    if (onUpdate)
      onUpdate(getPath());
  }
  KSLObject* clone() const override
  {
    auto copy = std::make_unique<Recomputing>();
    copyInternals(copy.get());
    return copy.release();
  }
};
std::function<void(const std::string& path)> Recomputing::onUpdate;

class ExecutiveTest : public testing::Test {
 protected:
  ExecutiveTest()
  {
    Recomputing::onUpdate = [this](const std::string& path) { updates += path + " "; };
  }
  ~ExecutiveTest() override { Recomputing::onUpdate = nullptr; }

  Executive& executive() { return system.executive(); }
  std::string takeUpdates() { return std::exchange(updates, {}); }

  struct BaseType {
    BaseType() { ObjectFactory::instance()->registerBaseType("Recomputing", new Recomputing); }
  };
  static const char* const rules;
  BaseType baseType;  // before the RULES that name it
  TestSystem system{rules};
  KSLChangeList history{"history"};
  std::string updates;
};

const char* const ExecutiveTest::rules = R"(RULES:
KSLObjectClasses = DataKSLObject, Recomputing
PARAMETER: x
END
OBJECT: A
KSLObject Class = Recomputing
Optional Parameter List = x
END
OBJECT: B
KSLObject Class = Recomputing
Optional Parameter List = x
END
END)";

TEST_F(ExecutiveTest, ObjectsMayUpdateOthersWhileTheyRecompute)
{
  KSLChangeList changes;
  for (const char* path : {"/A:a", "/A:b", "/A:c"})
    changes.createParam(path, "x", "1");
  KSLChangeList nested;
  nested.createParam("/B:n", "x", "1");
  KSLChangeList foreign;
  Recomputing::onUpdate = [&](const std::string& path) {
    updates += path + " ";
    if (path != "/A:a")
      return;
    EXPECT_EQ(thrown<internal::error>([&] { executive().update(nested, &foreign, system.text()); }),
              ErrorMsg("Executive", "update",
                       "Executive::update() called with differentKSLChangeList from higher invocation.", 4));
    executive().update(nested, &history, system.text());
  };
  executive().update(changes, &history, system.text());
  EXPECT_EQ(takeUpdates(), "/A:a ") << "the nested update ends the outer one's work";
  EXPECT_EQ(TestSystem::render(history),
            "drop /A:a x (1)\ndrop /A:b x (1)\ndrop /A:c x (1)\ndrop /B:n x (1)\n");
  EXPECT_EQ(system.notifications(), "4 5");
}

TEST_F(ExecutiveTest, RecomputesParentsBeforeChildrenEachOnce)
{
  system.run("A: b\nx = 1\nx = 2\nA: c\nx = 1\nEND\nEND\nA: a\nx = 1\nEND\n> delete /A:a", kslUpdateAtEnd);
  EXPECT_EQ(takeUpdates(), "/A:a /A:b /A:b/A:c ");
  Recomputing::onUpdate = [&](const std::string& path) {
    if (path == "/A:b")
      throw data::invalid("Test", "update", "cannot");
  };
  system.run("A: a\nEND\nA: b\nx = 3\nEND");
  EXPECT_EQ(system.errors(),
            "error[4] Test::update: cannot\nerror[4] Test::update: cannot\n"
            "error[1] KSLInterface::parseHistory: An attempt to recover from a previous error has "
            "failed.\n  The application is likely to be in an unstable state.");
}

TEST_F(ExecutiveTest, NeedsAFactoryForActions)
{
  static std::string told;
  const AssertionHandler former = setAssertionHandler(
      [](std::string_view text, std::string_view source) { told.append(text).append("@").append(source); });
  executive().setActionFactory(nullptr);
  EXPECT_EQ(thrown<internal::error>([&] { executive().doAction("update"); }),
            ErrorMsg("Executive", "doAction", "Pointer to ActionFactory not set.", 4));
  setAssertionHandler(former);
  EXPECT_EQ(told, "m_actionFactory@KSLCore/src/Executive");
}

// ----------------------------------------------------------------------------------------------- text and database

TEST(ExecutiveAndStore, AgreeOnEveryHeader)
{
  TestSystem system;
  const std::pair<const char*, const char*> cases[] = {
      {"A:\nx = 1\nEND", "A:A\n  x = 1\nEND\n"},
      {"A: A\nx = 2\nEND", "A:A\n  x = 2\nEND\n"},
      {"VIEW: VIEW\nZoom = 2\nEND", "A:A\n  x = 2\nEND\nVIEW:\n  Zoom = 2\nEND\n"},
      {"VIEW:\nZoom =\nLABEL: \"l  m\"\nEND\nEND",
       "A:A\n  x = 2\nEND\nVIEW:\n  LABEL:l m\n    Text = none\n  END\nEND\n"},
      {"A: b:c\nx = 1\nB: d.\nEND\nB: ..e\nEND\nEND\n> delete /VIEW, /A:A",
       "A:b:c\n  x = 1\n  B:d.\n  END\n  B:..e\n  END\nEND\n"},
      {"> delete /A:b:c/B:d.\n> delete b:c", ""},
  };
  for (const auto& [text, state] : cases) {
    system.run(text);
    EXPECT_EQ(system.state() + system.errors(), state) << text;
    system.expectConsistent();
  }
}

}  // namespace orv
