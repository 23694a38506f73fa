// One model over many values.
#pragma once

#include "platform/ORVError.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace orv {

// A parameter and the values that it is to have.
struct SweepSetting {
  std::string object;  // its path
  std::string parameter;
  std::vector<std::string> values;

  // Of "PATH.PARAMETER=VALUES". Values are separated by commas; those without units have the last one's ("0, 10, 20
  // [cm]"). "A..B/N" stands for N values from A to B, both included. data::invalid, class "SweepSetting", function
  // "parse", "'%s' is not PATH.PARAMETER=VALUES.".
  static ORV_API SweepSetting parse(const std::string& text);
};

struct SweepOptions {
  std::string library = {};    // as that of a Session
  std::string model = {};      // KSL text; what it names is where the process is
  std::string modelFile = {};  // the same in a file, run before that
  // Every combination is tried, the last setting's values changing fastest.
  std::vector<SweepSetting> settings = {};
  // Parameters to show, "PATH.NAME". None: all single values that were computed.
  std::vector<std::string> shown = {};
  // A folder for the files that calculations write, in which each combination has one of its own ("0001"). Empty: none
  // are written.
  std::string pictures = {};
  std::size_t jobs = 0;  // threads; 0: one for each core
  // Asked now and then on the calling thread; true ends the sweep.
  std::function<bool()> stop = {};
};

// What came of it.
struct SweepTable {
  struct Row {
    std::vector<std::string> values;             // of the settings, in their order
    std::map<std::string, std::string> results;  // by "PATH.NAME"
    std::vector<std::string> files;              // the pictures, and whatever else was written
    std::vector<ErrorMsg> errors;                // why there are no results
  };
  std::vector<std::string> settings;  // "PATH.PARAMETER"
  std::vector<Row> rows;
};

// Each thread has a session, in which it runs the model once, and then sets the values of one combination after the
// other: what does not depend on them is not computed again. Throws what a session does, orv::Interrupt when it was
// stopped, and data::error, class "Sweep", function "sweep", with what the model's first report says, "Object '%s' does
// not exist." or "There are no values." where there is nothing to be tried.
ORV_API SweepTable sweep(const SweepOptions& options);

// Tables with a column for each setting, each result, the files and the errors. Where all values of a column have the
// same units, these stand in its head, and numbers in the column.
ORV_API std::string toCsv(const SweepTable& table);
// The same as a list of objects.
ORV_API std::string toJson(const SweepTable& table);

}  // namespace orv
