// Files of definitions among the texts that people work on.
#pragma once

#include "platform/ORVSyntax.h"

#include <string>
#include <vector>

// Whether a text holds definitions: RULES stand first.
bool isLibrary(const orv::SyntaxTree& tree);

// By which files are compared, however they are named.
std::string canonicalName(const std::string& file);

struct Definitions {
  std::vector<std::string> files;
  std::vector<std::string>
      headers;  // of these: they say which classes there are, as a library must that needs no other

  // Nothing happens when the text holds none.
  void add(const std::string& file, const orv::SyntaxTree& tree);
  bool has(const std::string& file) const;
  // False when it is none of these.
  bool drop(const std::string& file);
};

// The libraries for texts some of which are definitions: those that are given, else the usual ones, with the
// definitions; these alone when they need no others. Definitions without a header whose folder has one are a part of
// the library there.
std::vector<std::string> librariesFor(const Definitions& definitions, const std::vector<std::string>& given);
