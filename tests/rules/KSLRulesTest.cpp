// Reading RULES: what comes out of a text, and what is told about a bad one.
#include "rules/KSLRules.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "database/Category.h"
#include "database/DataKSLObject.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"
#include "services/ExpressionEvaluatorKSLObject.h"
#include "services/ExpressionsKSLObject.h"
#include "services/UnitsKSLObject.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <typeinfo>

namespace orv {
namespace {

std::string sourcePath(const std::string& name)
{
  const char* root = std::getenv("KSL_SOURCE_DIR");
  return std::string(root ? root : ".") + "/" + name;
}

// The contents of a document's fenced blocks of one kind.
std::vector<std::string> fencedBlocks(const std::string& file, const std::string& kind)
{
  std::ifstream in(sourcePath(file));
  std::vector<std::string> blocks;
  bool open = false;
  for (std::string line; std::getline(in, line);) {
    if (open && line == "```")
      open = false;
    else if (open)
      blocks.back() += line + "\n";
    else if (line == "```" + kind) {
      blocks.emplace_back();
      open = true;
    }
  }
  return blocks;
}

// An object class that is no data object.
class ForeignObject : public KSLObject {
 public:
  ~ForeignObject() override { freeParameters(); }
  std::string getSchedulerInfo() const override { return {}; }
  void calculate(const std::string&) override {}
  void update() override {}
  SchedulerObject* getSchedulerObject(const std::string&) const override { return nullptr; }
  KSLObject* clone() const override { return new ForeignObject; }
  void initialize(const std::string&, const std::string&) override {}
  void initialize(const std::string&) override {}
  std::string setValue(const std::string&, const std::string&) override { return {}; }
  std::string setValueWithoutPending(const std::string&, const std::string&) override { return {}; }
  void setPending() override {}
};

// One text, or joined texts, inside "RULES:" with a header that knows the classes and schedulers used here.
class KSLRulesTest : public testing::Test {
 protected:
  void SetUp() override
  {
    restart();
    ErrorProgressReporter::instance()->setSink(&m_reported);
  }
  void TearDown() override
  {
    ErrorProgressReporter::destroyInstance();
    ObjectFactory::destroyInstance();
  }

  void restart()
  {
    ObjectFactory::destroyInstance();
    DataKSLObject::registerBaseType();
    UnitsKSLObject::registerBaseType();
    ExpressionsKSLObject::registerBaseType();
    ExpressionEvaluatorKSLObject::registerBaseType();
    GenericKSLObject::registerBaseType();
    ObjectFactory::instance()->registerBaseType("Foreign", std::make_unique<ForeignObject>());
    m_reported.clear();
    m_options.applyObjectRules = true;
  }

  void process(const std::string& text)
  {
    KSLAPI store;
    store.loadKSLData(StringUtilities::stringToVector(text, '\n'));
    KSLRules().process(&store, m_options);
  }

  static std::string rules(const std::string& text)
  {
    return "RULES:\nCategories = deletable, odd\nSchedulerTypes = Data, Draw\n"
           "KSLObjectClasses = GenericKSLObject, DataKSLObject, Foreign\n"
           + text + "END\n";
  }

  // The warnings, and what was thrown with its class; empty when all is well.
  std::string outcome(const std::string& text)
  {
    m_reported.clear();
    std::string thrown;
    try {
      process(text);
    } catch (const Error& error) {
      thrown = testing::internal::GetTypeName(typeid(error)) + " " + toText(ErrorMsg(error));
    }
    std::string told;
    for (const ErrorMsg& error : m_reported.errors())
      told += toText(error) + "\n";
    return told + thrown;
  }

  static std::string describe(const ParamDefinition& param)
  {
    const ParamDefinition::Rules& rules = *param.getRules();
    std::string text = param.getName() + " (" + param.getType() + ", " + param.getCategory()
                       + ") = " + param.getValue() + " {"
                       + StringUtilities::vectorToString(rules.allowedInOrder, '|') + "} "
                       + param.getLocalType() + "<" + param.getRemoteType() + "@" + param.getRemotePath();
    for (const auto& [name, value] : rules.extraStrings)
      text += " " + name + ":" + value;
    for (const auto& [name, list] : rules.extraLists)
      text += " " + name + ":[" + StringUtilities::vectorToString(list, '|') + "]";
    return text + (param.isInternal() ? " internal\n" : "\n");
  }

  static std::string describe(const std::string& type)
  {
    const std::unique_ptr<KSLObject> object = ObjectFactory::instance()->createObject(type, type);
    std::string text = object->getTypeNameString();
    for (const std::string& category : Category::getCategories())
      text += object->isA(category) ? " " + category : "";
    text += "\n";
    object->forEachParam([&](const ParamDefinition& param) { text += describe(param); });
    return text;
  }

