#include "database/ParamDefinition.h"

#include "platform/ORVError.h"
#include "platform/ORVUnits.h"
#include "database/ParamKSLParser.h"
#include "tests/support/thrown.h"

#include <cmath>
#include <cstdio>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <locale>
#include <optional>
#include <rapidcheck/gtest.h>
#include <tuple>

using namespace orv;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

static_assert(sizeof(ParamDefinition) <= 56, "there are millions of parameters");

ParamDefinition paramOf(const std::string& value)
{
  return ParamDefinition("P", "", "", "Real", value, "");
}

ErrorMsg invalid(const std::string& function, const std::string& message)
{
  return {"ParamDefinition", function, message, 4};
}

// Prefers millimetres for metres, and nothing else.
struct Millimetres : UnitSystemHandler {
  UnitSystemHandler* before = setCurrent(this);
  ~Millimetres() override { setCurrent(before); }
  std::string getPreferredUnitsFromUnits(const std::string& units, const std::string& quantity) const override
  {
    return units == "m" && quantity.empty() ? "mm" : "";
  }
};

// The language is that of three patterns of sscanf, which is asked here where it has no faults of its own.
std::optional<Quantity> scannedByPatterns(const std::string& text)
{
  double value = 0;
  char units[64] = {};
  char close = 0;
  char rest = 0;
  if (std::sscanf(text.c_str(), " %lf %c", &value, &rest) == 1)
    return Quantity(value);
  if (std::sscanf(text.c_str(), " %lf [ %63[^]]%c %c", &value, units, &close, &rest) == 3 && close == ']')
    return Quantity(value, units);
  char word[2] = {};
  if (std::sscanf(text.c_str(), " %lf [ %1s %c", &value, word, &rest) == 2 && word[0] == ']')
    return Quantity(value);
  return std::nullopt;
}

RC_GTEST_PROP(ParamDefinition, ReadsQuantitiesAsThePatternsDo, ())
{
  const auto piece = rc::gen::element<std::string>("1", "20", ".", "-", "+", "e3", "E-2", " ", "\t", " [",
                                                   "m", "]", "]", "x", "0x1F", "p2");
  const auto pieces = *rc::gen::resize(10, rc::gen::container<std::vector<std::string>>(piece));
  std::string text = *rc::gen::element<std::string>("", "1", "2.5 [", "2.5[m]");
  for (const std::string& each : pieces)
    text += each;
  RC_PRE(text.find_first_not_of(" \t") != std::string::npos);
  RC_PRE(text.find("0x1F") == std::string::npos || text.find("p2") == std::string::npos);

  const ParamDefinition param = paramOf(text);
  const std::optional<Quantity> expected = scannedByPatterns(text);
  RC_ASSERT(param.isPureNumeric() == expected.has_value());
  if (!expected || std::isinf(expected->getValue()))
    return;
  RC_ASSERT(param.getQuantityValue().getValue() == expected->getValue());
  RC_ASSERT(param.getQuantityValue().getUnits() == expected->getUnits());
}

TEST(ParamDefinition, ReadsNumbersAndWords)
{
  const std::vector<int> integers = {-12, 7, -7, 7, 1000, 2147483647, 26, std::numeric_limits<int>::min()};
  EXPECT_EQ(paramOf(" -12 ,7.9,-7.9, 7 [],1e3,2147483647,0x1A,-2147483648").getIntArray(), integers);
  EXPECT_THAT(paramOf("").getIntArray(), IsEmpty());
  EXPECT_EQ(paramOf("1 [m], -2 [m], 0.5").getTripletValue("mm"), (TripletBase<float>{1000, -2000, 0.5F}));
  EXPECT_EQ(paramOf("3.4028234e38").getFloatValue(), std::numeric_limits<float>::max());
  EXPECT_TRUE(paramOf("On").getBoolValue() && paramOf("Off").getBoolValue("True"));
  EXPECT_EQ(paramOf("-0e99999999999999999999").getQuantityValue().getValue(), 0);
  // What the scanner does not take is computed; a comma inside a call does not end an element.
  EXPECT_THAT(paramOf("max(1,2), 3 + 1").getFloatArray(), ElementsAre(2, 4));
  EXPECT_THAT(paramOf("max(1,2), b").getExpressionArray(),
              ElementsAre(ExpressionDef("max(1,2)"), ExpressionDef("b")));
  EXPECT_THAT(ParamDefinition::createNameValueMap({"b = 1=2", "a", "b = 3"}),
              ElementsAre(std::pair("a", ""), std::pair("b", "1=2")));
}

// Whatever the host has set.
TEST(ParamDefinition, NumbersFollowNoLocale)
{
  struct Grouped : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouped));
  const double value = paramOf("1234567.5").getQuantityValue().getValue();
  const std::string text = paramOf("1234567.5 [m], 0.1").getValue(true, "m");
  std::locale::global(before);
  EXPECT_EQ(value, 1234567.5);
  EXPECT_EQ(text, "1234567.5,0.1");
}

