// What the shell's own lines hold.
#pragma once

#include "platform/ORVError.h"
#include "Shell.h"

#include <string>
#include <string_view>
#include <vector>

// One that begins with ".". The argument is what follows the word, trimmed.
struct Shell::OwnCommand {
  const char* word;
  const char* argument;   // as help shows it; empty for none
  const char* completed;  // see Completer::Word
  const char* help;
  void (Shell::*run)(const std::string& argument);
};

// What is typed wrong.
void reportMistake(const std::string& message);
// Without the quotes around it, if there are some.
std::string unquotedArgument(const std::string& argument);
// The arguments of a subcommand: text in double quotes is one. Words without any are one text as far as the next option,
// as names have blanks in them; `apart` makes each of them an argument.
std::vector<std::string> argumentsIn(std::string_view text, bool apart);
