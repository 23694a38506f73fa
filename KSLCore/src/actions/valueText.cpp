#include "actions/valueText.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"

namespace orv {

bool canBeReadBack(std::string_view value)
{
  bool afterSpace = true;  // at the beginning, where no blank may stand either
  for (const char c : value) {
    const bool space = StringUtilities::isSpace(c);
    if (static_cast<unsigned char>(c) >= 0x80 || (space && (afterSpace || c != ' ')))
      return false;
    afterSpace = space;
  }
  return (value.empty() || !afterSpace) && StringUtilities::withoutComment(value).size() == value.size();
}

void reportUnlessReadable(const char* className, const char* function, const KSLObject& object,
                          const ParamDefinition& param)
{
  if (canBeReadBack(param.getValue()))
    return;
  ErrorProgressReporter::instance()->reportError(data::invalid(
      className, function,
      _("Value of parameter '%s' of object '%s' cannot be read back.", param.getName(), object.getPath()),
      errorType::warning));
}

}  // namespace orv
