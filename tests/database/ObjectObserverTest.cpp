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

  struct Foreign : ParamDefinition::NotifyChange {
    void paramChanged(ParamDefinition*) override {}
  } foreign;  // of one parameter, which keeps it; the others get none
  PrototypeEditor(*object).findParam("q")->setNotifyChange(&foreign);
  EXPECT_NE(errorOf([&] { object->registerObjectChangeNotify(&listener); }).getMessage(), "");
  for (const char* name : {"p", "new"})
    PrototypeEditor(*object).findParam(name)->setNotifyChange(&foreign);
  EXPECT_NE(errorOf([&] { PrototypeEditor(*object).findParam("q")->setNotifyChange(&foreign); }).getMessage(),
            "");

  struct Ending : DataKSLObject {
    using KSLObject::removeAllParameters;
  } ending;
  for (const char* name : {"a", "b", "c"})
    PrototypeEditor(ending).addParameter(makeParam({name}));
  ending.registerObjectChangeNotify(&listener);
  listener.take();
  listener.failAt = 0;
  EXPECT_EQ(errorOf([&] { ending.removeAllParameters(); }).getMessage(), "deleted a");
  EXPECT_EQ(listener.take() + textOf(ending), "deleted b\ndeleted c\n") << "all are told";
}

}  // namespace
}  // namespace orv::test
