#include "database/KSLObject.h"

#include "platform/ORVKSLAPI.h"
#include "database/DependentUpdates.h"
#include "database/KSLCoreTreeAndLeafModel.h"
#include "TestObjects.h"
#include "tests/support/TestSystem.h"

#include <map>
#include <rapidcheck.h>

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
  EXPECT_EQ(object.getPath(), "");
  object.initialize("/P:p", "LIGHT");
  EXPECT_EQ(object.getPath() + " " + object.getTypeNameString(), "/P:p/LIGHT LIGHT:");
  EXPECT_EQ(errorOf([&] { object.initialize("LIGHT"); }),
            objectError("setPath", "Object 'LIGHT' already initialized."));
  EXPECT_EQ(makeObject("", "B", "y z")->getTypeNameString(), "B:y z");
  KSLObject::supportOldStylePaths();
  EXPECT_EQ(makeObject("P:p/", "B", "y")->getPath(), "/P:p/B:y");

  using Pair = std::pair<std::string, std::string>;
  EXPECT_EQ(KSLObject::splitObjectTypeAndName(R"(A: " no #1 " # the first)"), Pair("A", "no #1"));
  EXPECT_EQ(KSLObject::splitObjectTypeAndName("SETUP: # none"), Pair("SETUP", "SETUP"));
  EXPECT_EQ(
      errorOf([] { KSLObject::splitObjectTypeAndName("A # b:c"); }),
      objectError("splitObjectTypeAndName",
                  "Invalid object definition, expected: '<objectType>:<objectName>', received: 'A # b:c'"));
}

TEST_F(KSLObjectTest, FindsRelativeObjects)
{
  for (const char* name : {"x", "solo"})
    add("", "A", name);
  add("/A:x", "C", "z");
  add("/A:x", "B", "y");
  add("/A:x", "D", "y");
  add("/A:x", "S", "S");
  add("/A:x/C:z", "E", "deep");
  KSLObject* const from = db().getObjectByPath("/A:x/C:z");

  const std::pair<const char*, const char*> found[] = {
      {"", "/A:x/C:z"},          {".", "/A:x/C:z"},      {"deep", "/A:x/C:z/E:deep"},
      {"../B:y", "/A:x/B:y"},    {"..//./S:", "/A:x/S"}, {"../S", "/A:x/S"},
      {"/A:x/D:y/", "/A:x/D:y"}, {"../../..", ""},       {"/x/z/deep", "/A:x/C:z/E:deep"},
      {"/solo", "/A:solo"},
  };
  for (const auto& [path, expected] : found)
    EXPECT_EQ(from->getRelativeObject(path)->getPath(), expected) << path;

  const auto errorAt = [from](const char* path) { return errorOf([=] { from->getRelativeObject(path); }); };
  EXPECT_EQ(errorAt("../y"),
            objectError("getRelativeObjectInternal", "More than one object with name 'y' exists."));
  EXPECT_EQ(errorAt("solo"), objectError("getRelativeObjectInternal", "No object with name 'solo' exists."));
  EXPECT_EQ(errorAt("../B:z"), objectError("getChildObjectByNameAndType", "Object 'B:z' does not exist."));
  EXPECT_EQ(errorAt("/A:x/none"),
            ErrorMsg("GenericKSLObject", "makeParentLinks", "Object '/A:x/none' does not exist.", 4));
}

TEST_F(KSLObjectTest, SearchesUpwardForTheWholePath)
{
  add("", "A", "top");
  add("/A:top", "B", "mid");
  add("/A:top/B:mid", "C", "low");
  add("/A:top", "T", "target");
  add("", "U", "target");
  add("/U:target", "V", "inside");
  add("", "W", "twin");
  add("", "X", "twin");
  KSLObject* const low = db().getObjectByPath("/A:top/B:mid/C:low");
  low->setSearchUpForRelativeObjects(true);

  for (const auto& [path, expected] : {std::pair("target", "/A:top/T:target"),
                                       {"target/V:inside", "/U:target/V:inside"},
                                       {"target/inside", "/U:target/V:inside"},
                                       {"twin", "More than one object with name 'twin' exists."},
                                       {"none/x", "No object with name 'none' exists."},
                                       {"T:target", "Object 'T:target' does not exist."},
                                       // from where the search does not go up
                                       {"../target", "No object with name 'target' exists."}}) {
    std::string found;
    const std::string error = errorOf([&] { found = low->getRelativeObject(path)->getPath(); }).getMessage();
    EXPECT_EQ(found + error, expected) << path;
  }
}

// ------------------------------------------------------------------------------------- parameters against a model

// A parameter as an object that shares nothing would hold it.
struct ModelParam {
  std::string defaultValue, value;
  bool set = false, changed = false, internal = false;
};

struct ModelObject {
  std::map<std::string, ModelParam> params;
  bool observed = false;
  std::string heard;

  void tell(const std::string& name)
  {
    const ModelParam& param = params.at(name);
    if (observed && !param.set && param.value.empty())
      heard += "deleted " + name + "\n";
    else if (observed)
      heard += "changed " + name + " = " + param.value + (param.set ? " (set)" : "") + "\n";
  }
  void set(const std::string& name, const std::string& value)
  {
    ModelParam& param = params.at(name);
    param.value = value;
    param.set = param.changed = true;
    tell(name);
  }
  void unset(const std::string& name)
  {
    if (!params.count(name))
      return;
    if (name != "fixed" || params[name].defaultValue == "on")
      set(name, params[name].defaultValue);
    params[name].set = false;
    tell(name);
  }
  ModelObject clone() const
  {
    ModelObject copy;
    for (const auto& [name, param] : params)
      copy.params[name] = {param.defaultValue, param.value, false, false, param.internal};
    return copy;
  }
  std::string text() const
  {
    std::string out;
    for (const auto& [name, param] : params)
      out += name + "=" + param.value + (param.set ? " set" : "") + (param.changed ? " changed" : "")
             + (param.internal ? " internal\n" : "\n");
    return out;
  }
};

// A prototype and what is cloned from it, each with its twin in the model.
class Family {
 public:
  Family()
  {
    add(std::make_unique<DataKSLObject>(), {});
    PrototypeEditor(*m_objects[0]).setType("A", false);
  }
  std::size_t size() const { return m_objects.size(); }

  void act(std::size_t which, int action, const std::string& name, const std::string& value)
  {
    DataKSLObject& object = *m_objects[which];
    ModelObject& model = m_models[which];
    const bool known = model.params.count(name) != 0;
    switch (action) {
      case 0:
        addParam(object, model, name, value);
        break;
      case 1:
        RC_ASSERT(errorOf([&] { PrototypeEditor(object).removeParameter(name); }).getMessage()
                  == (known ? "" : "Parameter '" + name + "' does not exist."));
        if (model.params.erase(name) && model.observed)
          model.heard += "deleted " + name + "\n";
        std::erase_if(m_held, [&](const Held& held) { return held.object == which && held.name == name; });
        break;
      case 2:
        object.unsetParam(name);
        model.unset(name);
        break;
      case 3:
        clone(which);
        break;
      case 4:
        object.registerObjectChangeNotify(model.observed ? nullptr : m_listeners[which].get());
        model.observed = !model.observed;
        break;
      case 5:
        if (ParamDefinition* param = PrototypeEditor(object).findParam(name)) {
          param->setInternal(!param->isInternal());
          model.params[name].internal = !model.params[name].internal;
        }
        break;
      case 6:
        object.clearChangedParameters({name, "none"});
        if (known)
          model.params[name].changed = false;
        break;
      case 7:
        if (known)
          m_held.push_back({which, name, object.getParam(name)});
        break;
      default:
        setValue(object, model, name, value);
    }
  }

  void compare() const
  {
    for (std::size_t i = 0; i < m_objects.size(); ++i) {
      RC_ASSERT(textOf(*m_objects[i]) == m_models[i].text());
      RC_ASSERT(m_listeners[i]->take() == m_models[i].heard);
      m_models[i].heard.clear();
    }
    std::map<const ParamDefinition*, std::size_t> holders;
    for (const auto& [which, name, param] : m_held) {
      RC_ASSERT(m_objects[which]->getParam(name) == param);
      RC_ASSERT(param->getName() + param->getValue() == name + m_models[which].params.at(name).value);
      RC_ASSERT(holders.emplace(param, which).first->second == which);
    }
  }

 private:
  struct Held {
    std::size_t object;
    std::string name;
    const ParamDefinition* param;
  };

  void add(std::unique_ptr<DataKSLObject> object, ModelObject model)
  {
    m_objects.push_back(std::move(object));
    m_models.push_back(std::move(model));
    m_listeners.push_back(std::make_unique<Listener>());
  }
  static void addParam(DataKSLObject& object, ModelObject& model, const std::string& name,
                       const std::string& value)
  {
    auto rules = std::make_unique<ParamDefinition::Rules>();
    rules->name = name;
    rules->defaultValue = value;
    if (name == "fixed")
      rules->setAllowedValues({"on", "off"});
    auto param = std::make_unique<ParamDefinition>(refcnt_ptr<const ParamDefinition::Rules>(rules.release()));
    const ErrorMsg error = errorOf([&] { PrototypeEditor(object).addParameter(std::move(param)); });
    RC_ASSERT((param != nullptr) == (model.params.count(name) != 0));
    if (param) {
      RC_ASSERT(error
                == objectError("addParameter", "Duplicate data: Parameter '" + name + "' already exists."));
      return;
    }
    model.params[name] = {value, value};
    if (model.observed)
      model.heard += "changed " + name + " = " + value + "\n";
  }
  static void setValue(DataKSLObject& object, ModelObject& model, const std::string& name,
                       const std::string& value)
  {
    const std::string old = model.params.count(name) ? model.params[name].value : "";
    std::string line;
    const std::string error = errorOf([&] { line = object.setValue(name, value); }).getMessage();
    if (!model.params.count(name)) {
      RC_ASSERT(error == "Parameter '" + name + "' is not recognized on object '" + object.getPath() + "'.");
    } else if (name == "fixed" && value != "on") {
      RC_ASSERT(error == "Parameter 'fixed' cannot have value '" + value + "'.");
    } else {
      model.set(name, value);
      RC_ASSERT(line == object.getPath() + "/" + name + " = " + old);
    }
  }
  void clone(std::size_t which)
  {
    if (size() > 6)
      return;
    std::unique_ptr<DataKSLObject> copy(static_cast<DataKSLObject*>(m_objects[which]->clone()));
    if (size() % 3)
      copy->initialize("o" + std::to_string(size()));
    add(std::move(copy), m_models[which].clone());
  }

  std::vector<std::unique_ptr<Listener>> m_listeners;  // outlive the objects
  std::vector<std::unique_ptr<DataKSLObject>> m_objects;
  mutable std::vector<ModelObject> m_models;
  std::vector<Held> m_held;
};

TEST_F(KSLObjectTest, SharedParametersCannotBeToldFromOwnOnes)
{
  EXPECT_TRUE(rc::check([] {
    Family family;
    for (const char* name : {"m", "fixed", "a"})
      family.act(0, 0, name, "auto");
    const auto steps = *rc::gen::inRange(0, 60);
    for (int step = 0; step < steps; ++step) {
      const auto which = *rc::gen::inRange<std::size_t>(0, family.size());
      const auto name = *rc::gen::element<std::string>("a", "fixed", "m", "z");
      const auto value = *rc::gen::element<std::string>("", "on", "2.5 [m]");
      family.act(which, *rc::gen::inRange(0, 11), name, value);
      family.compare();
    }
  }));
}

TEST_F(KSLObjectTest, ReadingAndRefusedValuesTakeNoMemory)
{
  auto rules = std::make_unique<ParamDefinition::Rules>();
  rules->name = "fixed";
  rules->defaultValue = "none";
  rules->setAllowedValues({"on"});
  const auto original = makeObject("", "A", "x", {{"a"}, {"m", "String", "1"}});
  PrototypeEditor(*original).addParameter(
      std::make_unique<ParamDefinition>(refcnt_ptr<const ParamDefinition::Rules>(rules.release())));
  const std::unique_ptr<KSLObject> twin(original->clone());
  const std::unique_ptr<KSLObject> copy(original->clone());
  EXPECT_EQ(copy->getIntValue("m"), 1);
  const ErrorMsg refused("ParamDefinition", "setValue", "Parameter 'fixed' cannot have value 'off'.", 4);
  EXPECT_EQ(errorOf([&] { copy->setValue("fixed", "off"); }), refused);
  EXPECT_EQ(errorOf([&] { copy->setValueWithoutPending("fixed", "off"); }), refused);
  copy->unsetParam("fixed");  // to a default that is not allowed
  for (const char* name : {"m", "fixed"})
    EXPECT_EQ(copy->lookUpParam(name), twin->lookUpParam(name));
  EXPECT_NE(copy->getParam("m"), twin->getParam("m"));
  Listener listener;
  copy->registerObjectChangeNotify(&listener);
  copy->unsetParam("fixed");
  EXPECT_EQ(listener.take(), "changed fixed = none\n");

  copy->initialize("y");
  for (const bool read : {false, true})
    EXPECT_EQ(errorOf([&] { read ? (void)copy->getValue("b") : (void)copy->getParam("b"); }),
              objectError("getParam", "Parameter 'b' does not exist on object /A:y."));
}

// As a view that shows one parameter beside the others may do.
TEST_F(KSLObjectTest, VisitorsMayKeepParameters)
{
  const auto original = makeObject("", "A", "x", {{"a"}, {"b"}, {"c"}});
  const std::unique_ptr<KSLObject> copy(original->clone());
  copy->setValue("b", "1");
  std::string seen;
  copy->forEachParam([&](const ParamDefinition& param) {
    copy->getParam("a");
    seen += copy->getParam(param.getName())->getName() + param.getValue();
  });
  EXPECT_EQ(seen, "ab1c");
}

TEST_F(KSLObjectTest, SetValueRecordsWhatUndoNeeds)
{
  auto object = makeObject("/P:p", "A", "x", {{"on", "Logical", "True"}, {"text", "String", "old"}});
  EXPECT_EQ(object->setValue("text", "new"), "/P:p/A:x/text = old");
  EXPECT_EQ(object->setValue("on", "Yes"), "/P:p/A:x/on = Yes");
  EXPECT_EQ(object->setValue("on", "Off"), "/P:p/A:x/on = Yes");
  EXPECT_EQ(object->setValue("on", "perhaps"), "/P:p/A:x/on = Off");
  EXPECT_EQ(object->setValue("on", "perhaps"), "/P:p/A:x/on = perhaps");
  EXPECT_EQ(object->setValueWithoutPending("text", "newer"), "new");
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
  EXPECT_EQ(range("Speed"), "120 [s] 0.002 0.001,x");
  object->setValue("User Units", "cm");
  EXPECT_EQ(range("Time"), "120 [s] 200 100,x");
  EXPECT_EQ(object->getInternalParams(UnitSystemTypes::preferred, false),
            (std::map<std::string, std::string>{{"Length", "100"}}));
  EXPECT_EQ(object->getParams(UnitSystemTypes::asStored, false).at("Min"), "120 [s]");
}

TEST_F(KSLObjectTest, DeletedObjectsLeaveTheListsThatNameThem)
{
  KSLObject* const user = add("", "U", "u", {{"List", "", ""}, {"Other", "", ""}});
  user->setValue("List", "/A:a, a , /B:b/A:a,b, gone");  // no default, which would wait
  user->setValue("Other", "/B:b");
  KSLObject* const a = add("", "A", "a");
  KSLObject* const b = add("", "B", "b");
  add("/B:b", "A", "a");
  add("", "C", "gone")->addDependent(a, user->getParam("List"));  // no such parameter on it
  a->addDependent(user, user->getParam("List"));
  b->addDependent(user, user->getParam("List"));
  b->addDependent(user, user->getParam("Other"));
  DependentUpdates updates;
  a->addToDependentUpdates(&updates);
  b->addToDependentUpdates(&updates);
  db().getObjectByPath("/C:gone")->addToDependentUpdates(&updates);
  updates.setModifiedParam("/U:none", "List", "x", false);
  updates.setModifiedParam("/U:u", "Other", "c,a", true);
  updates.setModifiedParam("/U:u", "Other", "a,b,c", true);

  const KSLCoreTreeAndLeafModel model;
  EXPECT_EQ(TestSystem::render(*updates.getExternalChanges(&model)),
            "change /U:u List = gone (/A:a, a , /B:b/A:a,b, gone)\nchange /U:u Other =  (/B:b)\n");
  EXPECT_EQ(TestSystem::render(*updates.getInternalChanges(&model)), "change /U:u Other = a,c (/B:b)\n");
  a->delDependent(user, user->getParam("List"));

  EXPECT_TRUE(a->getDependents().empty());
}

TEST_F(KSLObjectTest, ReportsKeepWhatAllOfThemNameAndReadTheModelOnce)
{
  add("", "U", "u", {{"Disjoint", "", "a,b"}, {"Equal", "", "a,b"}});
  const KSLCoreTreeAndLeafModel model;
  DependentUpdates updates;
  updates.setModifiedParam("/U:u", "Disjoint", "a", false);
  updates.setModifiedParam("/U:u", "Disjoint", "b", false);
  updates.setModifiedParam("/U:u", "Equal", "a,b", false);
  EXPECT_EQ(TestSystem::render(*updates.getExternalChanges(&model)), "change /U:u Disjoint =  (a,b)\n");
  EXPECT_EQ(updates.getExternalChanges(nullptr)->size(), 1U);
  EXPECT_TRUE(updates.getInternalChanges(nullptr)->empty());
}

}  // namespace
}  // namespace orv::test
