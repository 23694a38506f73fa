// Texts in one text, for the way between processes.
#pragma once

#include <string>
#include <vector>

std::string packed(const std::vector<std::string>& texts);
// Of what `packed` gave; a text that is cut off is left out.
std::vector<std::string> unpacked(const std::string& text);
