// "ksl plan": what entering texts would do.
#pragma once

#include "Query.h"

#include <string>
#include <vector>

class PlanCommand {
 public:
  struct Options {
    QueryOptions query;              // what there is before
    std::vector<std::string> files;  // that would be entered; "-" is standard input
  };

  static int run(const Options& options);
  // Plans what the files would do to what there is now.
  static void print(const Options& options);
};
