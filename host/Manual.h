// The reference manual of a library of definitions.
#pragma once

#include <string>
#include <string_view>

enum class ManualFormat { html, markdown };

// Writes one page for each type, and an index of them, into a folder, which is made when it is not there. Pages of the
// same names are replaced; others stay. Throws file::error as ORVFile::replace does.
void writeManual(const std::string& folder, ManualFormat format);

// Up to and with the first full stop that ends a sentence.
std::string firstSentence(std::string_view text);
