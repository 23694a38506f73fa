#include "platform/ORVExpressions.h"
#include "platform/ORVUtilities.h"
#include "tests/support/thrown.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace orv {
namespace {

// "value [units]", or "@column reason" of the error, or the whole message about a name.
std::string evaluate(const std::string& text)
{
  try {
    return ExpressionEvaluator::evalSingleValue(text, "").toString();
  } catch (const data::notFound& error) {
    EXPECT_EQ(error.getClassName() + "::" + error.getFunction(), "ExpressionEvaluator::evalSingleValue");
    return error.getMessage();
  } catch (const data::invalid& error) {
    EXPECT_EQ(error.getClassName(), "ExpressionEvaluator");
    EXPECT_EQ(error.getFunction(), "evalSingleValue");
    EXPECT_EQ(error.getType(), errorType::ordinary);
    const std::string& message = error.getMessage();
    const std::string head = "Cannot evaluate '" + text + "' at column ";
    EXPECT_EQ(message.substr(0, head.size()), head);
    std::string rest = message.substr(std::min(head.size(), message.size()));
    return "@" + rest.replace(rest.find(':'), 1, "");
  }
}

struct Row {
  std::string text;
  std::string expected;
};

void expectRows(const std::vector<Row>& rows)
{
  for (const Row& row : rows)
    EXPECT_EQ(evaluate(row.text), row.expected) << row.text;
}

// The rows "| `expression` | `result` |" of the page that people read.
TEST(Expressions, ExamplesOfThePage)
{
  const char* root = std::getenv("KSL_SOURCE_DIR");
  std::ifstream page(std::string(root ? root : ".") + "/docs/expressions.md");
  std::vector<Row> rows;
  for (std::string line; std::getline(page, line);) {
    std::size_t middle = line.find("` | `");
    if (line.starts_with("| `") && middle != std::string::npos && line.ends_with("` |"))
      rows.push_back({line.substr(3, middle - 3), line.substr(middle + 5, line.size() - middle - 8)});
  }
  EXPECT_GE(rows.size(), 20u);
  expectRows(rows);
}

// 10 K is 18 F as a difference and -441.67 F as a temperature.
TEST(Expressions, DifferencesHaveNoZeroPoint)
{
  const std::tuple<const char*, const char*, double> rows[] = {
      {"30 [C] - 20 [C]", "F", 18},
      {"(30 [C] - 20 [C]) * 2 + (1 [K] - 2 [K]) / 2", "F", 35.1},
      {"max(30 [C] - 20 [C], 0 [K]) - mod(30 [C] - 20 [C], 4 [K])", "F", 14.4},
      {"300 [K] - 20 [C]", "K", 6.85},
      {"30 [C] - (20 [C] - 15 [C])", "C", 25},
      {"30 [psig] - 20 [psig]", "psig", 10},
  };
  for (const auto& [text, units, expected] : rows)
    EXPECT_NEAR(ExpressionEvaluator::evalSingleValue(text, {}).convertTo(units), expected, 1e-9) << text;
}

TEST(Expressions, ValuesAndErrors)
{
  expectRows({
      {"\t1\n+\r\v\f1 ", "2"},
      {"0x.8p1 + 0X10 + 5.", "22"},
      {"1" + std::string(400, '0') + "e-400", "1"},
      {"--20 [C] + 0 [K]", "293.15 [K]"},
      {"1 [rad s^-1] + 1 [s^-1]", "2 [rad s^-1]"},
      {"if(0, 1 / 0, 5) + if(1, 6, sqrt(-1) * 2 + 1e308 * 10)", "11"},
      {"1 +", "@4 syntax error, the text ends too early."},
      {"2 [m", "@3 ']' is missing."},
      {"1 [\xC2\xB5m] + \xC2\xB5", "@10 syntax error at '\xC2\xB5'."},
      {"1 + inf + Pi", "Expression '1 + inf + Pi' depends on a variable 'inf' which does not exist."},
      {"1 + Flow Ratio.2_a (1, 2)",
       "Expression '1 + Flow Ratio.2_a (1, 2)' depends on a function 'Flow Ratio.2_a' which does not exist."},
      {"1 < 2 < 3", "@7 a comparison of a comparison needs parentheses."},
      {"if(1, 2 [m], 3 [s] / 0)", "@1 function 'if' cannot take 'm' together with 's'."},
      {"1 [m] < 2 [s]", "@7 cannot compare 'm' with 's'."},
      {"sin", "@1 function 'sin' needs arguments in parentheses."},
      {"7 [R]", "@3 Units 'R' are not recognized. 'R' is roentgen; degrees Rankine are 'degR'."},
      {"1 - 2 [mm]", "@3 cannot subtract 'm' from a pure number."},
      {"2 ^ 1 [m]", "@3 the exponent must be a pure number, not 'm'."},
      {"int(1 [m])", "@1 function 'int' needs a pure number, not 'm'."},
      {"0 ^ -1", "@3 division by zero."},
      {"(-8) ^ 0.5", "@6 a negative number has no power with a fraction as exponent."},
      {"log(-1)", "@1 logarithm of a negative number."},
      {"asin(1.5)", "@1 function 'asin' needs a number from -1 to 1."},
      {"1e99999999999999999999", "@1 the number is too large."},
      {"1e308 [km] * 1", "@1 the number is too large in base units."},
      {"1 / exp(1000)", "@5 the result is not finite."},
      {"1 [m] ^ 1e300", "@7 the units have too large an exponent."},
  });
  EXPECT_EQ(
      thrown<data::invalid>([] { ExpressionEvaluator::evalSingleValue("1 + %s", "Radius"); }).getMessage(),
      "Cannot evaluate '1 + %s' for parameter 'Radius' at column 5: syntax error at '%'.");
}

std::string repeat(std::string_view piece, int count)
{
  std::string text;
  for (int i = 0; i < count; ++i)
    text += piece;
  return text;
}

TEST(Expressions, NestAsDeepAsAllowedAndAreAsLongAsYouLike)
{
  for (const auto& [open, close] : {std::pair("(", ")"), {"abs(", ")"}, {"-", ""}, {"", "^1"}}) {
    const auto nested = [&](int depth) { return repeat(open, depth) + "1" + repeat(close, depth); };
    EXPECT_EQ(evaluate(nested(1000)), "1");
    for (int depth : {1001, 100000}) {
      const std::string error = evaluate(nested(depth));
      EXPECT_EQ(error.substr(error.find(' ')), " nested more than 1000 deep.");
    }
  }
  EXPECT_EQ(evaluate(repeat("(-1)+", 3000) + "3000"), "0") << "levels that are closed do not count";
  EXPECT_EQ(evaluate("max(0" + repeat(",2*-1 [m] / -1 [m],1", 100000) + ")"), "2");
}

TEST(Expressions, PrintingTakesOffWhatIsNotNeeded)
{
  ExpressionDef expression("if((a<b)==(c>1), max(a,(b)), ((1)+(2*(3)))-(4-5) * (-2)^2 * -(20 [C]) - -3)");
  expression.parse();
  const std::string expected =
      "if((a < b) == (c > 1), max(a, b), 1 + 2 * 3 - (4 - 5) * (-2)^2 * -(20 [C]) - -3)";
  EXPECT_EQ(expression.print(), expected);
  ExpressionDef other("(" + expected + ") + 0");
  other.parse();
  EXPECT_FALSE(other.isSameTree(expression));
}

// Texts whose dimensions fit: a length, or a pure number, which needs no parentheses to fit.
class TextMaker {
 public:
  explicit TextMaker(unsigned seed) : m_random(seed) {}

