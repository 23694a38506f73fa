// "ksl fmt": puts KSL files into the one style.
#pragma once

#include "ReportText.h"

#include <string>
#include <vector>

class FormatCommand {
 public:
  struct Options {
    std::vector<std::string> files;  // "-" is standard input, whose text goes to standard output
    bool check = false;              // writes nothing and names the files that are not in the style
    bool diff = false;               // writes nothing and shows what would change
    ReportFormat format = ReportFormat::text;
  };

  // Returns the exit status: 0, or 1 when a file could not be formatted, or with `check` is not in the style. A file
  // with a fault in its syntax is reported and stays as it is, and so is one that cannot be read or written; the
  // others are formatted all the same.
  static int run(const Options& options);
};
