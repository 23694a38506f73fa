#include "database/KSLObject.h"

#include "platform/ORVKSLAPI.h"
#include "database/DependentUpdates.h"
#include "database/KSLCoreTreeAndLeafModel.h"
#include "TestObjects.h"
#include "tests/support/TestSystem.h"

#include <deque>
#include <map>
#include <rapidcheck.h>
#include <set>
#include <tuple>

namespace orv::test {
namespace {

class KSLObjectTest : public DatabaseTest {};

ErrorMsg objectError(const char* function, const std::string& message)
{
  return {"KSLObject", function, message, 4};
}

TEST_F(KSLObjectTest, IdentityIsGivenOnceAndChecked)
{
  DataKSLObject object;
  EXPECT_EQ(errorOf([&] { object.initialize("/P:p", "n"); }),
            objectError("setPath",
                        "Attempt to set object path from parent '/P:p' and name 'n' before type is known."));
  PrototypeEditor(object).setType("LIGHT", true);
  EXPECT_EQ(errorOf([&] { object.initialize(""); }),
            objectError("setPath", "Input parameter p_name is empty."));
  EXPECT_EQ(errorOf([&] { object.initialize("/P:p", "n"); }),
            objectError("initialize", "'LIGHT' is a singleton object, but name 'n' does not equal type."));
  object.initialize("/P:p", "LIGHT");
  EXPECT_EQ(object.getPath() + " " + object.getTypeNameString(), "/P:p/LIGHT LIGHT:");
  EXPECT_EQ(errorOf([&] { object.initialize("LIGHT"); }),
            objectError("setPath", "Object 'LIGHT' already initialized."));
  KSLObject::supportOldStylePaths();
  EXPECT_EQ(makeObject("P:p/", "B", "y")->getPath(), "/P:p/B:y");
  using Pair = std::pair<std::string, std::string>;
  EXPECT_EQ(KSLObject::splitObjectTypeAndName(R"(A: " no #1 " # the first)"), Pair("A", "no #1"));
  EXPECT_EQ(
      errorOf([] { KSLObject::splitObjectTypeAndName("A # b:c"); }),
      objectError("splitObjectTypeAndName",
                  "Invalid object definition, expected: '<objectType>:<objectName>', received: 'A # b:c'"));
}

TEST_F(KSLObjectTest, FindsRelativeObjects)
{
  for (const auto& [parent, type, name] : {std::tuple("", "A", "top"),
                                           {"/A:top", "B", "mid"},
                                           {"/A:top/B:mid", "C", "low"},
                                           {"/A:top/B:mid/C:low", "E", "deep"},
                                           {"/A:top", "T", "target"},
                                           {"/A:top", "D", "mid"},
                                           {"", "U", "target"},
                                           {"/U:target", "V", "inside"},
                                           {"", "W", "twin"},
                                           {"", "X", "twin"},
                                           {"/A:top", "S", "S"}})
    add(parent, type, name);
  KSLObject* const low = db().getObjectByPath("/A:top/B:mid/C:low");
  const auto found = [low](const char* path) {
    std::string text;
    const ErrorMsg error = errorOf([&] { text = low->getRelativeObject(path)->getPath(); });
    return text + (text.empty() && !error.getMessage().empty() ? toText(error) : "");
  };
  const std::string byName = "error[4] KSLObject::getRelativeObjectInternal: ";
  const std::string byBoth = "error[4] KSLObject::getChildObjectByNameAndType: ";
  const std::pair<const char*, std::string> here[] = {
      {"", "/A:top/B:mid/C:low"},
      {"deep", "/A:top/B:mid/C:low/E:deep"},
      {"../../..//./U:target/inside", "/U:target/V:inside"},
      {"../../S:", "/A:top/S"},
      {"../../S", "/A:top/S"},
      {"../../..", ""},
      {"/A:top/D:mid/", "/A:top/D:mid"},
      {"/top/S", "/A:top/S"},
      {"../../mid", byName + "More than one object with name 'mid' exists."},
      {"target", byName + "No object with name 'target' exists."},
      {"../C:z", byBoth + "Object 'C:z' does not exist."},
      {"/A:top/none", "error[4] GenericKSLObject::makeParentLinks: Object '/A:top/none' does not exist."},
  };
  for (const auto& [path, expected] : here)
    EXPECT_EQ(found(path), expected) << path;

  low->setSearchUpForRelativeObjects(true);
  const std::pair<const char*, std::string> upward[] = {
      {"target", "/A:top/T:target"},
      {"target/V:inside", "/U:target/V:inside"},  // the whole path counts
      {"target/inside", "/U:target/V:inside"},
      {"twin", byName + "More than one object with name 'twin' exists."},
      {"none/x", byName + "No object with name 'none' exists."},
      {"T:target", byBoth + "Object 'T:target' does not exist."},
      {"../target", byName + "No object with name 'target' exists."},  // not upward from there
  };
  for (const auto& [path, expected] : upward)
    EXPECT_EQ(found(path), expected) << path;
}

// ------------------------------------------------------------------------------------- parameters against a model

// An object, and what one that shares nothing would hold.
struct Twin {
  struct Param {
    std::string defaultValue, value;
    bool set = false, changed = false;
  };
  std::unique_ptr<Listener> listener = std::make_unique<Listener>();  // outlives the object
  std::unique_ptr<DataKSLObject> object;
  std::map<std::string, Param> params;
  std::map<std::string, const ParamDefinition*> held;
  bool observed = false;
  std::string heard;

  std::string text() const
  {
    std::string out;
    for (const auto& [name, param] : params)
      out += name + "=" + param.value + (param.set ? " set" : "") + (param.changed ? " changed\n" : "\n");
    return out;
  }
  void set(const std::string& name, const std::string& value, bool byHand)
  {
    params[name] = {params[name].defaultValue, value, byHand, true};
    if (observed && !byHand && value.empty())
      heard += "deleted " + name + "\n";
    else if (observed)
      heard += "changed " + name + " = " + value + (byHand ? " (set)\n" : "\n");
  }
  Twin clone(const std::string& name) const
  {
    Twin copy;
    copy.object.reset(static_cast<DataKSLObject*>(object->clone()));
    copy.object->initialize(name);
    for (const auto& [own, param] : params)
      copy.params[own] = {param.defaultValue, param.value};
    return copy;
  }
};

void act(std::deque<Twin>& family, Twin& twin, const std::string& name, const std::string& value)
{
  const bool known = twin.params.count(name) != 0;
  switch (*rc::gen::inRange(0, 9)) {
    case 0:
      if (family.size() < 7)
        family.push_back(twin.clone("o" + std::to_string(family.size())));
      break;
    case 1:
      twin.observed = !twin.observed;
      twin.object->registerObjectChangeNotify(twin.observed ? twin.listener.get() : nullptr);
      break;
    case 2:
      RC_ASSERT(errorOf([&] { PrototypeEditor(*twin.object).removeParameter(name); }).getMessage()
                == (known ? "" : "Parameter '" + name + "' does not exist."));
      if (known && twin.observed)
        twin.heard += "deleted " + name + "\n";
      twin.held.erase(name);
      twin.params.erase(name);
      break;
    case 3:
      if (!known) {
        PrototypeEditor(*twin.object).addParameter(makeParam({name.c_str(), "String", value.c_str()}));
        twin.heard += twin.observed ? "changed " + name + " = " + value + "\n" : "";
        twin.params[name] = {value, value};
      }
      break;
    case 4:
      twin.object->unsetParam(name);
      if (known) {
        twin.set(name, twin.params[name].defaultValue, true);
        twin.set(name, twin.params[name].defaultValue, false);
      }
      break;
    case 5:
      if (known)
        twin.held[name] = twin.object->getParam(name);
      break;
    default:
      if (known) {
        const std::string old = twin.object->getPath() + "/" + name + " = " + twin.params[name].value;
        RC_ASSERT(twin.object->setValue(name, value) == old);
        twin.set(name, value, true);
      }
  }
}

TEST_F(KSLObjectTest, SharedParametersCannotBeToldFromOwnOnes)
{
  EXPECT_TRUE(rc::check([] {
    std::deque<Twin> family(1);
    family[0].object = makeObject("", "A", "x", {{"a", "", "auto"}, {"m", "", "auto"}});
    family[0].params = {{"a", {"auto", "auto"}}, {"m", {"auto", "auto"}}};
    for (int steps = *rc::gen::inRange(0, 60); steps > 0; --steps) {
      act(family, family[*rc::gen::inRange<std::size_t>(0, family.size())],
          *rc::gen::element<std::string>("a", "m", "z"), *rc::gen::element<std::string>("", "on", "2.5 [m]"));
      std::set<const ParamDefinition*> holders;
      for (Twin& twin : family) {
        RC_ASSERT(textOf(*twin.object) == twin.text());
        RC_ASSERT(twin.listener->take() == std::exchange(twin.heard, {}));
        for (const auto& [name, param] : twin.held) {
          RC_ASSERT(twin.object->getParam(name) == param);
          RC_ASSERT(param->getName() + param->getValue() == name + twin.params[name].value);
          RC_ASSERT(holders.insert(param).second);
        }
      }
    }
  }));
}

TEST_F(KSLObjectTest, ReadingAndRefusedValuesTakeNoMemory)
{
  auto* rules = new ParamDefinition::Rules;
  rules->name = "fixed";
  rules->defaultValue = "none";
  rules->setAllowedValues({"on"});
  const auto original = makeObject("", "A", "x", {{"a"}, {"m", "String", "1"}});
  PrototypeEditor(*original).addParameter(
      std::make_unique<ParamDefinition>(refcnt_ptr<const ParamDefinition::Rules>(rules)));
  const std::unique_ptr<KSLObject> twin(original->clone());
  const std::unique_ptr<KSLObject> copy(original->clone());
  copy->initialize("y");
  EXPECT_EQ(copy->getIntValue("m"), 1);
  const ErrorMsg refused("ParamDefinition", "setValue", "Parameter 'fixed' cannot have value 'off'.", 4);
  EXPECT_EQ(errorOf([&] { copy->setValue("fixed", "off"); }), refused);
  EXPECT_EQ(errorOf([&] { copy->setValueWithoutPending("fixed", "off"); }), refused);
  copy->unsetParam("fixed");  // to a default that is not allowed
  for (const char* name : {"m", "fixed"})
    EXPECT_EQ(copy->lookUpParam(name), twin->lookUpParam(name));
  Listener listener;
  copy->registerObjectChangeNotify(&listener);
  copy->unsetParam("fixed");
  EXPECT_EQ(listener.take(), "changed fixed = none\n") << "but whoever observes wants to know";
  copy->registerObjectChangeNotify(nullptr);
  EXPECT_EQ(errorOf([&] { copy->getParam("b"); }),
            objectError("getParam", "Parameter 'b' does not exist on object /A:y."));
  std::string seen;  // by one who keeps what is shown, and another parameter
  copy->forEachParam([&](const ParamDefinition& param) {
    seen += copy->getParam(param.getName())->getName() + copy->getParam("a")->getName() + " ";
  });
  EXPECT_EQ(seen, "aa fixeda ma ");
}

TEST_F(KSLObjectTest, SetValueRecordsWhatUndoNeeds)
{
  auto object = makeObject("/P:p", "A", "x", {{"on", "Logical", "True"}, {"text", "String", "old"}});
  EXPECT_EQ(object->setValue("on", "Yes"), "/P:p/A:x/on = Yes");
  EXPECT_EQ(object->setValue("on", "Off"), "/P:p/A:x/on = Yes");
  EXPECT_EQ(object->setValue("on", "perhaps"), "/P:p/A:x/on = Off");
  EXPECT_EQ(object->setValue("on", "perhaps"), "/P:p/A:x/on = perhaps");
  object->clearChangedParameters({"on", "none"});
  EXPECT_FALSE(object->isParamChanged("on"));
  EXPECT_EQ(object->setValueWithoutPending("text", "new"), "old");
  EXPECT_EQ(errorOf([&] { object->setValueWithoutPending("none", ""); }),
            ErrorMsg("DataKSLObject", "setValue", "Parameter 'none' is not recognized.", 4));
}

// Prefers what the variable or quantity is called, and millimetres for lengths.
class NamedUnits : public UnitSystemHandler {
 public:
  NamedUnits() : m_before(setCurrent(this)) {}
  ~NamedUnits() override { setCurrent(m_before); }
  std::string getPreferredUnitsForQuantity(const std::string&) const override { return "min"; }
  std::string getPreferredUnitsForVariable(const std::string& name) const override
  {
    return name == "Speed" ? "km" : "cm";
  }
  std::string getPreferredUnitsFromUnits(const std::string& units, const std::string&) const override
  {
    return units == "m" ? "mm" : "";
  }

 private:
  UnitSystemHandler* m_before;
};

TEST_F(KSLObjectTest, GivesValuesInTheUnitsPeopleWant)
{
  const NamedUnits system;
  const std::initializer_list<ParamSpec> specs = {{"Min", "", "120 [s]"},    {"Max", "", "2 [m]"},
                                                  {"Value", "", "1 [m],x"},  {"Length", "", "1 [m]"},
                                                  {"Variable", "", "Speed"}, {"Colour Variable", "", "Other"},
                                                  {"Colour Mode", "", ""},   {"User Units", "", ""}};
  auto object = makeObject("", "A", "x", specs);
  PrototypeEditor(*object).findParam("Length")->setInternal(true);
  const auto range = [&](const char* mode) {
    object->setValue("Colour Mode", mode);
    const auto values = object->getParams(UnitSystemTypes::preferred, false);
    return values.at("Min") + " " + values.at("Max") + " " + values.at("Value");
  };
  EXPECT_EQ(range("Use Plot Variable"), "120 [s] 0.002 0.001,x");
  EXPECT_EQ(range("Variable"), "120 [s] 200 0.001,x");
  EXPECT_EQ(range("Time"), "2 2 [m] 0.001,x");
  EXPECT_EQ(range("Constant"), "120 2000 0.001,x");
  object->setValue("User Units", "cm");
  EXPECT_EQ(range("Time"), "120 [s] 200 100,x");
  EXPECT_EQ(object->getInternalParams(UnitSystemTypes::preferred, false),
            (std::map<std::string, std::string>{{"Length", "100"}}));
  EXPECT_EQ(object->getParams(UnitSystemTypes::asStored, false).at("Min"), "120 [s]");
}

TEST_F(KSLObjectTest, DeletedObjectsLeaveTheListsThatNameThem)
{
  KSLObject* const user =
      add("", "U", "u", {{"List", "", ""}, {"Other", "", ""}, {"Disjoint", "", ""}, {"Full", "", ""}});
  user->setValue("List", "/A:a, a , /B:b/A:a,b, gone");  // no default, which would wait
  user->setValue("Other", "/B:b");
  user->setValue("Disjoint", "x,y");
  user->setValue("Full", "b");
  KSLObject* const a = add("", "A", "a");
  KSLObject* const b = add("", "B", "b");
  add("/B:b", "A", "a");
  add("", "C", "gone")->addDependent(a, user->getParam("List"));  // no such parameter on it
  a->addDependent(user, user->getParam("List"));
  b->addDependent(user, user->getParam("List"));
  b->addDependent(user, user->getParam("Other"));
  const KSLCoreTreeAndLeafModel model;
  DependentUpdates updates;
  a->addToDependentUpdates(&updates);
  b->addToDependentUpdates(&updates);
  db().getObjectByPath("/C:gone")->addToDependentUpdates(&updates);
  updates.setModifiedParam("/U:none", "List", "x", false);
  updates.setModifiedParam("/U:u", "Other", "c,a", true);
  updates.setModifiedParam("/U:u", "Other", "a,b,c", true);
  updates.getExternalChanges(&model);  // made again after what follows
  for (const char* left : {"x", "y"})  // nothing is named by both
    updates.setModifiedParam("/U:u", "Disjoint", left, false);
  for (const auto& [param, value] : {std::pair("Full", "b"), std::pair("Disjoint", "was changed")})
    updates.setGoing("/B:b", "/U:u", *user->getParam(param), [&] {
      return DependentUpdates::References{.value = value,
                                          .items = {{"/B:b", "b"}},
                                          .whenEmpty = "none",
                                          .internal = true,
                                          .reportedAt = db().changeCount()};
    });

  EXPECT_EQ(TestSystem::render(*updates.getExternalChanges(&model)),
            "change /U:u Disjoint =  (x,y)\nchange /U:u List = gone (/A:a, a , /B:b/A:a,b, gone)\n"
            "change /U:u Other =  (/B:b)\n");
  EXPECT_EQ(TestSystem::render(*updates.getInternalChanges(&model)),
            "change /U:u Full = none (b)\nchange /U:u Other = a,c (/B:b)\n");
}

}  // namespace
}  // namespace orv::test
