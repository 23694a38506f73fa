// What the parts of a check share: what there is, what was found, and the text under way.
#pragma once

#include "platform/ORVSyntax.h"
#include "CheckedFindings.h"
#include "CheckedNames.h"
#include "CheckedObjects.h"
#include "CheckedTypes.h"

#include <cstddef>
#include <string>

namespace orv {

struct CheckState {
  // The types outlive this.
  explicit CheckState(CheckedTypes& knownTypes) : types(knownTypes) {}

  CheckedTypes& types;
  CheckedObjects objects{types};
  CheckedFindings findings;
  CheckedNames names;
  bool collects = false;  // the names
  const SyntaxTree* tree = nullptr;
  std::size_t text = 0;                          // the number of the text
  bool unforeseen = false;                       // what is there may be otherwise than it seems
  SyntaxTree::Index removal = SyntaxTree::none;  // the action that took objects away and has not settled
  std::string room;                              // for statements that are read

  static ErrorMsg error(const char* className, const char* function, std::string message);
  static ErrorMsg warning(const char* className, const char* function, std::string message);

  // As CheckedFindings::add does; of an object, and of a parameter of it unless that is null.
  CheckFinding& add(ErrorMsg error, SyntaxTree::Index node, SyntaxTree::LeafKind leaf, std::string subject);
  CheckFinding& add(ErrorMsg error, SyntaxTree::Index node, SyntaxTree::LeafKind leaf, std::string subject,
                    CheckedObjects::Index object, const CheckedParam* param);
};

}  // namespace orv
