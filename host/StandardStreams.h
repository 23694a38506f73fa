// The streams that a program begins with.
#pragma once

#include <string>

// To be called before any file is opened. Where standard input, output or error is closed, /dev/null is opened: else the
// next file would get its number, and what is printed would go into that. Writing to a file beyond the limit that a
// shell may set (ulimit -f) becomes an error like a full disk.
void secureStandardStreams();

// All of standard input. Throws orv::file::error, class "ksl", function "readStandardInput", "Cannot read standard
// input: %s.", also for a directory and for what does not end.
std::string readStandardInput();
// Throws that for a directory.
void requireReadableInput();
