#include "platform/ORVError.h"
#include "platform/ORVExpressionFunctions.h"
#include "platform/ORVExpressions.h"
#include "platform/internal/ContextLocal.h"
#include "platform/src/units/UnitsDatabase.h"
#include "ExpressionParser.h"
#include "ExpressionProgram.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace orv {

namespace {

constexpr const char* expressionDefClass = "ExpressionEvaluator";
constexpr const char* function = "evalSingleValue";

constinit ContextLocal<ExpressionResolver*> theResolver;

// In characters, from 1.
std::size_t columnOf(std::string_view text, std::size_t position)
{
  auto isCharacterStart = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
  std::string_view before = text.substr(0, position);
  return static_cast<std::size_t>(std::count_if(before.begin(), before.end(), isCharacterStart)) + 1;
}

// From there to the end of the word, or of the units.
std::string wordAt(std::string_view text, std::size_t position)
{
  text.remove_prefix(std::min(position, text.size()));
  if (text.starts_with('['))
    return std::string(text.substr(0, text.find(']')).substr(1));
  const auto isWord = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
  const auto end = std::find_if_not(text.begin(), text.end(), isWord);
  return std::string(text.begin(), end == text.begin() && !text.empty() ? end + 1 : end);
}

Diagnostic aboutFault(const std::string& text, const std::string& parameter, const ExpressionFault& fault)
{
  const std::string word = wordAt(text, fault.position);
  const bool isUnits = fault.position < text.size() && text[fault.position] == '[';
  Diagnostic more = isUnits ? unknownUnits(word) : Diagnostic();
  if (more.subject.empty())
    more.subject = word;
  more.parameter = parameter;
  return more;
}

data::invalid makeError(const std::string& text, const std::string& parameter, const ExpressionFault& fault)
{
  std::string where = parameter.empty() ? std::string() : _(" for parameter '%s'", parameter);
  return diagnosed(data::invalid(expressionDefClass, function,
                                 _("Cannot evaluate '%s'%s at column %d: %s.", text, where,
                                   columnOf(text, fault.position), fault.reason)),
                   aboutFault(text, parameter, fault));
}

}  // namespace

// ----------------------------------------------------------------------------------------------------- values

ExpressionValue::ExpressionValue(double number, const UnitDimensions& dimensions, ScaleKind kind)
    : m_quantity(number, dimensions.toUnits(), kind == ScaleKind::difference),
      m_number(number),
      m_dimensions(dimensions),
      m_kind(kind),
      m_plain(!m_quantity.hasUnits())
{}

ExpressionValue::ExpressionValue(Quantity quantity)
    : m_quantity(std::move(quantity)),
      m_number(m_quantity.getValue()),
      m_plain(!m_quantity.hasUnits())
{
  if (m_plain)
    return;
  m_dimensions = UnitDimensions(m_quantity.getUnits());
  UnitsConverter::convertUnits(m_quantity.getUnits(), m_dimensions.toUnits(), m_quantity.getValue(), m_number,
                               m_quantity.isDifference());
  m_kind = m_quantity.isDifference() ? ScaleKind::difference : literalKind(m_quantity.getUnits());
}

// ------------------------------------------------------------------------------------------------ expressions

void ExpressionDef::parse(const std::string& parameterName)
{
  if (m_program)
    return;
  try {
    m_program = std::make_shared<const ExpressionProgram>(ExpressionParser(m_text).parse());
  } catch (const ExpressionFault& fault) {
    throw makeError(m_text, parameterName, fault);
  }
}

const std::vector<std::string>& ExpressionDef::getNames() const
{
  return m_program->names();
}

const std::vector<std::string>& ExpressionDef::getUnknownFunctions() const
{
  return m_program->unknownFunctions();
}

std::string ExpressionDef::print() const
{
  return m_program->print();
}

bool ExpressionDef::isSameTree(const ExpressionDef& other) const
{
  return m_program->isSameTree(*other.m_program);
}