  static std::string initialState(const std::string& type, const std::string& name)
  {
    return ObjectFactory::instance()->createObject(type, name)->getState(externalParams);
  }

  ErrorCollector m_reported;
  AdditionalRules m_options;
};

// ------------------------------------------------------------------------------------ failures and warnings

struct Row {
  std::string rules;
  std::string outcome;
};

const std::string t = "OBJECT: T\n";
const std::string notKnown = "orv::ksl::invalid error[4] KSLRules::parseObject: ";
const std::string badParam = "orv::ksl::invalid error[4] KSLRules::parseParam: ";

TEST_F(KSLRulesTest, FaultsAreThrownAsTheyAreDescribed)
{
  const std::string data = t + "Scheduler = Data\n";
  const std::string noLocalType = "The local type is empty and the remote type is not for parameter 'P'.";
  const Row table[] = {
      {"THING: T\nEND\n",
       "orv::ksl::invalid error[4] KSLRules::process: KSL type 'THING' is not one of PARAMETER, OBJECT or "
       "SINGLETON."},
      {t + "END\nSINGLETON: T\nEND\n",
       "orv::ksl::duplicate error[4] KSLRules::process: Duplicate data: KSLObject type 'T' already exists."},
      // classes
      {t + "KSLObject Class = Other\nEND\n", notKnown + "KSL Object class 'Other' is not recognized."},
      {t + "KSLObject Class = Foreign\nEND\n",
       "orv::internal::error error[4] KSLRules::parseObject: Bad cast of $1 '$2' to $3."},
      {"KSLObjectClasses = Ghost\n" + t + "KSLObject Class = Ghost\nEND\n",
       "orv::data::notFound error[4] ObjectFactory::createBaseType: Could not find base type: Ghost"},
      // schedulers
      {t + "Scheduler = Data, Paint\nEND\n", notKnown + "Scheduler type 'Paint' is not recognized."},
      {t + "KSLObject Class = DataKSLObject\nScheduler = Data\nEND\n",
       "orv::data::invalid error[4] DataKSLObject::addScheduler: Cannot add scheduler to type "
       "DataKSLObject."},
      {data + "Calculate Function = Data, l, f, Data\nEND\n",
       notKnown + "Calculate function specification requires triplets, (4)."},
      {t + "Calculate Function = Data, l, f\nScheduler = Data\nEND\n",
       notKnown + "Scheduler type 'Data' is not recognized."},
      {data + "Scheduler Links = Data\nEND\n", notKnown + "Odd number of scheduler types specified, (1)."},
      {data + "Scheduler Links = Data, Draw\nEND\n", notKnown + "Scheduler type 'Draw' is not recognized."},
      // children, categories
      {t + "CONTEXT: A\nEND\nAllowed Option List = A\nEND\n",
       notKnown + "Object Context 'A' is not recognized."},
      {t + "OBJECT: Inner\nEND\nEND\n", notKnown + "KSL object 'Inner' is not recognized."},
      {t + "Category = strange\nEND\n",
       "orv::internal::badParam error[4] Category::setCategory: Category 'strange' is not recognized."},
      // parameters
      {t + "Optional Parameter List = P\nEND\n",
       "orv::data::notFound error[4] ObjectFactory::createParam: Could not find parameter: P"},
      {t + "PARAMETER: P\nEND\nEND\n",
       "orv::data::notFound error[4] ObjectFactory::createParam: Could not find parameter: P"},
      {"PARAMETER: P\nLocal Type = Paint\nEND\n", badParam + "Scheduler type 'Paint' is not recognized."},
      {"PARAMETER: P\nLocal Type = Data\nRemote Type = Paint\nEND\n",
       badParam + "Scheduler type 'Paint' is not recognized."},
      {"PARAMETER: P\nRemote Type = Data\nEND\n", badParam + noLocalType},
      // a variant inherits its local type too late for this check, on purpose
      {"PARAMETER: P\nLocal Type = Data\nEND\n" + t + "PARAMETER: P\nRemote Type = Data\nEND\nEND\n",
       badParam + noLocalType},
      // the warning says in which type
      {"PARAMETER: P\nEND\n" + t
           + "Optional Parameter List = P\nInternal Parameter List = P\nPARAMETER: P\nEND\nEND\n",
       "warning[8] KSLRules::process: Parameter 'P' of object type 'T' is internal and in another parameter "
       "list too.\n"
       "orv::data::duplicate error[4] KSLObject::addParameter: Duplicate data: Parameter 'P' already "
       "exists."},
  };
  for (const Row& row : table) {
    restart();
    EXPECT_EQ(outcome(rules(row.rules)), row.outcome) << row.rules;
  }
  EXPECT_THROW(KSLRules().process(nullptr, {}), internal::nullPointer);
}

TEST_F(KSLRulesTest, WarnsOfRulesThatWillMakeTrouble)
{
  const std::string params =
      "PARAMETER: Free\nEND\nPARAMETER: Option\nEND\nPARAMETER: AB\nAllowed String List = a, b\nEND\n"
      "PARAMETER: Off\nAllowed String List = a, b\nDefault = c\nEND\n"
      "PARAMETER: Unset\nAllowed String List = a, b\nDefault =\nEND\n";
  const auto selected = [](const std::string& name, const std::string& options) {
    return t + "Context Rule = " + name + "\nAllowed Option List = " + options
           + "\nOptional Parameter List = Free, Option, AB, Off, Unset\nEND\n";
  };
  const auto mismatch = [](const std::string& name) {
    return "warning[8] KSLRules::process: Allowed values of context rule parameter '" + name
           + "' are not the allowed options of object type 'T'.\n";
  };
  const Row table[] = {
      {selected("AB", "b, a"), ""},
      {selected("Unset", "a, b"), ""},
      {selected("Elsewhere", "a, b"), ""},  // such objects are always without a context
      {selected("AB", "a, b, c"), mismatch("AB")},
      {selected("Free", "a, b"), mismatch("Free")},
      {selected("Free", ""), mismatch("Free")},
      {selected("", "a, b"), mismatch("Option")},
      {selected("Off", "a, b"),
       "warning[8] KSLRules::process: Default 'c' of context rule parameter 'Off' is not an allowed option "
       "of "
       "object type 'T'.\n"},
      {"OBJECT: A:B\nEND\nSINGLETON: ROOT\nEND\n",
       "warning[8] KSLRules::process: Object type 'A:B' holds a ':', which ends the type where a path is "
       "read.\n"
       "warning[8] KSLRules::process: Object type 'ROOT' has the type of the root of all objects.\n"},
  };
  for (const Row& row : table) {
    restart();
    EXPECT_EQ(outcome(rules(params + row.rules)), row.outcome) << row.rules;
  }
  restart();
  m_options.applyObjectRules = false;  // then no context rule is ever asked
  EXPECT_EQ(outcome(rules(params + selected("Free", "a, b"))), "");
}

TEST_F(KSLRulesTest, WhatWasReadBeforeAFaultStaysAndIsADuplicateNextTime)
{
  const std::string text = rules(t + "END\nOBJECT: B\nKSLObject Class = Other\nEND\nPARAMETER: P\nEND\n");
  outcome(text);
  EXPECT_TRUE(ObjectFactory::instance()->hasObject("T"));
  EXPECT_FALSE(ObjectFactory::instance()->hasObject("B"));
  EXPECT_EQ(outcome(text),
            "orv::ksl::duplicate error[4] KSLRules::process: Duplicate data: Parameter 'P' already exists.");
}

// ----------------------------------------------------------------------------------------- what comes out

TEST_F(KSLRulesTest, ParametersTakeDefaultsAndVariantsInherit)
{
  m_options.extraStringRules = {"Icon", "Hint"};
  m_options.extraListRules = {"Words"};
  process(
      rules("OBJECT: T\nCategory = odd, deletable\nEssential Parameter List = Bare, Link, Reference\n"
            "Default Parameter List = Choice\nInternal Parameter List = Result\n"
            "PARAMETER: Choice\nAllowed String List = x, y\nEND\n"
            "PARAMETER: Link\nLocal Type =\nIcon = own\nDefault =\nEND\n"
            "PARAMETER: Reference\nDescription = says nothing\nEND\nEND\n"
            "SINGLETON: S\nEND\n"
            "PARAMETER: Bare\nEND\n"
            "PARAMETER: Choice\nAllowed String List = \"b, c\", a\nDefault = a\nEND\n"
            "PARAMETER: Link\nParameter Type = String\nLocal Type = Draw\nDefault = \"quoted\"\n"
            "Icon = chain\nHint = pull\nWords = to, from\nEND\n"
            "PARAMETER: Reference\nAllowed String List = \"b, c\", a\nLocal Type = Draw\n"
            "Remote Type = Data\nRemote Path = /T:x\nParameter Category = Links\nWords = to, from\nEND\n"
            "PARAMETER: Result\nColour = nobody reads this\nCHILD: c\nEND\nEND\n"));
  EXPECT_EQ(describe("T"),
            "T:T deletable odd\n"
            "Bare (string, Other) =  {} <@\n"
            "Choice (string, Other) = x {x|y} <@\n"
            "Link (String, Other) =  {} <@ Hint:pull Icon:own Words:[to|from]\n"
            "Reference (string, Links) = b, c {b, c|a} Draw<Data@/T:x Words:[to|from]\n"
            "Result (string, Other) =  {} <@ internal\n");
  EXPECT_EQ(describe("S"), "S:\n");
  EXPECT_EQ(describe(*ObjectFactory::instance()->createParam("Link")),
            "Link (String, Other) = \"quoted\" {} Draw<@ Hint:pull Icon:chain Words:[to|from]\n");
  EXPECT_EQ(initialState("T", "t"), "T:t\n  Reference = b, c\nEND\n");
}

TEST_F(KSLRulesTest, SchedulersReachThePrototype)
{
  process(
      rules("OBJECT: T\nScheduler = Draw, Data\nScheduler Links = Draw, Data, Data, Draw\n"
            "Calculate Function = Draw, paint, f, Data, read, g\nEND\n"
            "OBJECT: U\nCalculate Function =\nScheduler Links =\nEND\n"));
  std::ostringstream dump;
  ObjectFactory::instance()->findPrototype("T")->write(dump);
  EXPECT_EQ(dump.str().substr(dump.str().find("m_funcMap")),
            "m_funcMap=\"Data: libread.so g, Draw: libpaint.so f\"\n"
            "m_schedLinkMap=\"Data: Draw, Draw: Data\"\nm_schedMap=\"Data, Draw\"\n");
}

TEST_F(KSLRulesTest, ObjectRulesAreMadeOnlyWhenAskedFor)
{
  const std::string text = rules(
      "PARAMETER: P\nAllowed String List = a, b\nEND\nPARAMETER: Q\nEND\n"
      "OBJECT: T\nContext Rule = \"P\"\nAllowed Option List = a, b\nEssential Parameter List = P\n"
      "Object Name Restriction = one, two\nParameter Name Restriction = three\n"
      "CONTEXT: a\nEssential Parameter List = Q\nEND\n"
      "CONTEXT: b\nDefault Parameter List = Q\nEND\nEND\n");
  process(text);
  const ObjectRules* made = ObjectFactory::instance()->getObjectRules("T");
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->getContextRuleName() + "; " + made->getObjectNameRestriction() + "; "
                + made->getParamNameRestriction(),
            "P; one, two; three");
  EXPECT_TRUE(made->isParamEssential("Q", "a") && !made->isParamEssential("Q", "b"));
  EXPECT_TRUE(made->isParamOptional("Q", "b") && !made->isParamOptional("Q", "a"));

