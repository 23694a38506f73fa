#include "blockText.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"

namespace orv {

namespace {

// Whether a line "name = value" says just that.
bool canBeWritten(const std::string& name, const std::string& value)
{
  if ((name + value).find_first_of("\n\r") != std::string::npos)
    return false;
  const std::string line = name + " = " + value + " ";
  const MiniKSLParser::Line scanned = MiniKSLParser::scan(line);
  if (scanned.type != MiniKSLParser::parameterLine)
    return false;
  const auto [readName, readValue] = StringUtilities::splitNameValue(scanned.text);
  const auto squeezed = [](const std::string& text) { return StringUtilities::simplifyWhitespace(text); };
  return squeezed(readName) == squeezed(name) && squeezed(readValue) == squeezed(value);
}

}  // namespace

std::string blockText(const std::string& path, const std::map<std::string, std::string>& values)
{
  const KSLPath blocks(path);
  KSLBuilder text;
  for (std::size_t i = 0; i < blocks.size(); ++i)
    text.beginObject(blocks[i].type, blocks[i].singleton ? std::string() : blocks[i].name);
  for (const auto& [name, value] : values) {
    if (!canBeWritten(name, value))
      throw data::invalid("Session", "set",
                          _("Value '%s' of parameter '%s' cannot be written as text.", value, name));
    text.addParam(name, value);
  }
  for (std::size_t i = 0; i < blocks.size(); ++i)
    text.endObject();
  return text.text();
}

}  // namespace orv
