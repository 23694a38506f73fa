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
  bool isLater = false;  // it would not be told if the text came behind one of the later ones
};

// Where a text names something: an object by its header or in a value, a named expression by its definition or in
// another expression.
struct NameInText {
  std::size_t text = 0;  // as in findings
  std::size_t offset = 0;
  std::size_t size = 0;
  std::string name = {};  // the path of the object, or the name of the expression
  bool isExpression = false;
  bool isDefinition = false;
};

// What checks of the same texts find out again and again: keep one beside texts that are checked after each edit. A
// statement whose bytes are the same is not judged again, whatever else has changed; what it means together with others
// is. For one set of rules; it is of no use once they change.
class ORV_API CheckMemory {
 public:
  CheckMemory();
  ~CheckMemory();
  CheckMemory(const CheckMemory&) = delete;
  CheckMemory& operator=(const CheckMemory&) = delete;

  // To be called when another tree, and not only an edited one, takes the place of that which was checked with this key.
  void forget(std::size_t key);

 private:
  friend class TextChecker;
  class Impl;
  std::unique_ptr<Impl> m_impl;
};

// Checks texts against the rules in force, one after the other, as if each were entered as one command with validation
// on: syntax, types, parameters, values, units, references, names in expressions, contexts, parents, actions and their
// arguments. It goes on where entering ends, so that all is told at once. Nothing is computed, written or changed; objects
// that the database holds count as being there.
//
// What is told and what entering does agree, but for what only a calculation, or a file that an action reads, knows: after
// an action whose effect on the objects cannot be foreseen (undo, readstate), missing objects are no longer told. An object
// that only a later text defines is told as a warning. Of circles those of expressions are told.
//
// Linear in the texts. Memory for the objects that they define, not for their parameters.
class ORV_API TextChecker {
 public:
  // The words of actions that there are.
  explicit TextChecker(const std::vector<std::string>& actions);
  // The same for texts that are checked again and again; the memory outlives the checker.
  TextChecker(const std::vector<std::string>& actions, CheckMemory& memory);
  ~TextChecker();
  TextChecker(const TextChecker&) = delete;
  TextChecker& operator=(const TextChecker&) = delete;

  // The tree says how the text would be read. Of one that is read as a library the syntax alone is checked: what it
  // defines is checked by KSLRules.
  void check(const SyntaxTree& tree);
  // With a memory: a text of the caller's own number. REQUIRES: a memory was given.
  void check(const SyntaxTree& tree, std::size_t key);
  // From now on what texts name is kept, for `names`. REQUIRES: nothing was checked yet.
  void collectNames();
  // By text and place, once: all that names objects that are there, and expressions that are defined. Trees that were
  // checked must still be there.
  std::vector<NameInText> names();
  // All findings, by text and place. The checker is done with then.
  std::vector<CheckFinding> finish();

 private:
  class Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace orv