  restart();
  m_options.applyObjectRules = false;
  process(text);
  EXPECT_EQ(ObjectFactory::instance()->getObjectRules("T"), nullptr);
  EXPECT_TRUE(ObjectFactory::instance()->findPrototype("T")->hasParam("Q"));
}

// ------------------------------------------------------------------------------- the document, the library

TEST_F(KSLRulesTest, TheDocumentedExamplesDoWhatIsSaid)
{
  std::string text;
  for (const std::string& block : fencedBlocks("docs/rules.md", "ksl"))
    text += block;
  EXPECT_EQ(outcome(text), "");

  const std::vector<std::string> states = fencedBlocks("docs/rules.md", "state");
  ASSERT_EQ(states.size(), 1u);
  EXPECT_EQ(initialState("POND", "Duck Pond"), states.front());
  EXPECT_EQ(describe("FENCE"),
            "FENCE:FENCE\nColour (string, Looks) = brown {brown|white} <@\n"
            "Length (Real, Other) = 10 [m] {} <@\n");
  const ObjectRules& path = *ObjectFactory::instance()->getObjectRules("PATH");
  EXPECT_TRUE(path.isParamEssential("Width"));
  EXPECT_FALSE(path.isParamEssential("Colour") || path.isParamAllowed("Depth")
               || path.isParamAllowed("Note"));
}

// What the file actions read and what a loaded state replaces stands in the demo library's text, so a slip
// there would only show as a strange state.
TEST_F(KSLRulesTest, TheDemoLibraryHoldsWhatTheActionsRelyOn)
{
  KSLAPI store;
  store.readNamedLibraries(sourcePath("share/ksl"), "");
  KSLRules().process(&store, m_options);
  EXPECT_TRUE(m_reported.errors().empty());

  const ObjectFactory& factory = *ObjectFactory::instance();
  EXPECT_EQ(initialState("FILE PROCESSING", "FILE PROCESSING"),
            "FILE PROCESSING:\n  Path Stack = .\n  Processing Mode = None\nEND\n");
  EXPECT_EQ(initialState("SESSION", "SESSION"), "SESSION:\n  Write Session Mode = None\nEND\n");
  EXPECT_EQ(factory.getParamsForObjectType("STATE"),
            (std::map<std::string, std::string>{{"Load Data", "True"},
                                                {"Read State Mode", "Overwrite"},
                                                {"Save State Mode", "Overwrite"},
                                                {"Save State Objects", ""},
                                                {"State Filename", ""}}));
  EXPECT_EQ(factory.getTypesByCategory("application-object"),
            (std::vector<std::string>{"EXPRESSION PREVIEW", "SELECTION FRAME"}));
}

}  // namespace
}  // namespace orv
