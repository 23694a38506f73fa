// What a fuzzer does when something is not as it must be.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

inline void require(bool good, const char* what, const std::string& text = {})
{
  if (good)
    return;
  std::cerr << what << ": '" << text << "'\n";
  std::abort();
}
