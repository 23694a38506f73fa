// Files of definitions among the texts that people work on.
#pragma once

#include "platform/ORVSyntax.h"

#include <string>
#include <vector>

// Whether a text holds definitions: RULES stand first.
bool isLibrary(const orv::SyntaxTree& tree);

struct Definitions {
  std::vector<std::string> files;
  bool defineClasses = false;  // they say which classes there are, as a library must that needs no other

  // Nothing happens when the text holds none.
  void add(const std::string& file, const orv::SyntaxTree& tree);
};

// The libraries for texts some of which are definitions: those that are given, else the usual ones, with the
// definitions; these alone when they need no others.
std::vector<std::string> librariesFor(const Definitions& definitions, const std::vector<std::string>& given);
