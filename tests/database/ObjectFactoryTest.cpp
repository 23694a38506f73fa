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

TEST_F(ObjectFactoryTest, RefusedPrototypesStayTheCallers)
{
  DataKSLObject::registerBaseType();
  EXPECT_EQ(errorOf([] { DataKSLObject::registerBaseType(); }),
            factoryError("registerBaseType",
                         "Duplicate data: KSLObject base type 'DataKSLObject' already exists."));
  EXPECT_EQ(errorOf([&] { factory().registerBaseType("", prototype("A")); }),
            factoryError("registerBaseType", "Invalid KSLObject. $1 field is empty."));
  EXPECT_EQ(errorOf([] { factory().createBaseType("Other"); }),
            factoryError("createBaseType", "Could not find base type: Other"));
  EXPECT_EQ(errorOf([] { factory().registerBaseType("N", static_cast<KSLObject*>(nullptr)); }).getMessage(),
            "Input parameter p_prototype is a null pointer.");

  factory().addObject(prototype("A", {{"first"}}));
  auto twin = prototype("A", {{"second"}});
  EXPECT_EQ(errorOf([&] { factory().addObject(std::move(twin)); }),
            factoryError("addObject", "Duplicate data: KSLObject type 'A' already exists."));
  EXPECT_TRUE(twin->hasParam("second"));
  EXPECT_TRUE(factory().findPrototype("A")->hasParam("first"));
  EXPECT_EQ(errorOf([&] { factory().addObject(prototype("")); }),
            factoryError("addObject", "Invalid KSLObject. $1 field is empty."));

  factory().addParam(makeParam({"p"}));
  auto param = makeParam({"p"});
  EXPECT_EQ(errorOf([&] { factory().addParam(param.get()); }),
            factoryError("addParameter", "Duplicate data: Parameter 'p' already exists."));
}

TEST_F(ObjectFactoryTest, ObjectsCarryWhatTheirPrototypeHas)
{
  Category::addCategory("deletable");
  auto made = prototype("A", {{"out", "String", "default"}, {"in", "String", "2"}});
  PrototypeEditor editor(static_cast<DataKSLObject&>(*made));
  editor.setCategory("deletable");
  editor.findParam("in")->setInternal(true);
  made->setObjectRules(refcnt_ptr<const ObjectRules>(new ObjectRules(ObjectRulesDef())));
  made->addDependent(made.get(), made->getParam("out"));
  factory().addObject(prototype("B"));
  factory().addObject(std::move(made));

  const auto object = factory().createObject("/P:p", "A", "x");
  EXPECT_EQ(object->getPath(), "/P:p/A:x");
  EXPECT_TRUE(object->isA("A") && object->isA("deletable") && !object->isA("B"));
  EXPECT_EQ(object->getObjectRules(), factory().getObjectRules("A"));
  EXPECT_NE(object->getObjectRules(), nullptr);
  EXPECT_TRUE(object->getDependents().empty());
  object->setValue("out", "own");
  EXPECT_EQ(factory().createObject("A", "y")->getValue("out"), "default");
  EXPECT_EQ(errorOf([] { factory().createObject("", "N", "x"); }),
            factoryError("createObject", "Could not find object: N"));
  EXPECT_EQ(errorOf([] { factory().createObject("", "A", ""); }).getFunction(), "setPath");

  using Texts = std::vector<std::string>;
  using Values = std::map<std::string, std::string>;
  EXPECT_EQ(factory().getObjectTypes(), (Texts{"A", "B"}));
  EXPECT_EQ(factory().getTypesByCategory("deletable"), Texts{"A"});
  EXPECT_EQ(factory().getTypesByCategory("unknown"), Texts{});
  EXPECT_EQ(factory().getParamsForObjectType("A"), (Values{{"out", "default"}}));
  EXPECT_EQ(factory().getParamsForObjectType("A", true), (Values{{"in", "2"}, {"out", "default"}}));
  EXPECT_EQ(factory().getFilteredParamNames("A", internalParams), Texts{"in"});
  EXPECT_EQ(factory().getFilteredParamNames("none", allParams), Texts{});
  ObjectFactory::destroyInstance();
  EXPECT_FALSE(factory().hasObject("A"));
  EXPECT_TRUE(Category::getCategories().empty());
}

}  // namespace
}  // namespace orv::test
