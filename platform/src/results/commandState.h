// What results and files are asked for within commands.
#pragma once

#include <cstdint>
#include <string>

namespace orv {

struct ResultCommand {
  std::uint64_t number = 0;  // of the last that began
  bool underWay = false;
  bool takesBack = false;

  static ResultCommand& current() noexcept;
};

// What counts for a file of that name now, given what it is.
std::string fileStamp(const std::string& path, std::string is);
// What was asked of files since the last call counts from now on, or it never did.
void endFileStamps(bool count) noexcept;

}  // namespace orv
