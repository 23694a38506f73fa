// What every executor asks of its word list.
#pragma once

#include "command/KSLUpdateMode.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// Throws internal::badParam of the given class and function: "Input parameter %s is empty." with
// "p_action" for no words, "Action '%s' cannot be handled by %s." for a first word that is none of `names`.
void checkAction(const std::vector<std::string>& words, std::initializer_list<std::string_view> names,
                 const char* className, const char* function = "invoke");

// Throws ksl::invalid: "Action '%s' requires at least %d argument(s). Received %d argument(s).".
void checkAtLeast(const std::vector<std::string>& words, const char* action, int count,
                  const char* className);
// Throws ksl::invalid: "Action '%s' requires %d argument(s). Received %d argument(s).".
void checkExactly(const std::vector<std::string>& words, const char* action, int count,
                  const char* className);

// (name, value) of an argument "name=value", all white space taken out of both, and quotes off around the value: the
// file actions take arguments so.
// Throws ksl::invalid, function "invoke", "Syntax error: %s parameters should have the format: %s" with the action and
// "param=value", when there is no "=".
std::pair<std::string, std::string> squeezedArgument(const std::string& argument, const char* action,
                                                     const char* className);
// The text with its first letter in upper case, as modes are compared.
std::string capitalised(std::string text);

// The path that an argument names, in today's form: quotes around the whole or around names are taken off. A text
// without a leading "/" comes back as a name.
std::string namedPath(const std::string& argument);

// Runs "> delete" for the objects with these paths; nothing for none.
void deleteObjects(const std::vector<std::string>& paths, kslUpdateMode mode);

}  // namespace orv
