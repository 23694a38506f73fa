// From the text of an expression to its program.
//
//   expression = sum [ ( "<" | "<=" | ">" | ">=" | "==" | "!=" ) sum ]
//   sum        = term { ( "+" | "-" ) term }
//   term       = signed { ( "*" | "/" ) signed }
//   signed     = { "+" | "-" } power
//   power      = primary [ "^" signed ]
//   primary    = number [ units ] | name | function "(" [ expression { "," expression } ] ")" | "(" expression ")"
//
// So "^" is right associative and binds tighter than a sign before it: "-2^2 + 2^-1" is -3.5. A sign straight
// before a number that is not raised belongs to the number.
//
// Nothing recurses: what is open waits on a stack until an operator that binds less tightly, or the end of the
// group, closes it. The two states are "an operand comes next" and "an operator comes next".
#pragma once

#include "ExpressionLexer.h"
#include "ExpressionProgram.h"

#include <vector>

namespace orv {

class ExpressionParser {
 public:
  static constexpr std::size_t maxNesting = 1000;

  // The text must outlive the parser.
  explicit ExpressionParser(std::string_view text) : m_lexer(text) {}

  // Throws ExpressionFault at the first place that is wrong. To be called once.
  ExpressionProgram parse();

 private:
  enum class Kind { binary, sign, group, call };
  // What waits for its right operand, or for its closing parenthesis.
  struct Open {
    Kind kind;
    ExpressionProgram::Code code;  // of binary operators and calls; of a sign: negate, or literal for "+"
    int level;                     // how tight it binds; groups and calls bind nothing
    std::size_t position;
    std::uint32_t arguments = 0;  // of calls: read so far
    const ExpressionFunction* function = nullptr;
    std::string_view name = {};  // of calls
  };

  void advance() { m_token = m_lexer.next(); }
  [[noreturn]] void failUnexpected() const;
  void push(const Open& open);
  Open pop();
  bool nests(const Open& open) const;

  // Each reads a word or more; the result tells whether an operand comes next.
  bool readOperand();
  bool readOperator();

  void readNumber();
  bool readName();
  bool openCall(const ExpressionToken& name);
  bool closeParenthesis();
  bool nextArgument();
  void closeCall(const Open& call);
  // Closes operators that bind at least as tightly as the level.
  void reduce(int level);
  void finish();

  ExpressionLexer m_lexer;
  ExpressionToken m_token;
  ExpressionProgram m_program;
  std::vector<Open> m_open;
  std::size_t m_nesting = 0;
};

}  // namespace orv
