// Where objects and named expressions are defined and used, over all texts; and renaming them.
#pragma once

#include "LspJson.h"

// Each at the byte of a document. Null where nothing is named.
// Location[]: the headers that define an object, or the lines that define an expression.
LspJson definitionsAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset);
LspJson referencesAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset,
                     bool withDefinitions);
// DocumentHighlight[]: those in the document itself.
LspJson highlightsAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset);
// The range of the name, and what it is.
LspJson renamableAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset);
// WorkspaceEdit. Throws LspFailure for a name that cannot be, that something else has, or by which some text would
// mean another object than now.
LspJson renameAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset,
                 const std::string& newName);
// The path of the object, or the name of the expression; empty without one.
std::string nameAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset);
