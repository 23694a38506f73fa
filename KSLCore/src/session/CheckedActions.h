// Arguments of the library's actions, as their executors take them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

struct ActionFault {
  std::string className;
  std::string function;
  std::string message;
  std::string subject;             // the words that are wrong
  std::vector<std::string> valid;  // what could stand there
};

// What is wrong with the words of an action line, the action first; nothing for actions that the library does not know.
std::optional<ActionFault> faultOf(const std::vector<std::string>& words);
// What getrulesinfo is asked for.
struct RulesInfoRequest {
  std::string type;  // "object" or "parameter", or what is neither
  std::string name;
};
RulesInfoRequest rulesInfoRequest(const std::vector<std::string>& words);
// The value of an argument "name=value"; empty without one.
std::string argumentOf(const std::vector<std::string>& words, std::string_view name);
// Whether objects may come or go by an action in a way that only running it tells.
bool isUnforeseen(const std::string& action);

}  // namespace orv