TEST(ParamDefinition, RefusesBadNumbers)
{
  using P = ParamDefinition;
  const auto asInt = [](const P& p) { p.getIntValue(); };
  const auto asQuantity = [](const P& p) { p.getQuantityValue(); };
  const auto asMillimetres = [](const P& p) { p.getFloatValue("mm"); };
  const auto asFloats = [](const P& p) { p.getFloatArray(); };
  const auto asTriplet = [](const P& p) { p.getTripletValue(); };
  const auto asText = [](const P& p) { p.getValue(true, ""); };
  const auto asBool = [](const P& p) { p.getBoolValue("perhaps"); };
  const std::string noInt = "No value for parameter P.";
  const std::string empty = "Value for parameter 'P' is empty.";
  const std::string notThree = "Parameter P must have exactly three values.";
  const std::string tooBig = "out of range";
  const struct {
    std::string text;
    std::function<void(const P&)> read;
    const char* function;
    std::string message;
  } cases[] = {
      {"", asInt, "getIntValueInternal", noInt},
      {"7 [s]", asInt, "getIntValue", "Integer parameter value 7 [s] must be Dimensionless."},
      {"2147483648", asInt, "getIntValue", tooBig},
      {"1,,2", asFloats, "getQuantityValueInternal", empty},
      {"1,2,3,4", asTriplet, "getTripletValue", notThree},
      {"-1e400", asQuantity, "getQuantityValueInternal", tooBig},
      {"1e38 [m]", asMillimetres, "getFloatValue", tooBig},
      {"1e400", asText, "getValue", tooBig},
      {"True", asBool, "getBoolValue", "Parameter 'P' (of type boolean) cannot have value 'perhaps'."},
  };
  for (const auto& c : cases) {
    const std::string message =
        c.message == tooBig ? "Value '" + c.text + "' of parameter 'P' is out of range." : c.message;
    EXPECT_EQ(thrown<data::invalid>([&] { c.read(paramOf(c.text)); }), invalid(c.function, message))
        << c.text;
  }
  EXPECT_EQ(thrown<data::invalid>([] { paramOf("2.5 m").getQuantityValue(); }).getClassName(),
            "ExpressionEvaluator");
  EXPECT_EQ(thrown<data::invalid>([] { paramOf("1 [m]").getValue(true, "s"); }).getClassName(),
            "UnitsConverter");
}

TEST(ParamDefinition, AllowsListedValuesOnly)
{
  for (const char* type : {"String List", "String"}) {
    auto* rules = new ParamDefinition::Rules;
    rules->type = type;
    rules->setAllowedValues({"B", "A"});
    const ParamDefinition param{refcnt_ptr<const ParamDefinition::Rules>(rules)};
    std::string allowed;
    for (const char* text : {"A", "A, B", "", "A,C", "A,", "a"})
      allowed += param.isAllowedValue(text) ? 'y' : 'n';
    EXPECT_EQ(allowed, type == std::string("String") ? "ynnnnn" : "yyynnn");
  }
}

TEST(ParamDefinition, ConvertsValueText)
{
  const Millimetres preferred;
  const std::tuple<const char*, bool, const char*, const char*> cases[] = {
      {"2.50 [m] , x", false, "", "2.50 [m] , x"},
      {"2.50 [s]", true, "", "2.5"},  // none preferred: its own units
      {"2.50 [m]", false, "cm", "250"},
      {" 2 * x ", true, "", " 2 * x "},
      {"1 [m], x y ,2.0, 3 [cm]", true, "mm", "1000,x y,2,30"},
  };
  for (const auto& [value, converted, units, result] : cases)
    EXPECT_EQ(paramOf(value).getValue(converted, units), result) << value << " " << units;
  EXPECT_EQ(paramOf("10 [C]").getValue(true, "K", true), "10");
  EXPECT_EQ(paramOf("10 [C]").getValue(true, "K", false), "283.15");
}

TEST(ParamKSLParser, FindsTheParameterOfTheInnermostBlockOfTheType)
{
  ParamKSLParser parser({"x = outside", "A: one",    "  x = 1",    "  x = 2",     "  B: inner",
                         "    x = 3",   "    y = 4", "    A: two", "      x = 5", "    END",
                         "  END",       "END",       "A: three",   "  B:",        "    x = 6",
                         "  END",       "END",       "S:",         "  x = 7",     "END"});
  parser.parseForParam("A", "x");
  EXPECT_THAT(parser.getResults(),
              ElementsAre(std::pair("one", "1"), std::pair("three", "6"), std::pair("two", "5")));
  parser.resetResults();
  parser.parseForParam("S", "x");
  parser.parseForParam("B", "y");
  EXPECT_THAT(parser.getResults(), ElementsAre(std::pair("S", "7"), std::pair("inner", "4")));
}

}  // namespace
