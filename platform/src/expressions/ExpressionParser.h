// From the text of an expression to its program.
//
//   expression = term { ( "+" | "-" ) term }
//   term       = signed { ( "*" | "/" ) signed }
//   signed     = { "+" | "-" } power
//   power      = primary [ "^" signed ]
//   primary    = number [ units ] | constant | function "(" expression { "," expression } ")" | "("
//   expression ")"
//
// So "^" is right associative and binds tighter than a sign before it: "-2^2 + 2^-1" is -3.5. A sign straight
// before a number that is not raised belongs to the number. Sums and products run in a loop; parentheses,
// signs and "^" recurse, 256 deep at most.
#pragma once

#include "ExpressionLexer.h"
#include "ExpressionProgram.h"

namespace orv {

class ExpressionParser {
 public:
  static constexpr int maxNesting = 256;

  // The text must outlive the parser.
  explicit ExpressionParser(std::string_view text) : m_lexer(text) {}

  // Throws ExpressionFault at the first place that is wrong. To be called once.
  ExpressionProgram parse();

 private:
  class Nesting;  // a level that is open

  void advance() { m_token = m_lexer.next(); }
  [[noreturn]] void failUnexpected() const;
  void expectSymbol(char symbol);

  void parseExpression() { parseBinary(0); }
  void parseBinary(std::size_t level);
  // These tell whether they read nothing but a number, maybe with signs.
  bool parseSigned();
  bool parsePower();
  bool parsePrimary();

  void parseNumber();
  void parseName();
  void parseCall(const ExpressionToken& name);
  void parseGroup();

  ExpressionLexer m_lexer;
  ExpressionToken m_token;
  ExpressionProgram m_program;
  int m_nesting = 0;
};

}  // namespace orv
