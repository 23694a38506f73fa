// Where a command text comes from, for those who are told of its errors.
#pragma once

#include <cstddef>
#include <string>

namespace orv {

struct TextSource {
  std::string name = {};      // as errors show it: a file, say; empty when the text is the program's own
  std::size_t firstLine = 1;  // of the text, where its source has more in front of it
  // The text is made of lines of this file, in their order, but lacks some: errors are looked for in the file itself.
  bool isExcerpt = false;
};

}  // namespace orv
