// What reading a whole file comes to, in whatever way it is read.
#pragma once

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace orv {

// The names in a directory; 0, or the system's reason. In place of the standard iterators, which end the process when
// there is no memory for them.
int namesIn(const std::string& directory, std::vector<std::string>& names);

// Why a file is not read to its end.
std::string tooLargeText();

// Reads until `readSome`, given room and its size, says that there is no more (0). Throws nothing of its own; false when
// there is more than a text may have.
template <class ReadSome>
bool readWhole(std::string& text, ReadSome readSome)
{
  constexpr std::size_t step = std::size_t{1} << 16;
  std::size_t size = 0;
  for (std::size_t got = 1; got > 0; size += got) {
    if (size > ORVFile::largestText)
      return false;
    if (size == text.size())  // doubles, so that growing costs no more than reading
      text.resize(std::min(size + std::max(step, size), ORVFile::largestText + 1));
    got = readSome(text.data() + size, text.size() - size);
  }
  text.resize(size);
  return true;
}

// As programs take it: without a byte-order mark, and CR LF read as LF.
void tidyText(std::string& text);

}  // namespace orv
