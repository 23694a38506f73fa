// Values as KSL text carries them.
#pragma once

#include <string_view>

namespace orv {

class KSLObject;
class ParamDefinition;

// Whether a value that is written to KSL text reads back the same: no "#" outside double quotes, nothing that is not
// ASCII, no white space but single blanks between words. What was entered as KSL text is so but for the ASCII; values
// set by programs may not be.
bool canBeReadBack(std::string_view value);
// Reports one that cannot: data::invalid of type 8, "Value of parameter '%s' of object '%s' cannot be read back.".
void reportUnlessReadable(const char* className, const char* function, const KSLObject& object,
                          const ParamDefinition& param);

}  // namespace orv
