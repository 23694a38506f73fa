// What is wrong with texts, without entering them.
#pragma once

#include "platform/ORVError.h"
#include "platform/ORVExport.h"
#include "platform/ORVSyntax.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace orv {

// Something that is told of a text: an error that entering it would report, or a warning (type 8).
struct CheckFinding {
  ErrorMsg error;
  std::size_t text = 0;  // the number of the text, from 0 in the order in which they were checked
  std::size_t offset = 0;
  std::size_t size = 0;
  std::string object = {};              // its path
  std::string parameter = {};           // of this object
  std::string subject = {};             // the words that are wrong
  std::vector<std::string> valid = {};  // what could stand in their place
  struct Note {
    std::size_t offset;
    std::string message;
  };
  std::vector<Note> notes = {};
};

// Checks texts against the rules in force, one after the other, as if each were entered as one command with validation
// on: syntax, types, parameters, values, units, references, names in expressions, contexts, parents, actions and their
// arguments. It goes on where entering ends, so that all is told at once. Nothing is computed, written or changed; objects
// that the database holds count as being there.
//
// What is told and what entering does agree, but for what only a calculation, or a file that an action reads, knows: after
// an action whose effect on the objects cannot be foreseen (undo, readstate), missing objects are no longer told. An object
// that only a later text defines is told as a warning. That an expression which an action deletes is still used is not told.
//
// Linear in the texts. Memory for the objects that they define, not for their parameters.
class ORV_API TextChecker {
 public:
  // The words of actions that there are.
  explicit TextChecker(const std::vector<std::string>& actions);
  ~TextChecker();
  TextChecker(const TextChecker&) = delete;
  TextChecker& operator=(const TextChecker&) = delete;

  // The tree says how the text would be read. Of one that is read as a library the syntax alone is checked: what it
  // defines is checked by KSLRules.
  void check(const SyntaxTree& tree);
  // All findings, by text and place. The checker is done with then.
  std::vector<CheckFinding> finish();

 private:
  class Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace orv
