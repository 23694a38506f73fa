#include "database/ObjectFactory.h"

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
  factory().addObject(prototype("A", {{"first"}}));
  auto twin = prototype("A", {{"second"}});
  EXPECT_EQ(errorOf([&] { factory().addObject(std::move(twin)); }),
            factoryError("addObject", "Duplicate data: KSLObject type 'A' already exists."));
  EXPECT_TRUE(twin->hasParam("second"));
  factory().addParam(makeParam({"p"}));
  auto param = makeParam({"p"});
  EXPECT_EQ(errorOf([&] { factory().addParam(param.get()); }),
            factoryError("addParameter", "Duplicate data: Parameter 'p' already exists."));
}

}  // namespace
}  // namespace orv::test
