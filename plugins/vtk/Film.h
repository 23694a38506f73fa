// Pictures one after the other.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace results {

struct Film {
  std::vector<std::string> pictures;  // contents of PNG files
};

// The content of a file of the kind that the name says, made by ffmpeg. Where that is not installed a warning says so, and
// there is no film. Throws data::invalid when it cannot make such a file.
std::optional<std::string> joined(const Film& film, const std::string& file, double perSecond);

}  // namespace results
