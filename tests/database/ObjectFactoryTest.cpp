#include "database/ObjectFactory.h"

#include "database/ObjectRules.h"
#include "database/ObjectRulesDef.h"
#include "TestObjects.h"

namespace orv::test {
namespace {

class ObjectFactoryTest : public DatabaseTest {
 protected:
  static ObjectFactory& factory() { return *ObjectFactory::instance(); }
  static std::unique_ptr<KSLObject> prototype(const std::string& type,
                                              std::initializer_list<ParamSpec> params = {})
  {
    auto object = std::make_unique<DataKSLObject>();
    PrototypeEditor editor(*object);
    editor.setType(type, false);
    for (const ParamSpec& spec : params)
      editor.addParameter(makeParam(spec));
    return object;
  }
};

ErrorMsg factoryError(const char* function, const char* message)
{
  return {"ObjectFactory", function, message, 4};
}

TEST_F(ObjectFactoryTest, BaseTypesAreTakenOnce)
{
  DataKSLObject::registerBaseType();
  EXPECT_EQ(errorOf([] { DataKSLObject::registerBaseType(); }),
            factoryError("registerBaseType",
                         "Duplicate data: KSLObject base type 'DataKSLObject' already exists."));
  EXPECT_EQ(errorOf([&] { factory().registerBaseType("", prototype("A")); }),
            factoryError("registerBaseType", "Invalid KSLObject. $1 field is empty."));
  EXPECT_EQ(errorOf([] { factory().createBaseType("Other"); }),
            factoryError("createBaseType", "Could not find base type: Other"));
  EXPECT_NE(dynamic_cast<DataKSLObject*>(factory().createBaseType("DataKSLObject").get()), nullptr);
  EXPECT_EQ(errorOf([] { factory().registerBaseType("N", static_cast<KSLObject*>(nullptr)); }).getMessage(),
            "Input parameter p_prototype is a null pointer.");
}

TEST_F(ObjectFactoryTest, RefusedPrototypesStayTheCallers)
{
  factory().addObject(prototype("A", {{"first"}}));
  auto twin = prototype("A", {{"second"}});
  EXPECT_EQ(errorOf([&] { factory().addObject(std::move(twin)); }),
            factoryError("addObject", "Duplicate data: KSLObject type 'A' already exists."));
  EXPECT_EQ(errorOf([&] { factory().addObject(twin.get()); }).getFunction(), "addObject");
  EXPECT_TRUE(twin->hasParam("second"));
  EXPECT_TRUE(factory().findPrototype("A")->hasParam("first"));
  EXPECT_EQ(errorOf([&] { factory().addObject(prototype("")); }),
            factoryError("addObject", "Invalid KSLObject. $1 field is empty."));

  factory().addParam(makeParam({"p"}));
  auto param = makeParam({"p"});
  EXPECT_EQ(errorOf([&] { factory().addParam(param.get()); }),
            factoryError("addParameter", "Duplicate data: Parameter 'p' already exists."));
  EXPECT_EQ(errorOf([&] { factory().createParam("q"); }),
            factoryError("createParam", "Could not find parameter: q"));
}

TEST_F(ObjectFactoryTest, ObjectsCarryWhatTheirPrototypeHas)
{
  Category::addCategory("deletable");
  auto made = prototype("A", {{"p", "String", "default"}});
  PrototypeEditor(static_cast<DataKSLObject&>(*made)).setCategory("deletable");
  made->setObjectRules(refcnt_ptr<const ObjectRules>(new ObjectRules(ObjectRulesDef())));
  made->addDependent(made.get(), made->getParam("p"));
  factory().addObject(std::move(made));

  const auto object = factory().createObject("/P:p", "A", "x");
  EXPECT_EQ(object->getPath(), "/P:p/A:x");
  EXPECT_TRUE(object->isA("A") && object->isA("deletable") && !object->isA("B"));
  EXPECT_EQ(object->getObjectRules(), factory().getObjectRules("A"));
  EXPECT_NE(object->getObjectRules(), nullptr);
  EXPECT_EQ(object->getValue("p"), "default");
  EXPECT_TRUE(object->getDependents().empty());
  object->setValue("p", "own");
  EXPECT_EQ(factory().createObject("A", "y")->getValue("p"), "default");
  EXPECT_EQ(errorOf([] { factory().createObject("", "B", "x"); }),
            factoryError("createObject", "Could not find object: B"));
  EXPECT_EQ(errorOf([] { factory().createObject("", "A", ""); }).getFunction(), "setPath");
}

TEST_F(ObjectFactoryTest, AnswersQueriesAboutTypes)
{
  Category::addCategory("c");
  auto a = prototype("A", {{"out", "String", "1"}, {"in", "String", "2"}});
  PrototypeEditor editor(static_cast<DataKSLObject&>(*a));
  editor.findParam("in")->setInternal(true);
  editor.setCategory("c");
  factory().addObject(prototype("B"));
  factory().addObject(std::move(a));
  using Texts = std::vector<std::string>;
  using Values = std::map<std::string, std::string>;

  EXPECT_EQ(factory().getObjectTypes(), (Texts{"A", "B"}));
  EXPECT_EQ(factory().getTypesByCategory("c"), Texts{"A"});
  EXPECT_EQ(factory().getTypesByCategory("unknown"), Texts{});
  EXPECT_EQ(factory().getParamsForObjectType("A"), (Values{{"out", "1"}}));
  EXPECT_EQ(factory().getParamsForObjectType("A", true), (Values{{"in", "2"}, {"out", "1"}}));
  EXPECT_EQ(factory().getFilteredParamNames("A", internalParams), Texts{"in"});
  EXPECT_EQ(factory().getFilteredParamNames("none", allParams), Texts{});

  ObjectFactory::destroyInstance();
  EXPECT_FALSE(factory().hasObject("A"));
  EXPECT_TRUE(Category::getCategories().empty());
}

TEST_F(ObjectFactoryTest, PlainObjectsHaveNoSchedulers)
{
  const auto object = makeObject("", "A", "x");
  PrototypeEditor editor(*object);
  const auto refused = [](const char* message) {
    return ErrorMsg("DataKSLObject", "addScheduler", message, 4);
  };
  EXPECT_EQ(errorOf([&] { editor.addScheduler("s"); }),
            refused("Cannot add scheduler to type DataKSLObject."));
  EXPECT_EQ(errorOf([&] { editor.addSchedulerLink("s", "t"); }),
            refused("Cannot add scheduler to type DataKSLObject."));
  EXPECT_EQ(errorOf([&] { editor.addFunction("s", "l", "f"); }),
            refused("Cannot add function to type DataKSLObject."));
  EXPECT_EQ(errorOf([&] { object->getSchedulerObject("s"); }).getMessage(),
            "Scheduler type 's' for object type 'A' not found.");
}

}  // namespace
}  // namespace orv::test
