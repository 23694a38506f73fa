// What the readers of RULES say of one key of a definition.
#pragma once

#include "platform/ORVKSLAPI.h"

#include <string>
#include <vector>

namespace orv {

// Does the reading; an error tells the definition and the key.
template <class Read>
void readingKey(const KSLAPI::ObjectInfo& key, Read read)
{
  try {
    read();
  } catch (Error& error) {
    const std::string& path = key.getPath();
    error.concern(std::string_view(path).substr(0, path.size() - key.getName().size() - 1), key.getName());
    throw;
  }
}

// Warns of a key that nobody reads when it looks like one of these, or like one that people read.
void warnOfMisspeltKey(const KSLAPI::ObjectInfo& key, std::vector<std::string> known);

}  // namespace orv
