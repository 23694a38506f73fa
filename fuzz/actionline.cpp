// Action lines split into words and join again; lines wrap and join again.
#include "platform/ORVUtilities.h"
#include "command/ActionExecutor.h"
#include "command/KSLInterface.h"
#include "fuzz/require.h"

using namespace orv;

namespace {

// A word without blanks at its ends; line ends count as blanks.
bool isTrimmed(const std::string& word)
{
  return StringUtilities::trimmed(word).size() == word.size();
}

void checkWords(const std::string& line)
{
  const std::vector<std::string> words = ActionExecutor::splitActionLine(line);
  require(words.empty() == line.empty(), "no words", line);
  for (const std::string& word : words)
    require(isTrimmed(word), "blanks at the end of a word", line);
  if (words.size() > 1 || (words.size() == 1 && !words.front().empty()))
    require(ActionExecutor::splitActionLine(ActionExecutor::mergeActionLine(words)) == words, "not joined",
            line);
}

void checkWrapping(const std::string& line)
{
  const std::string simple = StringUtilities::simplifyWhitespace(line);
  require(StringUtilities::simplifyWhitespace(simple) == simple, "simplified twice", line);
  const std::string wrapped = StringUtilities::splitStringToSize(simple, 1, 30);
  const std::vector<std::string> joined =
      StringUtilities::removeContinuation(StringUtilities::stringToVector(wrapped, '\n'));
  require(!joined.empty() && StringUtilities::simplifyWhitespace(joined.front()) == simple, "not wrapped",
          line);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const std::string line(reinterpret_cast<const char*>(data), size);
  checkWords(line);
  checkWords(StringUtilities::removeComment(line, '#'));
  (void)KSLInterface::isActionLine(line);
  if (!StringUtilities::trimmed(line).empty()
      && line.find('"') == std::string::npos)  // quoted blanks are a value's own, and stay as they are
    checkWrapping(line);
  return 0;
}
