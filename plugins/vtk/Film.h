// Pictures one after the other.
#pragma once

#include <string>
#include <vector>

namespace results {

struct Film {
  std::vector<std::string> pictures;  // contents of PNG files
};

// The content of a file of the kind that the name says, made by ffmpeg. Throws data::invalid when there is none, or when
// it cannot make such a file.
std::string joined(const Film& film, const std::string& file, double perSecond);

}  // namespace results
