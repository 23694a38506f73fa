#include "ExpressionLexer.h"

#include "platform/ORVUtilities.h"

#include <algorithm>
#include <charconv>

namespace orv {

namespace {

bool isDigit(char c)
{
  return c >= '0' && c <= '9';
}

bool isHexDigit(char c)
{
  return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isNameLetter(char c)
{
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isNameCharacter(char c)
{
  return isNameLetter(c) || isDigit(c) || c == '_' || c == '.';
}

bool isContinuationByte(char c)
{
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// The reader of numbers does not tell too large from too small. True when the number, known to be one of
// them, is too small: the place of its first digit that is not zero and its exponent decide.
bool isTooSmall(std::string_view number, bool hex)
{
  std::size_t mark = number.find_first_of(hex ? "pP" : "eE");
  std::string_view digits = number.substr(0, mark);
  long exponent = 0;
  if (mark != std::string_view::npos) {
    std::string_view text = number.substr(mark + 1);
    bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
      text.remove_prefix(1);
    constexpr long huge = 1'000'000'000'000;
    if (std::from_chars(text.data(), text.data() + text.size(), exponent).ec != std::errc())
      exponent = huge;
    exponent = std::min(exponent, huge) * (negative ? -1 : 1);
  }
  std::size_t point = std::min(digits.find('.'), digits.size());
  std::size_t first = digits.find_first_not_of("0.");
  long place = static_cast<long>(point) - static_cast<long>(std::min(first, digits.size()));
  return place * (hex ? 4 : 1) + exponent < 0;
}

}  // namespace

ExpressionToken ExpressionLexer::next()
{
  while (m_pos < m_text.size() && StringUtilities::isSpace(m_text[m_pos]))
    ++m_pos;
  if (m_pos == m_text.size())
    return {ExpressionToken::end, m_pos, {}};
  if (startsNumber())
    return takeNumber();
  if (isNameLetter(at(m_pos)))
    return takeName();
  return at(m_pos) == '[' ? takeUnits() : takeSymbol();
}

bool ExpressionLexer::startsNumber() const
{
  return isDigit(at(m_pos)) || (at(m_pos) == '.' && isDigit(at(m_pos + 1)));
}

ExpressionToken ExpressionLexer::take(ExpressionToken::Kind kind, std::size_t length)
{
  ExpressionToken token{kind, m_pos, m_text.substr(m_pos, length)};
  m_pos += length;
  return token;
}

ExpressionToken ExpressionLexer::takeNumber()
{
  bool hex = at(m_pos) == '0' && (at(m_pos + 1) | 0x20) == 'x'
             && (isHexDigit(at(m_pos + 2)) || (at(m_pos + 2) == '.' && isHexDigit(at(m_pos + 3))));
  const char* start = m_text.data() + m_pos;
  const char* digits = hex ? start + 2 : start;
  double value = 0;
  auto [end, error] = std::from_chars(digits, m_text.data() + m_text.size(), value,
                                      hex ? std::chars_format::hex : std::chars_format::general);
  ExpressionToken token = take(ExpressionToken::number, static_cast<std::size_t>(end - start));
  if (error == std::errc::result_out_of_range) {
    if (!isTooSmall({digits, end}, hex))
      throw ExpressionFault{token.position, "the number is too large"};
    value = 0;
  }
  token.value = value;
  return token;
}

ExpressionToken ExpressionLexer::takeUnits()
{
  std::size_t close = m_text.find(']', m_pos);
  if (close == std::string_view::npos)
    throw ExpressionFault{m_pos, "']' is missing"};
  ExpressionToken token = take(ExpressionToken::units, close + 1 - m_pos);
  token.text = StringUtilities::trimmed(token.text.substr(1, token.text.size() - 2));
  return token;
}

ExpressionToken ExpressionLexer::takeName()
{
  std::size_t end = m_pos;
  while (isNameCharacter(at(end)) || (at(end) == ' ' && isNameCharacter(at(end + 1))))
    ++end;
  return take(ExpressionToken::name, end - m_pos);
}

// A character of several bytes stays whole, for the message that refuses it.
ExpressionToken ExpressionLexer::takeSymbol()
{
  if (at(m_pos + 1) == '=' && std::string_view("<>=!").find(at(m_pos)) != std::string_view::npos)
    return take(ExpressionToken::symbol, 2);
  std::size_t end = m_pos + 1;
  while (isContinuationByte(at(end)))
    ++end;
  return take(ExpressionToken::symbol, end - m_pos);
}

}  // namespace orv
