// All that a model holds, as a number.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Of the objects with all parameters, computed ones too, of what is to be computed and what is kept of it, and of the
// steps that can be undone and redone.
std::uint64_t modelHash();
// Each object's path and hash, and "" for the steps: to find out what differs.
std::vector<std::pair<std::string, std::uint64_t>> objectHashes();
