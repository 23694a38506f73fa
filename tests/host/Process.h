// Runs the host as people do.
#pragma once

#include <string>
#include <vector>

struct Outcome {
  int status;  // -1 when it ended by a signal
  std::string out;
  std::string err;
  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out);

// Runs $KSL_BIN with these arguments, in a folder beside the files that makeFile makes. Throws std::runtime_error when it cannot be started.
Outcome ksl(const std::vector<std::string>& arguments, const std::string& input = {});

// The same with standard error on a terminal; its output is in `err`, lines ending in CR LF.
Outcome kslOnTerminal(const std::vector<std::string>& arguments);

std::string sourceDir();  // $KSL_SOURCE_DIR
std::string readFile(const std::string& path);
// Writes a file in a folder of this test program's own and returns its path.
std::string makeFile(const std::string& name, const std::string& text);
