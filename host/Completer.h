// What a line of the shell could go on with.
#pragma once

#include "CommandInput.h"
#include "CompletionSources.h"
#include "LineReader.h"

#include <string>
#include <string_view>
#include <vector>

namespace orv {
class ActionFactory;
class KSLObject;
class ParamDefinition;
}  // namespace orv

// Knows the grammar of commands, and asks the rules and the objects that there are at the moment for the rest:
//   TYPE: name          types; names of the objects of the type
//   Name = value        in a block, parameters that its type lists; values that are allowed, objects that can be
//                       referred to, units in brackets, functions and names in expressions, else the value that it
//                       has now
//   > action argument   actions that are registered; their words, objects, files
//   .word argument      the shell's own
// What was typed counts as it is; when nothing begins so, as it would be in other letters ("cut" finds "CUT: ").
// Linear in the objects that could be meant, of one parent.
class Completer {
 public:
  // `words` are the shell's own, with a "@" behind those that take an object. All outlive this.
  Completer(const orv::ActionFactory& actions, const std::vector<std::string>& words,
            const NamedObjects& objects = NamedObjects::ofDatabase())
      : m_actions(actions),
        m_words(words),
        m_objects(objects)
  {}

  Completions complete(const CommandInput& input, std::string_view beforeCursor) const;

 private:
  // Each completes the text from `start` on.
  Completions completeAction(std::string_view text) const;
  Completions completeArgument(std::string_view word, std::string_view text, std::size_t start) const;
  Completions completeOwn(std::string_view text) const;
  Completions completeHeader(const CommandInput& input, std::string_view text, std::size_t colon) const;
  Completions completeValue(const CommandInput& input, std::string_view text, std::size_t equals) const;
  Completions completeWord(const CommandInput& input, const orv::ParamDefinition* param,
                           std::string_view text, std::size_t whole) const;
  std::vector<std::string> sourced(std::string_view source, std::string_view typed) const;
  Completions completeStatement(const CommandInput& input, std::string_view text) const;

  const orv::ActionFactory& m_actions;
  const std::vector<std::string>& m_words;
  const NamedObjects& m_objects;
};
