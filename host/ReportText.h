// Reports as people and programs read them.
#pragma once

#include "platform/ORVError.h"

#include <string>
#include <vector>

enum class ReportFormat {
  text,       // with the line, what would be valid, and the object
  shortText,  // one line
  json,       // an object a line
  sarif,      // one log of all at the end
  github      // workflow commands
};

// Of a report, without a line end. Coloured with escape sequences of terminals; never in the data formats.
std::string reportText(const orv::ErrorMsg& error, ReportFormat format, bool coloured);

// A log of all reports, for ReportFormat::sarif.
std::string sarifLog(const std::vector<orv::ErrorMsg>& errors);

// "file:line:column: ", as far as they are known; "ksl: " for no place.
std::string placeText(const orv::Diagnostic* place);
std::string placeText(const std::string& source, std::size_t line, std::size_t column);
