// "ksl check": all that is wrong with texts, and nothing is entered.
#pragma once

#include "Query.h"

#include <string>
#include <vector>

class CheckCommand {
 public:
  struct Options {
    TextOptions input;  // what is checked
    std::string load;   // a state file whose objects are there; empty for none
    bool denyWarnings = false;
  };

  // Returns the exit status: 0, or 1 when there are errors, or warnings that are denied.
  static int run(const Options& options);
};
