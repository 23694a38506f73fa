// "ksl why": what an object is computed from, and what reached it last.
#pragma once

#include "Query.h"

#include <string>

class ChangeRecord;

class WhyCommand {
 public:
  struct Options {
    QueryOptions query;
    std::string subject;  // as findNamed takes it
  };

  static int run(const Options& options);
  // Answers from what was recorded of the commands so far. Throws data::notFound for what there is not.
  static void print(const std::string& subject, const ChangeRecord& record, OutputFormat format);
};
