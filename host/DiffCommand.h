// "ksl diff": how what two texts, states or sessions come to differs.
#pragma once

#include "Query.h"

#include <string>
#include <vector>

class DiffCommand {
 public:
  struct Options {
    QueryOptions query;
    std::vector<std::string> files;  // two of them; "-" is standard input
    bool values = false;             // what means the same is equal
  };

  // Returns the exit status: 0 when they do not differ, 1 when they do, 2 when an error was reported.
  static int run(const Options& options);
};
