#include "actions/ReadableText.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"

namespace orv {

bool isReadable(std::string_view value) noexcept
{
  bool afterSpace = true;  // at the beginning, where no blank may stand either
  for (const char c : value) {
    const bool space = StringUtilities::isSpace(c);
    if (space && (afterSpace || c != ' '))
      return false;
    afterSpace = space;
  }
  return (value.empty() || !afterSpace) && StringUtilities::withoutComment(value).size() == value.size();
}

data::invalid unreadable(const char* className, const char* function, const std::string& object,
                         const std::string& parameter)
{
  return data::invalid(className, function,
                       _("Value of parameter '%s' of object '%s' cannot be read back.", parameter, object),
                       errorType::warning);
}

void reportUnreadable(const char* className, const char* function, const std::string& object,
                      const std::string& parameter, std::string_view value)
{
  if (!isReadable(value))
    ErrorProgressReporter::instance()->reportError(unreadable(className, function, object, parameter));
}

}  // namespace orv
