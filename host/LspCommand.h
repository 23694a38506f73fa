// "ksl lsp": the language server on standard input and output.
#pragma once

#include "Texts.h"

class LspCommand {
 public:
  // The libraries alone count. Returns the exit status: 0 when the client said good-bye as the protocol has it.
  static int run(const TextOptions& options);
};
