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

std::string fileToRead(std::string_view argument)
{
  std::string squeezed = StringUtilities::removeAllWhitespace(argument);
  std::string typed = StringUtilities::removeWhitespace(argument);
  return squeezed != typed && !isFound(squeezed) && isFound(typed) ? typed : squeezed;
}

}  // namespace orv
