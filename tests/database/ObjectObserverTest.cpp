// Observers of an object's parameters, and what is left when they fail.
#include "TestObjects.h"

namespace orv::test {
namespace {

class ObjectObserverTest : public DatabaseTest {};

TEST_F(ObjectObserverTest, FailingObserverLeavesParametersAsTheyWere)
{
  auto object = makeObject("", "A", "x", {{"p", "String", "d"}, {"q"}});
  object->setValue("p", "mine");
  Listener listener;
  object->registerObjectChangeNotify(&listener);
  EXPECT_EQ(errorOf([&] { object->registerObjectChangeNotify(&listener); }),
            ErrorMsg("KSLObject", "registerObjectChangeNotify",
                     "Attempt to register ObjectChangeNotify when one is already registered.", 4));
  const std::string before = textOf(*object);
  const auto failing = [&](int at, auto call) {
    listener.failAt = at;
    EXPECT_EQ(errorOf(call).getClassName(), "Listener");
    EXPECT_EQ(textOf(*object), before);
  };
  failing(0, [&] { object->setValue("q", "1"); });
  failing(0, [&] { object->unsetParam("p"); });
  failing(1, [&] { object->unsetParam("p"); });
  failing(0, [&] { PrototypeEditor(*object).removeParameter("p"); });
  auto param = makeParam({"new"});
  failing(0, [&] { PrototypeEditor(*object).addParameter(param.get()); });
  object->registerObjectChangeNotify(nullptr);
  object->registerObjectChangeNotify(nullptr);
  PrototypeEditor(*object).addParameter(std::move(param));  // refused ones carry no observer
}

TEST_F(ObjectObserverTest, ParametersThatCannotBeRemovedAreStillHeardOf)
{
  const auto original = makeObject("", "A", "x", {{"a"}, {"p"}, {"z"}});
  const std::unique_ptr<KSLObject> copy(original->clone());
  Listener listener;
  copy->registerObjectChangeNotify(&listener);
  PrototypeEditor editor(static_cast<DataKSLObject&>(*copy));
  const auto failToRemove = [&](const char* name) {
    listener.failAt = 0;
    EXPECT_EQ(errorOf([&] { editor.removeParameter(name); }).getClassName(), "Listener");
  };
  copy->setValue("z", "2");
  const ParamDefinition* z = copy->getParam("z");
  failToRemove("p");  // never written
  failToRemove("z");
  listener.take();
  for (const char* name : {"a", "p", "z"})
    copy->setValue(name, "3");
  EXPECT_EQ(listener.take(), "changed a = 3 (set)\nchanged p = 3 (set)\nchanged z = 3 (set)\n");
  EXPECT_EQ(copy->getParam("z"), z);
}

}  // namespace
}  // namespace orv::test
