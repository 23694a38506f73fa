// Runs the host as people do.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

using Arguments = std::vector<std::string>;

struct Outcome {
  int status;  // -1 when it ended by a signal
  std::string out;
  std::string err;
  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out);

// Runs $KSL_BIN with these arguments in workFolder(). The environment is changed as "env" takes it: "A=b C=d".
Outcome ksl(const Arguments& arguments, const std::string& input = {}, const std::string& environment = {});

// The line by which a shell becomes that program.
std::string kslCommand(const Arguments& arguments, const std::string& environment);

std::string sourceDir();   // $KSL_SOURCE_DIR
std::string workFolder();  // ends with "/"; in the folder of makeFile
std::string readFile(const std::string& path);
// Writes a file in a folder of this test program's own and returns its path.
std::string makeFile(const std::string& name, const std::string& text = {});
