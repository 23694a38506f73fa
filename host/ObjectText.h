// Objects as text, for people.
#pragma once

#include <string>

namespace orv {
class KSLObject;
}

// As "> getstate" finds objects, and with its warning: null when there is none.
const orv::KSLObject* findObject(const std::string& pathOrName);

// External state texts of the objects in a list of paths or names; those that do not exist are warned of. "/" is
// all of them.
std::string stateText(const std::string& list);

// A line "TYPE: name" for the object and everything below it, indented by depth. Of the root only what is below.
std::string treeText(const orv::KSLObject& top);
