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

// As an object that fails to mark what depends on the value.
TEST_F(ObjectObserverTest, UnsettingThatFailsLateIsTakenBack)
{
  struct Late : DataKSLObject {
    std::string setValueInternal(ParamDefinition* param, const std::string& value) override
    {
      DataKSLObject::setValueInternal(param, value);
      throw data::error("Late", "setValue", "");
    }
  } object;
  PrototypeEditor(object).addParameter(makeParam({"p", "String", "d"}));
  object.setValueWithoutPending("p", "mine");
  object.clearChangedParameters();
  EXPECT_EQ(errorOf([&] { object.unsetParam("p"); }).getClassName(), "Late");
  EXPECT_EQ(textOf(object), "p=mine set\n");
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

// A foreign observer of one parameter keeps it; the object's own gets nothing.
TEST_F(ObjectObserverTest, RefusedRegistrationDisturbsNobody)
{
  struct Foreign : ParamDefinition::NotifyChange {
    void paramChanged(ParamDefinition*) override { ++calls; }
    int calls = 0;
  } foreign;
  auto object = makeObject("", "A", "x", {{"p"}, {"q"}});
  PrototypeEditor(*object).findParam("q")->setNotifyChange(&foreign);
  Listener listener;
  EXPECT_EQ(errorOf([&] { object->registerObjectChangeNotify(&listener); }).getFunction(), "setNotifyChange");
  object->setValue("p", "1");
  object->setValue("q", "1");
  EXPECT_EQ(listener.take(), "");
  EXPECT_EQ(foreign.calls, 1);
}

}  // namespace
}  // namespace orv::test
