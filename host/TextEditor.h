// The user's own editor.
#pragma once

#include <string>

// The text as it is once $VISUAL, $EDITOR or vi has ended well. file::error when it did not, or when there is no place for
// a file to edit.
std::string editedText(const std::string& text);
