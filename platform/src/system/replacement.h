// The steps of replacing a file as a whole, for those that do not take them all at once.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace orv {

// What a file name leads to.
struct ReplaceTarget {
  std::string name;     // links resolved
  bool regular = true;  // or not there, and not a link to nowhere either
  bool exists = false;
  mode_t permissions = 0;  // of one that exists

  static ReplaceTarget of(const std::string& fileName);
};

// The operations give 0 or the system's reason.

// What is to stand in a file, one piece behind the other.
using Pieces = std::span<const std::string_view>;

// Writes the text, complete and on the disk, to a new file beside the target, with its permissions, and gives its name.
int writeBeside(const ReplaceTarget& target, Pieces text, std::string& temporary);
int writeDirectly(const std::string& name, Pieces text);
// Another name for the file, beside it, to put it back from.
int keepBeside(const ReplaceTarget& target, std::string& temporary);
int moveOver(const std::string& temporary, const ReplaceTarget& target);

// What says that nobody may make or rename files in a place, while the file itself may well be written.
bool directoryRefuses(int failure);

}  // namespace orv
