// "ksl explain": what a report means, and what to do.
#pragma once

#include <string>

class ExplainCommand {
 public:
  // Prints the entries of the table of reports that the text fits best: the message of a report, or the first line of one
  // as it was printed. Returns the exit status: 1 when no report reads so, which is reported.
  static int run(const std::string& text);
};
