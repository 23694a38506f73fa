// "ksl eval": computes one expression.
#pragma once

#include "ReportText.h"

#include <string>
#include <vector>

class EvalCommand {
 public:
  struct Options {
    std::string expression;
    std::string units;        // to show the result in; empty: as the expression gives it
    bool difference = false;  // in `units` the zero points of scales do not count
    std::string state;        // a state file whose expressions can be used; empty: none
    std::vector<std::string> libraries;
    ReportFormat format = ReportFormat::text;
  };

  // Prints the value as "NUMBER [UNITS]". Returns the exit status: 0, or 1 when an error was reported.
  static int run(const Options& options);
};
