// "ksl describe": what the rules say, for people and programs.
#pragma once

#include "Query.h"

#include <string>

class DescribeCommand {
 public:
  struct Options {
    QueryOptions query;
    std::string subject;  // a type, "TYPE.PARAM", or an object as findNamed takes it; empty for all types
    std::string html;     // folders for a reference manual, empty for none
    std::string markdown;
  };

  static int run(const Options& options);
  // Tells of what there is now. Throws data::notFound for what there is not.
  static void print(const Options& options);
};
