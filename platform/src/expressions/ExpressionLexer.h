// The words of an expression.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orv {

// Why an expression cannot be computed, and where; evalSingleValue makes the error of it.
struct ExpressionFault {
  std::size_t position;  // byte in the text, from 0
  std::string reason;
};

struct ExpressionToken {
  enum Kind { number, units, name, symbol, end };

  Kind kind = end;
  std::size_t position = 0;
  std::string_view text;  // of units: what stands between the brackets, trimmed
  double value = 0;       // of numbers

  bool isSymbol(char c) const { return kind == symbol && text.size() == 1 && text.front() == c; }
};

//   number = digits [ "." digits ] [ "e" [ sign ] digits ] | "." digits … | "0x" hexdigits [ "." … ] [ "p" … ]
//   units  = "[" anything but "]" "]"
//   name   = letter { [ " " ] ( letter | digit | "_" | "." ) }
//   symbol = "<=" | ">=" | "==" | "!=" | any other character
// White space separates words; one blank within a name belongs to it. Numbers have a decimal point whatever the
// process locale says.
class ExpressionLexer {
 public:
  // The text must outlive the lexer and its tokens.
  explicit ExpressionLexer(std::string_view text) : m_text(text) {}

  // The next word; `end` for ever behind the last. Throws ExpressionFault.
  ExpressionToken next();

 private:
  char at(std::size_t position) const { return position < m_text.size() ? m_text[position] : '\0'; }
  bool startsNumber() const;
  ExpressionToken take(ExpressionToken::Kind kind, std::size_t length);
  ExpressionToken takeNumber();
  ExpressionToken takeUnits();
  ExpressionToken takeName();
  ExpressionToken takeSymbol();

  std::string_view m_text;
  std::size_t m_pos = 0;
};

}  // namespace orv