  std::string make(int depth, bool length)
  {
    const auto other = [&] { return "(" + make(depth - 1, length) + ")"; };
    const auto number = [&] { return "(" + make(depth - 1, false) + ")"; };
    const auto operand = [&] { return length || pick(2) == 0 ? other() : make(depth - 1, length); };
    const auto lengthText = [&] { return "(" + make(depth - 1, true) + ")"; };
    if (depth <= 0)
      return leaf(length);
    switch (pick(length ? 6 : 9)) {
      case 0:
        return operand() + oneOf({" + ", "-"}) + operand();
      case 1:
        return oneOf({"min", "max", "mod"}) + "(" + other() + ", " + other() + ")";
      case 2:
        return "if(" + number() + oneOf({"<", "<=", ">", ">=", "==", "!="}) + number() + ", " + other() + ", "
               + other() + ")";
      case 3:
        return oneOf({"-", "abs"}) + other();
      case 4:
        return number() + " * " + operand();
      case 5:
        return length ? "sqrt(" + other() + " * " + other() + ")" : operand() + "^" + operand();
      case 6:
        return "(" + lengthText() + " / " + lengthText() + ")";
      case 7:
        return pick(2) == 0 ? operand() + " / " + operand()
                            : "atan2(" + lengthText() + ", " + lengthText() + ")";
      default:
        return oneOf({"sin", "cos", "tan", "atan", "tanh", "int", "exp", "cosh", "sinh", "asin", "acos",
                      "log", "log10", "sqrt"})
               + other();
    }
  }