ExpressionValue ExpressionDef::evaluate(const std::vector<const ExpressionValue*>& values,
                                        const std::string& parameterName) const
{
  if (!m_program->unknownFunctions().empty())
    throw diagnosed(data::notFound(expressionDefClass, function,
                                   _("Expression '%s' depends on a function '%s' which does not exist.",
                                     m_text, m_program->unknownFunctions().front())),
                    oneOf(m_program->unknownFunctions().front(), expressionFunctionNames()));
  try {
    return m_program->run(values);
  } catch (const ExpressionFault& fault) {
    throw makeError(m_text, parameterName, fault);
  }
}

// Units may hold any letters, where nothing in them or before them could make a list come apart within. The letter of an
// exponent stands behind a digit or a point; a name there would be a fault of syntax.
bool ExpressionDef::mayUseNames(std::string_view text) noexcept
{
  bool inUnits = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const auto letter = static_cast<unsigned char>(c | 0x20);
    if (inUnits) {
      inUnits = c != ']';
      if (c == '[' || c == '"' || c == ',' || c == '(' || c == ')' || c == '{' || c == '}')
        return true;
    } else if (c == '[') {
      inUnits = true;
    } else if (c == '"') {
      return true;
    } else if (letter >= 'a' && letter <= 'z') {
      const bool isExponent =
          letter == 'e' && i > 0 && (text[i - 1] == '.' || (text[i - 1] >= '0' && text[i - 1] <= '9'));
      if (!isExponent)
        return true;
    }
  }
  return inUnits;
}

bool ExpressionDef::isName(std::string_view text)
{
  ExpressionLexer lexer(text);
  try {
    const ExpressionToken token = lexer.next();
    return token.kind == ExpressionToken::name && token.text == text && text != "pi" && text != "e"
           && !findExpressionFunction(text);
  } catch (const ExpressionFault&) {
    return false;
  }
}

std::string ExpressionDef::renamed(const std::string& text, std::string_view from, std::string_view to)
{
  std::string out;
  std::size_t copied = 0;
  ExpressionLexer lexer(text);
  try {
    for (ExpressionToken token = lexer.next(); token.kind != ExpressionToken::end; token = lexer.next()) {
      if (token.kind != ExpressionToken::name || token.text != from)
        continue;
      out.append(text, copied, token.position - copied).append(to);
      copied = token.position + token.text.size();
    }
  } catch (const ExpressionFault&) {
    return text;
  }
  return out.append(text, copied);
}

// -------------------------------------------------------------------------------------------------- evaluating

ExpressionResolver::~ExpressionResolver() = default;

ExpressionResolver* ExpressionResolver::installed() noexcept
{
  return *theResolver;
}

ExpressionResolver* ExpressionResolver::install(ExpressionResolver* resolver) noexcept
{
  return std::exchange(*theResolver, resolver);
}

ExpressionValue ExpressionEvaluator::evaluate(const std::string& text, const std::string& parameterName)
{
  ExpressionDef expression(text);
  expression.parse(parameterName);
  ExpressionResolver* const resolver = *theResolver;
  std::vector<ExpressionValue> values;
  for (const std::string& name : expression.getNames()) {
    std::optional<ExpressionValue> value =
        resolver ? resolver->valueOf(name, expression, parameterName) : std::nullopt;
    if (!value)
      throw data::notFound(expressionDefClass, function,
                           _("Expression '%s' depends on a variable '%s' which does not exist.", text, name));
    values.push_back(std::move(*value));
  }
  std::vector<const ExpressionValue*> pointers;
  for (const ExpressionValue& value : values)
    pointers.push_back(&value);
  return expression.evaluate(pointers, parameterName);
}

Quantity ExpressionEvaluator::evalSingleValue(const std::string& text, const std::string& parameterName)
{
  return evaluate(text, parameterName).getQuantity();
}

}  // namespace orv
