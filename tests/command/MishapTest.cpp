// Calculations that delete what is around them, or fail.
#include "platform/ORVException.h"
#include "tests/command/ComputeTest.h"

namespace orv::test {
namespace {

// At every call in turn. Afterwards just that is pending which nobody could reach, and what is left can be linked and is
// calculated.
class MishapTest : public ComputeTest {
 protected:
  struct Mishap {
    const char* name;
    void (*act)(Computing& object, const std::string& prefix);
    bool throws = false;
    bool caught = false;
  };
  static constexpr int calculations = 8;  // of the four, each with a child that depends on it

  static void erase(const std::string& path)
  {
    if (ObjectDB::instance()->hasObject(path))
      ObjectDB::instance()->deleteObject(path);
  }
  void define(const std::string& prefix)
  {
    const auto holder = [&prefix](const std::string& name, const std::string& lines) {
      const std::string own = prefix + name;
      return "NODE: " + own + "\n" + lines + "\n" + node("k", "Source = /NODE:" + own) + "END\n";
    };
    run(holder("a", "Value = 1") + holder("b", "Source = " + prefix + "a")
        + holder("c", "Source = " + prefix + "a, /NODE:" + prefix + "b/NODE:k")
        + holder("d", "Source = " + prefix + "c, /NODE:" + prefix + "c/NODE:k"));
    ASSERT_EQ(m_system.errors(), "");
  }
  std::string meet(const Mishap& mishap, const std::string& prefix, int call)
  {
    int calls = 0;
    Computing::onCalculate = [&](Computing& object) {
      if (++calls == call)
        mishap.act(object, prefix);
    };
    SchedulerObject::setCatchExceptions(mishap.caught);
    std::string log = run(node(prefix + "a", "Value = 2"));
    SchedulerObject::setCatchExceptions(false);
    Computing::onCalculate = nullptr;
    EXPECT_GE(calls, call);
    return log;
  }
  static std::vector<KSLObject*> siblings(const std::string& prefix)
  {
    std::vector<KSLObject*> found;
    for (const char* name : {"a", "b", "c", "d"}) {
      if (KSLObject* object = ObjectDB::instance()->getObjectByPath("/NODE:" + prefix + name))
        found.push_back(object);
    }
    return found;
  }
  static bool isPending(const KSLObject& object) { return object.getSchedulerObject("Data")->isPending(); }
  static bool names(const std::string& log, const std::string& name)
  {
    return (" " + log + " ").find(" " + name + " ") != std::string::npos;
  }
};

TEST_F(MishapTest, CalculationsMayDeleteOrThrowAtAnyCall)
{
  const auto fail = [](Computing&, const std::string&) { throw data::error("C", "calculate", "no"); };
  const Mishap mishaps[] = {
      {"deletes another",
       [](Computing& object, const std::string& prefix) {
         erase("/NODE:" + prefix + (object.nameIs(prefix + "c") ? "a" : "c"));
       }},
      {"deletes its child",
       [](Computing& object, const std::string&) { erase(object.getPath() + "/NODE:k"); }},
      {"deletes itself", [](Computing& object, const std::string&) { erase(object.getPath()); }},
      {"throws", fail, true},
      {"throws and is caught", fail, true, true}};
  for (const Mishap& mishap : mishaps) {
    for (int call = 1; call <= calculations; ++call) {
      SCOPED_TRACE(mishap.name + (" in call " + std::to_string(call)));
      const std::string p = "m" + std::to_string((&mishap - mishaps) * 10 + call);
      define(p);
      const std::string log = meet(mishap, p, call);
      EXPECT_EQ(m_system.errors(), mishap.throws ? "error[4] C::calculate: no" : "");
      const std::vector<KSLObject*> left = siblings(p);
      for (const KSLObject* object : left)
        EXPECT_EQ(isPending(*object), !names(log, object->getName())) << object->getName();
      for (const KSLObject* object : left) {
        run(node(p + "late", "Source = " + object->getName()));
        EXPECT_EQ(parents("/NODE:" + p + "late"), object->getPath());
        EXPECT_TRUE(names(run(node(object->getName(), "Value = 3")), p + "late")) << object->getName();
        EXPECT_FALSE(isPending(*object)) << object->getName();
      }
      EXPECT_EQ(m_system.errors(), "");
    }
  }
}

}  // namespace
}  // namespace orv::test
