#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "UnitNames.h"
#include "UnitsDatabase.h"

#include <algorithm>

namespace orv {

namespace {

constexpr std::size_t maxLength = 255;
// The package keeps exponents in 16 bits and wraps silently; with this bound none comes near.
constexpr long maxExponentProduct = 4096;

bool isPowerDigit(char c)
{
  return c >= '0' && c <= '9';
}

bool isWordStart(char c)
{
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) > 127;
}

// "K @ 273.15" and its words, which give a scale a zero point or make it a date. Nobody needs them, and the
// package leaks a word that it does not expect behind them.
bool isShiftWord(std::string_view word)
{
  std::string lower = StringUtilities::toLower(word);
  return lower == "from" || lower == "since" || lower == "after" || lower == "ref";
}

// Walks over the text once, word by word.
class Translator {
 public:
  Translator(std::string_view text, const UnitDictionary& dictionary) : m_text(text), m_dictionary(dictionary)
  {}

  std::optional<std::string> run()
  {
    while (m_pos < m_text.size()) {
      if (!takeExponent() || !takeNext())
        return std::nullopt;
    }
    return std::move(m_out);
  }

  // Of the word that made the text refused; empty when it was something else.
  std::string_view hint() const { return m_hint; }

 private:
  char at(std::size_t pos) const { return pos < m_text.size() ? m_text[pos] : '\0'; }
  void copyTo(std::size_t end)
  {
    m_out += m_text.substr(m_pos, end - m_pos);
    m_pos = end;
  }
  std::size_t skipDigits(std::size_t pos) const
  {
    while (isPowerDigit(at(pos)))
      ++pos;
    return pos;
  }

  // An exponent straight behind a unit or a parenthesis: "^-2", "**2", "-2", "2". False when it is refused.
  bool takeExponent()
  {
    std::size_t digits = m_pos;
    if (at(digits) == '^')
      ++digits;
    else if (at(digits) == '*' && at(digits + 1) == '*')
      digits += 2;
    bool marked = digits > m_pos;
    if (!marked && !m_afterUnit)
      return true;
    m_afterUnit = false;
    if (at(digits) == '-' || at(digits) == '+')
      ++digits;
    std::size_t end = skipDigits(digits);
    if (end == digits)
      return !marked;
    if (at(end) == '.' && isPowerDigit(at(end + 1)))
      return false;
    long exponent = 0;
    for (std::size_t i = digits; i < end && exponent <= maxExponentProduct; ++i)
      exponent = exponent * 10 + (m_text[i] - '0');
    m_exponentProduct *= std::max(exponent, 1L);
    copyTo(end);
    return m_exponentProduct <= maxExponentProduct;
  }

  bool takeNext()
  {
    if (m_pos == m_text.size())
      return true;
    char c = at(m_pos);
    if (isWordStart(c))
      return takeWord();
    if (isPowerDigit(c))
      return takeNumber();
    m_afterUnit = c == ')' || c == '%' || c == '\'' || c == '"';
    copyTo(m_pos + 1);
    return c != '@';
  }

  // Digits inside a word are part of it ("H2O"), digits behind it are its exponent ("m2"). The mark of a gauge
  // pressure is part of it too ("bar(g)"); behind anything else it would be read as grams.
  bool takeWord()
  {
    std::size_t end = m_pos;
    while (isWordStart(at(end)) || isPowerDigit(at(end)))
      ++end;
    while (isPowerDigit(at(end - 1)))
      --end;
    constexpr std::size_t markLength = 3;
    const std::string_view mark = m_text.substr(end, markLength);
    if (takesPressureMark(m_text.substr(m_pos, end + mark.size() - m_pos))) {
      end += mark.size();
    } else if (mark == "(g)") {
      m_hint = "Gauge pressures are 'bar(g)', 'mbar(g)', 'kPa(g)', 'MPa(g)' and 'psig'; grams need a blank";
      return false;
    }
    std::string_view word = m_text.substr(m_pos, end - m_pos);
    const UnitWord read = readUnitWord(word, m_dictionary);
    m_out += read.text;
    m_hint = read.hint;
    m_pos = end;
    m_afterUnit = true;
    return m_hint.empty() && !isShiftWord(word);
  }

  // False for zero, which is no scale: the package would leak a word behind it.
  bool takeNumber()
  {
    std::size_t end = skipDigits(m_pos);
    if (at(end) == '.')
      end = skipDigits(end + 1);
    bool isZero = m_text.substr(m_pos, end - m_pos).find_first_not_of("0.") == std::string_view::npos;
    if (at(end) == 'e' || at(end) == 'E') {
      std::size_t digits = end + 1 + (at(end + 1) == '-' || at(end + 1) == '+' ? 1 : 0);
      if (isPowerDigit(at(digits)))
        end = skipDigits(digits);
    }
    copyTo(end);
    return !isZero;
  }

  std::string_view m_text;
  const UnitDictionary& m_dictionary;
  std::size_t m_pos = 0;
  std::string m_out;
  std::string_view m_hint;
  long m_exponentProduct = 1;
  bool m_afterUnit = false;
};

}  // namespace

std::optional<std::string> translateUnits(std::string_view units, const UnitDictionary& dictionary)
{
  units = StringUtilities::trimmed(units);
  if (units.size() > maxLength || units.find('\0') != std::string_view::npos)
    return std::nullopt;
  return Translator(units, dictionary).run();
}

std::string notRecognized(std::string_view units)
{
  std::string message = _("Units '%s' are not recognized.", units);
  const UnitsDatabase::Dictionary dictionary(UnitsDatabase::instance());
  Translator translator(StringUtilities::trimmed(units), *dictionary);
  if (!translator.run() && !translator.hint().empty())
    message.append(" ").append(translator.hint()).append(".");
  return message;
}

}  // namespace orv
