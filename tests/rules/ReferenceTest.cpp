// References set one at a time, outside any batch of changes.
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "database/PrototypeEditor.h"
#include "rules/ExpressionNames.h"
#include "rules/GenericKSLObject.h"
#include "rules/LinkTransaction.h"
#include "tests/support/thrown.h"

#include <gtest/gtest.h>
#include <memory>

namespace orv::test {
namespace {

class ReferenceTest : public ::testing::Test {
 protected:
  ReferenceTest()
  {
    ErrorProgressReporter::instance()->setSink(&said);
    makeType("T", true);
    makeType("U", true);
    makeType("P", false);
    for (const char* name : {"a", "b", "c"})
      add("T", name);
    add("P", "p");
  }
  ~ReferenceTest() override
  {
    ExpressionNames::install(nullptr);
    ObjectDB::destroyInstance();
    ObjectFactory::destroyInstance();
    ErrorProgressReporter::destroyInstance();
  }

  static void makeType(const char* type, bool withScheduler)
  {
    auto prototype = std::make_unique<GenericKSLObject>();
    PrototypeEditor editor(*prototype);
    editor.setType(type, false);
    if (withScheduler)
      editor.addScheduler("S");
    editor.addParameter(std::make_unique<ParamDefinition>("One", "S", "S", "", "", ""));
    editor.addParameter(std::make_unique<ParamDefinition>("Two", "S", "S", "String List", "", ""));
    editor.addParameter(std::make_unique<ParamDefinition>("Free", "", "S", "", "", ""));
    editor.addParameter(std::make_unique<ParamDefinition>("Sum", "S", "", "Expression", "", ""));
    editor.addParameter(std::make_unique<ParamDefinition>("Made", "S", "S", "Formula", "", ""));
    ObjectFactory::instance()->addObject(std::move(prototype));
  }
  static GenericKSLObject* add(const std::string& type, const std::string& name,
                               const std::string& parent = {})
  {
    return static_cast<GenericKSLObject*>(
        ObjectDB::instance()->addObject(ObjectFactory::instance()->createObject(parent, type, name)));
  }
  static GenericKSLObject* at(const std::string& name)
  {
    return static_cast<GenericKSLObject*>(ObjectDB::instance()->getObjectByPath("/T:" + name));
  }
  // Parents with their counts, who depends on a, and what waits.
  static std::string links(const std::string& name)
  {
    std::string text = at(name)->getSchedulerInfo();
    const std::size_t from = text.find("parents: ") + 9;
    text = text.substr(from, text.find(';', from) - from);
    for (const std::string& param : at(name)->getDelayedParams())
      text += " +" + param;
    return text;
  }
  static std::string dependents(const KSLObject* object)
  {
    std::string text;
    for (const Dependent& dependent : object->getDependents())
      text += dependent.getObjPath() + "." + dependent.getParamName() + " ";
    return text;
  }
  // What is wrong with one value, said in a batch of its own.
  static std::string fault(const std::string& param, const std::string& value)
  {
    LinkTransaction batch(*ObjectDB::instance());
    at("b")->setValue(param, value);
    try {
      batch.commit();
    } catch (const Error& error) {
      return error.getMessage();
    }
    return {};
  }
  static void settle()
  {
    for (KSLObject* object : ObjectDB::instance()->getAllObjects())
      object->update();
  }
  ErrorCollector said;
};

TEST_F(ReferenceTest, ARefusedValueChangesNothing)
{
  at("b")->setValue("Two", "a, later");
  EXPECT_EQ(links("b"), "/T:a (S) x1 +Two");
  add("T", "later");
  settle();
  const std::string before = links("b");
  EXPECT_EQ(before, "/T:a (S) x1, /T:later (S) x1");
  at("c")->setValue("One", "b");
  settle();
  add("P", "c");  // no candidate
  add("T", "two");
  add("U", "two");
  struct Case {
    const char* value;
    const char* message;
  };
  for (const Case& bad : {
           Case{"NODE, P:p, T:c",
                "Cannot connect parameter Two to object /P:p(it does not have Scheduler type S)."},
           Case{"T:later, /", "Cannot connect parameter Two to object (it does not have Scheduler type S)."},
           Case{"a, x, two", "More than one object with name 'two' exists."},
           Case{"later, T:c", "Attempt to create a cyclic dependency between object c (S) and object b (S)."},
           Case{"later, b", "Tried to make object b (S) reference itself."},
       }) {
    try {
      at("b")->setValue("Two", bad.value);
      ADD_FAILURE() << bad.value;
    } catch (const Error& error) {
      EXPECT_EQ(error.getMessage(), bad.message);
      EXPECT_EQ(dynamic_cast<const data::notFound*>(&error) != nullptr,
                bad.value == std::string("a, x, two"));
    }
    EXPECT_EQ(at("b")->getValue("Two") + " " + links("b"), "a, later " + before);
    EXPECT_FALSE(at("b")->getSchedulerObject("S")->isPending());
    EXPECT_EQ(dependents(at("later")) + dependents(at("c")), "/T:b.Two ");
  }
  at("b")->setValueWithoutPending("Two", "a, T:a");
  EXPECT_ANY_THROW(at("b")->setValue("Two", "b"));
  settle();
  add("P", "a");
  EXPECT_EQ(links("b"), "/T:a (S) x1") << "what was set aside was due before, and is; once, for two names";
  EXPECT_EQ(said.errors().size(), 0U);
  // What a host deletes is nobody's fault, as long as the text stays; what a command does is.
  ObjectDB::instance()->deleteObject("/T:a");
  EXPECT_EQ(fault("One", "later"), "");
  EXPECT_EQ(fault("One", ""), "");
  EXPECT_EQ(fault("Two", "x"), "Object 'x' referred to in 'Two' does not exist.");
  EXPECT_EQ(fault("Two", "later"), "");
  at("b")->setValue("Two", "later");
  EXPECT_EQ(fault("Two", "a, T:a"),
            "Cannot connect parameter Two to object /P:a(it does not have Scheduler type S).");
  at("b")->setValue("Two", "later");
  add("P", "later");
  settle();
  LinkTransaction batch(*ObjectDB::instance());
  ObjectDB::instance()->deleteObject("/T:later");
  EXPECT_THROW(batch.commit(), data::invalid);
}

// Every word is a name: of a variable, with "@" of a location, with "()" of a function; "Free" is the object's own.
class WordNames : public ExpressionNames {
 public:
  Uses namesIn(const KSLObject&, const ParamDefinition&, const std::string& text) const override
  {
    Uses uses;
    for (const std::string& word : StringUtilities::stringToVector(text, ' ')) {
      if (word == "Free")
        uses.locals.push_back(word);
      else if (word.front() == '@')
        uses.locations.push_back(word.substr(1));
      else if (word.back() == ')')
        uses.functions.push_back(word.substr(0, word.size() - 2));
      else if (word != "+")
        uses.variables.push_back(word);
    }
    return uses;
  }
  Variable findVariable(const KSLObject&, const std::string& name, std::vector<NameQuestion>&) const override
  {
    return {ObjectDB::instance()->getObjectByName(name), name != "p"};
  }
  KSLObject* findLocation(const KSLObject&, const std::string& name) const override
  {
    return ObjectDB::instance()->getObjectByName(name);
  }
  KSLObject* findFunction(const KSLObject&, const std::string& name) const override
  {
    return ObjectDB::instance()->getObjectByName(name);
  }
};

TEST_F(ReferenceTest, ExpressionsDependOnWhatTheyUse)
{
  at("b")->setValue("Sum", "x + y");  // nobody knows names yet
  const WordNames names;
  ExpressionNames::install(&names);
  Category::addCategory("has-local-variable");
  at("b")->setValue("Sum", "a + @c + Free");
  EXPECT_EQ(links("b"), "/T:a (S) x1, /T:c (S) x1");
  EXPECT_TRUE(at("b")->isA("has-local-variable"));
  settle();
  at("b")->setValue("Free", "p");  // which marks nothing itself
  EXPECT_TRUE(at("b")->getSchedulerObject("S")->isPending());
  settle();
  at("b")->setValueWithoutPending("Free", "a");
  EXPECT_EQ(links("b"), "/T:a (S) x1, /T:c (S) x1 +Free +Sum");
  settle();
  const auto refusal = [](const std::string& text) {
    {
      LinkTransaction batch(*ObjectDB::instance());
      at("b")->setValue("Sum", text);
      try {
        batch.commit();
      } catch (const data::error& error) {
        at("b")->setValue("Sum", "a");
        return error.getMessage();
      }
    }
    return std::string("taken");
  };
  EXPECT_EQ(refusal("a + x"), "Expression 'a + x' depends on a variable 'x' which does not exist.");
  EXPECT_EQ(refusal("a + @x"), "Expression 'a + @x' depends on a location 'x' which does not exist.");
  EXPECT_EQ(refusal("x() + a"), "Expression 'x() + a' depends on a function 'x' which does not exist.");
  EXPECT_EQ(refusal("p + a"), "Expression 'p + a' tries to use object 'p' as a variable.");
  EXPECT_EQ(refusal("c() + a"), "taken");
  EXPECT_EQ(links("b"), "/T:a (S) x1, /T:c (S) x1");
}

TEST_F(ReferenceTest, FormulasDependOnTheObjectsAmongTheirNames)
{
  for (const char* name : {"two words", "w", "w.x", "p.y"})
    add(name == std::string("p.y") ? "P" : "T", name);
  add("T", "c", "/T:a");
  const std::string a = "/T:a (S) x1";
  for (const auto& [text, found] :
       std::vector<std::pair<std::string, std::string>>{{"2 * a^2 - x", a},
                                                        {"dot(a, c.x) / 1e3 [b a]", a + ", /T:c (S) x1"},
                                                        {"'two words'.y + 3a", "/T:two words (S) x1"},
                                                        {"a + 'a' + a.z + /a", a},
                                                        {"a.water - a.x.mean + w.x.y + b.x", "/T:w.x (S) x1"},
                                                        {"w.x + 'w'.x", "/T:w.x (S) x1"},
                                                        {"w.y + 'w.z'", "/T:w (S) x1"},
                                                        {"'/T:a' - 'a/c' * 'T:a' + '..' + '\"a\"'", "none"},
                                                        {"p + b + a(1) + 'c", "/T:c (S) x1"},
                                                        {"p + ab + _a + 1a + 'a c'", "none"}}) {
    at("b")->setValue("Made", text);
    EXPECT_EQ(links("b"), found) << text;
  }
  at("b")->setValue("Made", "a + c");
  EXPECT_THROW(at("a")->setValue("Made", "1 / b"), ksl::cyclicRef);
  EXPECT_EQ(links("a"), "none");
}

// Of several faults in one batch that of the parameter is told which was set first, also when it named nothing then.
TEST_F(ReferenceTest, FaultsAreToldInTheOrderOfSetting)
{
  const WordNames names;
  ExpressionNames::install(&names);
  using Settings = std::vector<std::pair<const char*, const char*>>;
  const std::pair<Settings, const char*> cases[] = {
      {{{"a", "x"}, {"b", "y"}}, "x"},
      {{{"b", "1"}, {"a", "x"}, {"b", "y"}}, "y"},
      {{{"b", "1"}, {"a", "2 [m]"}, {"b", "2"}, {"a", "x"}, {"b", "y"}}, "y"},
      {{{"b", "1"}, {"c", "z"}, {"a", "x"}, {"b", "2"}}, "z"},
      {{{"b", "1"}, {"commit", ""}, {"a", "x"}, {"b", "y"}}, "x"},
      {{{"b", "1"}, {"new", "b"}, {"a", "x"}, {"b", "y"}}, "x"},
      {{{"b", "1"}, {"a", "x"}, {"child", "3"}, {"b", "y"}}, "y"},
      {{{"b", "13"}, {"commit", ""}, {"child", "3"}, {"a", "x"}, {"b", "y"}}, "y"},
      {{{"b", "13"}, {"commit", ""}, {"child", "4"}, {"a", "x"}, {"b", "y"}}, "x"},
  };
  for (const auto& [settings, first] : cases) {
    ObjectDB::instance()->deleteObject("/T:b");
    add("T", "b");
    std::string told;
    try {
      auto batch = std::make_unique<LinkTransaction>(*ObjectDB::instance());
      for (const auto& [object, text] : settings) {
        if (object == std::string("commit")) {
          batch->commit();
          batch.reset();
          batch = std::make_unique<LinkTransaction>(*ObjectDB::instance());
        } else if (object == std::string("new")) {
          ObjectDB::instance()->deleteObject("/T:b");
          add("T", "b");
        } else if (object == std::string("child")) {
          add("T", text, "/T:b");
        } else {
          at(object)->setValue("Sum", text);
        }
      }
      batch->commit();
    } catch (const data::notFound& error) {
      told = error.getDiagnostic()->subject;
    }
    EXPECT_EQ(told, first) << &settings - &cases[0].first;
    ObjectDB::instance()->deleteObject("/T:b");
    add("T", "b");
    for (const char* object : {"a", "c"})
      at(object)->setValue("Sum", "");
  }
}

}  // namespace
}  // namespace orv::test
