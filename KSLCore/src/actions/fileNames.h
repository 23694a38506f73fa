// What the file actions know of files and of the object that says which are being read.
#pragma once

#include <string>
#include <string_view>

namespace orv {

inline constexpr const char* fileProcessingPath = "/FILE PROCESSING";
inline constexpr const char* processingModeParam = "Processing Mode";
inline constexpr const char* pathStackParam = "Path Stack";
inline constexpr const char* idleMode = "None";
inline constexpr const char* idlePathStack = ".";

// The file that a text names: blanks at its ends, and quotes around it, which a name with a "#" needs, are taken off.
std::string asFileName(std::string_view text);

// The file to read for a "filename=" argument: the text without any of its white space, as writers take it. When there
// is no such file, but one named as typed (without quotes), that one: names with blanks are usual. Both are also
// looked for beside the files in progress.
std::string fileToRead(std::string_view argument);

}  // namespace orv
