// What becomes of a text when its statements are written anew.
#pragma once

#include "platform/ORVSyntax.h"

#include <string>
#include <vector>

// A unified diff, whose hunks show three lines round each change. `statements` holds the new text of each node, so that
// no lines have to be matched. Empty when nothing changes.
std::string statementDiff(const orv::SyntaxTree& tree, const std::vector<std::string>& statements,
                          const std::string& fileName);
