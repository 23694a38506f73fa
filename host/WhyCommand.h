// "ksl why": what an object is computed from, and what reached it last.
#pragma once

#include "Query.h"

#include <string>

class WhyCommand {
 public:
  struct Options {
    QueryOptions query;
    std::string subject;  // as findNamed takes it
  };

  static int run(const Options& options);
};
