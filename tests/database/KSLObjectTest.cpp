#include "database/KSLObject.h"

#include "platform/ORVKSLAPI.h"
#include "database/DependentUpdates.h"
#include "database/KSLCoreTreeAndLeafModel.h"
#include "database/RootKSLObject.h"
#include "TestObjects.h"

#include <map>
#include <rapidcheck.h>
#include <sstream>

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
  const auto named = makeObject("", "B", "y z");
  EXPECT_EQ(named->getPath() + " " + named->getTypeNameString(), "/B:y z B:y z");
  KSLObject::supportOldStylePaths();
  EXPECT_EQ(makeObject("P:p/", "B", "y")->getPath(), "/P:p/B:y");
}

TEST_F(KSLObjectTest, SplitsTypeAndName)
{
  using Pair = std::pair<std::string, std::string>;
  const std::pair<const char*, Pair> cases[] = {
      {" DATA READER : run 1 # the first", {"DATA READER", "run 1"}},
      {"SETUP:", {"SETUP", "SETUP"}},
      {"SETUP: # none", {"SETUP", "SETUP"}},
      {"A:b:c", {"A", "b:c"}},
      {R"(A: " no #1 " # the first)", {"A", "no #1"}},
      {R"(SETUP: " ")", {"SETUP", "SETUP"}},
  };
  for (const auto& [text, expected] : cases)
    EXPECT_EQ(KSLObject::splitObjectTypeAndName(text), expected) << text;
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
  add("/A:solo", "F", "f");
  KSLObject* const from = db().getObjectByPath("/A:x/C:z");

  const std::pair<const char*, const char*> found[] = {
      {"", "/A:x/C:z"},
      {".", "/A:x/C:z"},
      {"deep", "/A:x/C:z/E:deep"},
      {"..", "/A:x"},
      {"../B:y", "/A:x/B:y"},
      {"..//./S:", "/A:x/S"},
      {"../S", "/A:x/S"},
      {"/A:x/D:y/", "/A:x/D:y"},
      {"/", ""},
      {"../../..", ""},
      {"/x/z/deep", "/A:x/C:z/E:deep"},
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

  EXPECT_EQ(low->getRelativeObject("target")->getPath(), "/A:top/T:target");
  EXPECT_EQ(low->getRelativeObject("target/V:inside")->getPath(), "/U:target/V:inside");
  EXPECT_EQ(low->getRelativeObject("target/inside")->getPath(), "/U:target/V:inside");
  EXPECT_EQ(errorOf([=] { low->getRelativeObject("twin"); }).getMessage(),
            "More than one object with name 'twin' exists.");
  EXPECT_EQ(errorOf([=] { low->getRelativeObject("none/x"); }).getMessage(),
            "No object with name 'none' exists.");
  EXPECT_EQ(errorOf([=] { low->getRelativeObject("T:target"); }).getMessage(),
            "Object 'T:target' does not exist.");
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

TEST_F(KSLObjectTest, PointersToParametersStayAndAreTheObjectsOwn)
{
  const auto original = makeObject("", "A", "x", {{"a"}, {"m", "String", "1"}, {"z"}});
  const std::unique_ptr<KSLObject> twin(original->clone());
  const std::unique_ptr<KSLObject> copy(original->clone());
  EXPECT_EQ(copy->getIntValue("m"), 1);
  EXPECT_FALSE(copy->isParamChanged("m"));
  EXPECT_EQ(copy->lookUpParam("m"), twin->lookUpParam("m"));  // reading took no memory

  const ParamDefinition* held = copy->getParam("m");
  EXPECT_NE(held, twin->getParam("m"));
  copy->setValue("m", "2");
  PrototypeEditor editor(static_cast<DataKSLObject&>(*copy));
  editor.addParameter(makeParam({"b"}));
  editor.removeParameter("a");
  copy->setValue("z", "3");
  EXPECT_EQ(held->getValue() + twin->getValue("m"), "21");
  copy->unsetParam("m");
  EXPECT_EQ(held->getValue(), "1");
  EXPECT_EQ(copy->getParam("m"), held);

  copy->initialize("y");
  for (const bool read : {false, true})
    EXPECT_EQ(errorOf([&] { read ? (void)copy->getValue("a") : (void)copy->getParam("a"); }),
              objectError("getParam", "Parameter 'a' does not exist on object /A:y."));
}

TEST_F(KSLObjectTest, RefusedValuesTakeNoMemory)
{
  auto rules = std::make_unique<ParamDefinition::Rules>();
  rules->name = "fixed";
  rules->defaultValue = "none";
  rules->setAllowedValues({"on"});
  const auto original = makeObject("", "A", "x");
  PrototypeEditor(*original).addParameter(
      std::make_unique<ParamDefinition>(refcnt_ptr<const ParamDefinition::Rules>(rules.release())));
  const std::unique_ptr<KSLObject> copy(original->clone());
  const ParamDefinition* shared = copy->lookUpParam("fixed");

  const ErrorMsg refused("ParamDefinition", "setValue", "Parameter 'fixed' cannot have value 'off'.", 4);
  EXPECT_EQ(errorOf([&] { copy->setValue("fixed", "off"); }), refused);
  EXPECT_EQ(errorOf([&] { copy->setValueWithoutPending("fixed", "off"); }), refused);
  copy->unsetParam("fixed");  // to a default that is not allowed
  EXPECT_EQ(copy->lookUpParam("fixed"), shared);
  Listener listener;
  copy->registerObjectChangeNotify(&listener);
  copy->unsetParam("fixed");
  EXPECT_EQ(listener.take(), "changed fixed = none\n");
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
  KSLObject* const user =
      add("", "U", "u", {{"List", "", "/A:a, a , /B:b/A:a,b, gone"}, {"Other", "", "/B:b"}});
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
  const auto render = [](const KSLChangeList* list) {
    std::string text;
    for (std::size_t i = 0; i < list->size(); ++i)
      text += (*list)[i].path.str() + " " + (*list)[i].name.str() + ": " + (*list)[i].oldValue.str() + " -> "
              + (*list)[i].value.str() + "\n";
    return text;
  };
  EXPECT_EQ(render(updates.getExternalChanges(&model)),
            "/U:u List: /A:a, a , /B:b/A:a,b, gone -> gone\n/U:u Other: /B:b -> \n");
  EXPECT_EQ(render(updates.getInternalChanges(&model)), "/U:u Other: /B:b -> a,c\n");
  a->delDependent(user, user->getParam("List"));

  auto rules = std::make_unique<ParamDefinition::Rules>();
  rules->name = "Remote";
  rules->defaultValue = "a,b";
  rules->remotePath = "/B:b";
  PrototypeEditor(*static_cast<DataKSLObject*>(user))
      .addParameter(
          std::make_unique<ParamDefinition>(refcnt_ptr<const ParamDefinition::Rules>(rules.release())));
  KSLObject* const inner = db().getObjectByPath("/B:b/A:a");
  inner->addDependent(user, user->getParam("Remote"));
  DependentUpdates more;
  inner->addToDependentUpdates(&more);
  EXPECT_EQ(render(more.getExternalChanges(&model)), "/U:u Remote: a,b -> b\n");
  EXPECT_TRUE(a->getDependents().empty());
}

TEST_F(KSLObjectTest, ReportsKeepWhatAllOfThemNameAndReadTheModelOnce)
{
  class Model : public TreeAndLeafReadModel {
   public:
    mutable int reads = 0;
    bool hasObject(const KSLPath&) const override { return ++reads > 0; }
    std::vector<KSLPath> getChildren(const KSLPath&) const override { return {}; }
    std::vector<std::string> getParameterNames(const KSLPath&) const override { return {}; }
    std::string getParameterValue(const KSLPath&, const std::string&) const override
    {
      ++reads;
      return "a,b";
    }
    bool isSingleton(const KSLPath&) const override { return false; }
    void visitSettings(const KSLPath&, TreeVisitor&) const override {}
  };
  const Model model;
  DependentUpdates updates;
  updates.setModifiedParam("/U:u", "Disjoint", "a", false);
  updates.setModifiedParam("/U:u", "Disjoint", "b", false);
  updates.setModifiedParam("/U:u", "Equal", "a,b", false);
  const KSLChangeList* changes = updates.getExternalChanges(&model);
  ASSERT_EQ(changes->size(), 1U);
  EXPECT_EQ((*changes)[0].name.str() + "=" + (*changes)[0].value.str(), "Disjoint=");
  const int reads = model.reads;
  EXPECT_GT(reads, 0);
  updates.getInternalChanges(&model);
  EXPECT_EQ(updates.getExternalChanges(&model)->size(), 1U);
  EXPECT_EQ(model.reads, reads);
}

TEST_F(KSLObjectTest, HasDataUntilItSaysNoAndNoExtent)
{
  KSLObject* const object = add("", "A", "a");
  TripletBase<float> low{1, 2, 3};
  TripletBase<float> high = low;
  EXPECT_TRUE(object->hasValidData());
  EXPECT_FALSE(object->getBoundingBox(low, high));
  object->setValidData(false);
  EXPECT_FALSE(object->hasValidData());
}

TEST_F(KSLObjectTest, RootIsOnlyAPlace)
{
  KSLObject* const root = db().getRoot();
  const auto refused = [](const char* function) {
    return ErrorMsg("RootKSLObject", function, "This function should never be called for this object.", 4);
  };
  EXPECT_EQ(errorOf([=] { root->setValue("a", "b"); }), refused("setValue"));
  EXPECT_EQ(errorOf([=] { root->initialize("a"); }), refused("initialize"));
  EXPECT_EQ(errorOf([=] { root->getSchedulerObject("S"); }).getMessage(),
            "This function should never be called for this object. (Scheduler type requested: 'S'.)");
  EXPECT_TRUE(root->getParams(UnitSystemTypes::preferred, false).empty());
}

TEST_F(KSLObjectTest, DumpShowsEveryField)
{
  const std::unique_ptr<KSLObject> object(makeObject("", "A", "y", {{"p"}})->clone());
  object->initialize("x");
  auto user = makeObject("", "U", "u", {{"q"}});
  object->addDependent(user.get(), user->getParam("q"));
  std::ostringstream out;
  object->write(out);
  std::ostringstream address;
  address << static_cast<const void*>(object->getParam("p"));
  EXPECT_EQ(out.str(), "m_name=\"x\"\nm_type=\"A\"\nm_paramMap={\n\"p \"," + address.str()
                           + ";\n}\nm_cat=not yet implemented.\nm_isSingleton=0\nm_dependents={\n"
                             "\"/U:u\",\"q\";\n}\n");
}

}  // namespace
}  // namespace orv::test
