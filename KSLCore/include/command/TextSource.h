// Where a command text comes from, for those who are told of its errors.
#pragma once

#include <cstddef>
#include <string>

namespace orv {

// Holds a text that is entered, and can do without while it runs: a text may be as large as the model that it makes.
class TextKeeper {
 public:
  virtual ~TextKeeper() = default;
  // The text was read. From here on nobody asks for it but by readAgain.
  virtual void letGo() noexcept = 0;
  // The same text once more, for errors to tell their lines; an empty one when it is no longer to be had.
  virtual std::string readAgain() = 0;
};

struct TextSource {
  std::string name = {};      // as errors show it: a file, say; empty when the text is the program's own
  std::size_t firstLine = 1;  // of the text, where its source has more in front of it
  // The text is made of lines of this file, in their order, but lacks some: errors are looked for in the file itself.
  bool isExcerpt = false;
  TextKeeper* keeper = nullptr;  // not owned; of the text, when it may go; lives as long as the text runs
};

}  // namespace orv
