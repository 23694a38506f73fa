// Reading RULES: what comes out of a text, and what is told about a bad one.
#include "rules/KSLRules.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLAPI.h"
#include "database/Category.h"
#include "database/DataKSLObject.h"
#include "database/ObjectFactory.h"
#include "rules/GenericKSLObject.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <typeinfo>

namespace orv {
namespace {

// The contents of a document's fenced blocks of one kind.
std::vector<std::string> fencedBlocks(const std::string& file, const std::string& kind)
{
  const char* root = std::getenv("KSL_SOURCE_DIR");
  std::ifstream in(std::string(root ? root : ".") + "/" + file);
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
    GenericKSLObject::registerBaseType();
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
           "KSLObjectClasses = GenericKSLObject, DataKSLObject\n"
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
      {t + "KSLObject Class = Other\nEND\n", notKnown + "KSL Object class 'Other' is not recognized."},
      {"KSLObjectClasses = Ghost\n" + t + "KSLObject Class = Ghost\nEND\n",
       "orv::data::notFound error[4] ObjectFactory::createBaseType: Could not find base type: Ghost"},
      {t + "Scheduler = Data, Paint\nEND\n", notKnown + "Scheduler type 'Paint' is not recognized."},
      {t + "KSLObject Class = DataKSLObject\nScheduler = Data\nEND\n",
       "orv::data::invalid error[4] DataKSLObject::addScheduler: Cannot add scheduler to type "
       "DataKSLObject."},
      {data + "Calculate Function = Data, l, f, Data\nEND\n",
       notKnown + "Calculate function specification requires triplets, (4)."},
      {data + "Scheduler Links = Data\nEND\n", notKnown + "Odd number of scheduler types specified, (1)."},
      {t + "CONTEXT: A\nEND\nAllowed Option List = A\nEND\n",
       notKnown + "Object Context 'A' is not recognized."},
      {t + "OBJECT: Inner\nEND\nEND\n", notKnown + "KSL object 'Inner' is not recognized."},
      {t + "Category = strange\nEND\n",
       "orv::internal::badParam error[4] Category::setCategory: Category 'strange' is not recognized."},
      {t + "Optional Parameter List = P\nEND\n",
       "orv::data::notFound error[4] ObjectFactory::createParam: Could not find parameter: P"},
      {"PARAMETER: P\nLocal Type = Paint\nEND\n", badParam + "Scheduler type 'Paint' is not recognized."},
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
      {selected("Elsewhere", "a, b"), ""},  // such objects are always without a context
      {selected("AB", "a, b, c"), mismatch("AB")},
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
  EXPECT_EQ(describe(*ObjectFactory::instance()->createParam("Link")),
            "Link (String, Other) = \"quoted\" {} Draw<@ Hint:pull Icon:chain Words:[to|from]\n");
}

// -------------------------------------------------------------------------------------------- the document

TEST_F(KSLRulesTest, TheDocumentedExamplesDoWhatIsSaid)
{
  std::string text;
  for (const std::string& block : fencedBlocks("docs/rules.md", "ksl"))
    text += block;
  EXPECT_EQ(outcome(text), "");

  const std::vector<std::string> states = fencedBlocks("docs/rules.md", "state");
  ASSERT_EQ(states.size(), 1u);
  EXPECT_EQ(ObjectFactory::instance()->createObject("POND", "Duck Pond")->getState(externalParams),
            states.front());
  EXPECT_EQ(describe("FENCE"),
            "FENCE:FENCE\nColour (string, Looks) = brown {brown|white} <@\n"
            "Length (Real, Other) = 10 [m] {} <@\n");
  const ObjectRules& path = *ObjectFactory::instance()->getObjectRules("PATH");
  EXPECT_TRUE(path.isParamEssential("Width"));
  EXPECT_FALSE(path.isParamEssential("Colour") || path.isParamAllowed("Depth")
               || path.isParamAllowed("Note"));
}

}  // namespace
}  // namespace orv
