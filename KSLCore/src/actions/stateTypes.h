// What the writer and the reader of state files know of types.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace orv {

// Of the program's own working, and what is derived: objects of these types are in no state file.
bool isNeverSaved(std::string_view type);
// Made by the reader of the results: a state adjusts such objects, it never makes nor deletes them.
bool isResultsDefined(std::string_view type);
const std::set<std::string, std::less<>>& resultsDefinedTypes();
// False for the parameters that the results reader gives to what it makes.
bool isSavedParam(std::string_view type, std::string_view param);
// True for parameters that are none of these in any type.
bool isSavedOfAnyType(std::string_view param);

}  // namespace orv
