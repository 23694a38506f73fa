// Which parameters of an object are meant.
#pragma once

namespace orv {

// A bit mask. Internal parameters belong to the program, external ones to the user.
enum ParamFilter { externalParams = 1, internalParams = 2, allParams = 3 };

}  // namespace orv
