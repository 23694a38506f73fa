// What the text at a place of a file could go on with.
#pragma once

#include "LspJson.h"

namespace orv {
class ActionFactory;
}

// CompletionList. With `snippets` a header comes with its block: the parameters that it needs, and END.
LspJson completionsAt(const orv::ActionFactory& actions, LspWorkspace& workspace, const LspDocument& document,
                      std::size_t offset, bool snippets);
