// The subcommand "sweep".
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Runs a model over many values and writes the table of what came of them to standard output.
struct SweepCommand {
  struct Options {
    std::vector<std::string> libraries;
    std::string model;                  // a file
    std::vector<std::string> settings;  // "PATH.PARAMETER=VALUES"
    std::vector<std::string> shown;     // "PATH.NAME"
    std::string pictures;               // a folder
    bool json = false;
    std::size_t jobs = 0;
  };

  // The exit status: 1 when an error was reported, also when some combinations failed; 130 after Ctrl-C.
  static int run(const Options& options);
};
