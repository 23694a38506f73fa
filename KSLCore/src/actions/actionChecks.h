// What every executor asks of its word list.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
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

// The path that an argument names, in today's form: quotes around the whole or around names are taken off. A text
// without a leading "/" comes back as a name.
std::string namedPath(const std::string& argument);

}  // namespace orv
