#include "actions/fileNames.h"

#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "actions/ORVMPStream.h"

namespace orv {

namespace {

bool isFound(const std::string& name)
{
  return ORVFile::exists(ORVMPStream::findLocalFile(name, false));
}

}  // namespace

std::string asFileName(std::string_view text)
{
  return std::string(StringUtilities::trimmed(StringUtilities::unquoted(StringUtilities::trimmed(text))));
}

std::string fileToRead(std::string_view argument)
{
  std::string typed = asFileName(argument);
  std::string squeezed = StringUtilities::removeAllWhitespace(typed);
  return squeezed != typed && !isFound(squeezed) && isFound(typed) ? typed : squeezed;
}

}  // namespace orv
