// "ksl get": values of objects.
#pragma once

#include "Query.h"

#include <string>

class GetCommand {
 public:
  struct Options {
    QueryOptions query;
    std::string objects;  // a list of paths or names, in which * stands for any characters, or PATH.PARAM
    std::string params;   // a list of names, with * likewise; empty for those that state text shows
    std::string units;    // to show numbers in; empty for their own
  };

  static int run(const Options& options);
  // Prints what there is now. Throws data::notFound for what there is not.
  static void print(const Options& options);
};