 private:
  std::size_t pick(std::size_t count) { return m_random() % count; }
  std::string oneOf(std::initializer_list<const char*> words) { return words.begin()[pick(words.size())]; }
  std::string leaf(bool length)
  {
    const std::string digits = StringUtilities::toString(static_cast<double>(pick(400)) / 16);
    if (length)
      return digits + oneOf({" [m]", " [cm]"});
    return pick(4) == 0 ? oneOf({"pi", "e", "30 [degree]"}) : digits;
  }

  std::mt19937 m_random;
};

std::vector<std::string> linesFromPython(const std::vector<std::string>& texts)
{
  const char* root = std::getenv("KSL_SOURCE_DIR");
  const std::string input = testing::TempDir() + "expressions.txt";
  std::ofstream file(input);
  for (const std::string& text : texts)
    file << text << '\n';
  file.close();
  const std::string command =
      "python3 '" + std::string(root ? root : ".") + "/tests/tools/evaluate.py' < " + input;
  FILE* pipe = popen(command.c_str(), "r");
  std::string output;
  char buffer[4096];
  while (const std::size_t count = fread(buffer, 1, sizeof buffer, pipe))
    output.append(buffer, count);
  EXPECT_EQ(pclose(pipe), 0);
  return StringUtilities::stringToVector(output, '\n');
}

void expectPrintedTextIsTheSameTree(const std::string& text)
{
  ExpressionDef expression(text);
  expression.parse();
  ExpressionDef printed(expression.print());
  printed.parse();
  ASSERT_TRUE(printed.isSameTree(expression)) << text << " printed as " << printed.getText();
  ASSERT_EQ(printed.print(), printed.getText());
}

// What another program computes, to rounding; an error is an error there too.
TEST(Expressions, AgreeWithAnIndependentEvaluator)
{
  TextMaker maker(20261121);
  std::vector<std::string> texts;
  for (int i = 0; i < 3000; ++i)
    texts.push_back(maker.make(i % 6, i % 2 == 0));
  const std::vector<std::string> answers = linesFromPython(texts);
  ASSERT_GE(answers.size(), texts.size());
  int errors = 0;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    expectPrintedTextIsTheSameTree(texts[i]);
    std::optional<ExpressionValue> value;
    try {
      value = ExpressionEvaluator::evaluate(texts[i], "");
    } catch (const data::invalid&) {}
    ASSERT_EQ(value.has_value(), answers[i] != "error") << texts[i];
    errors += !value;
    if (!value)
      continue;
    double number = 0;
    double exponent = 0;
    double largest = 0;
    std::istringstream(answers[i]) >> number >> exponent >> largest;
    ASSERT_NEAR(value->getNumber(), number, 1e-12 * largest) << texts[i];
    ASSERT_EQ(value->getDimensions().exponents()[1], exponent) << texts[i];
  }
  EXPECT_GT(errors, 20);
  EXPECT_LT(errors, 1500);
}

TEST(Expressions, NamesThatCanBeUsed)
{
  for (const char* name : {"a", "Flow Ratio", "x.1_b 2", "Pi", "maximum"})
    EXPECT_TRUE(ExpressionDef::isName(name)) << name;
  for (const char* name :
       {"", " a", "a ", "a  b", "1a", "_a", "a-b", "a\tb", "pi", "e", "max", "if", "[m]", "[", "a[m]"})
    EXPECT_FALSE(ExpressionDef::isName(name)) << name;
}

// Of texts of which this says that they use no names nobody asks again.
TEST(Expressions, NoNamesAreOverlooked)
{
  const std::string_view pieces[] = {"1",  ".", "e", "E2", "x", "[m]", "[", "]", "[N (m)]",
                                     "\"", ",", " ", "(",  ")", "{",   "}", "+", "sin("};
  std::mt19937 random(1);
  int without = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (auto left = random() % 9 + 1; left > 0; --left)
      text += pieces[random() % std::size(pieces)];
    if (ExpressionDef::mayUseNames(text))
      continue;
    ++without;
    for (const std::string& item : StringUtilities::splitValue(text)) {
      ExpressionDef expression(item);
      try {
        expression.parse();
      } catch (const data::invalid&) {
        continue;
      }
      EXPECT_TRUE(expression.getNames().empty() && expression.getUnknownFunctions().empty()) << text;
    }
  }
  EXPECT_GT(without, 1000);
  EXPECT_FALSE(ExpressionDef::mayUseNames("-1.5e3 [kg m^-3] * (2. + 3E-2), 5 [C]"));
}

}  // namespace
}  // namespace orv
