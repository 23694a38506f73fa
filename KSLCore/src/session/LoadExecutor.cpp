#include "LoadExecutor.h"

#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "command/KSLCoreAPI.h"
#include "actions/ORVMPStream.h"

#include <utility>

namespace orv {

namespace {

constexpr const char* loadExecutorClass = "LoadExecutor";

// Refuses whatever is not a domain, a boundary in one, or a parameter of these.
class ResultsCheck : public MiniKSLParser {
 public:
  ResultsCheck(std::vector<std::string> lines, std::string fileName)
      : MiniKSLParser(std::move(lines)),
        m_fileName(std::move(fileName))
  {}

 protected:
  void newObject(const std::string& type, const std::string&) override
  {
    const bool right = openBlocks().size() == 1 ? type == "DOMAIN" : type == "BOUNDARY";
    if (!right || openBlocks().size() > 2 || inReplaceMode())
      refuse();
  }
  void newParameter(const std::string&, const std::string&) override
  {
    if (openBlocks().empty())
      refuse();
  }
  void otherLine(const std::string&) override { refuse(); }

 private:
  [[noreturn]] void refuse() const
  {
    throw file::error(loadExecutorClass, "invoke",
                      _("Results file '%s' holds '%s', which is no part of a domain.", m_fileName,
                        StringUtilities::removeWhitespace(currentLine())));
  }
  std::string m_fileName;
};

std::string resultsFile()
{
  const KSLObject* reader = ObjectDB::instance()->getObjectByPath("/DATA READER");
  std::string name = reader ? reader->getValue("Current Results File") : std::string();
  if (name.empty())
    throw data::invalid(loadExecutorClass, "invoke",
                        _("There are no results to load: DATA READER names no file."));
  return name;
}

}  // namespace

void LoadExecutor::invoke(const std::vector<std::string>& p_action)
{
  if (p_action.empty())
    throw internal::badParam(loadExecutorClass, "invoke", _("Input parameter %s is empty.", "p_action"));
  if (p_action.front() != "load")
    throw internal::badParam(loadExecutorClass, "invoke",
                             _("Action '%s' cannot be handled by %s.", p_action.front(), loadExecutorClass));
  ORVMPStream stream(resultsFile(), ORVStream::Mode::read);
  const std::vector<std::string> lines = StringUtilities::removeContinuation(stream.readLines());
  ResultsCheck(lines, stream.getFileName()).parse();
  const std::string text = StringUtilities::vectorToString(StringUtilities::indentKSL(lines), '\n');
  if (!StringUtilities::trimmed(text).empty())
    KSLCoreAPI::instance()->processKSL(text, kslUpdateDefault,
                                       {.name = stream.getFileName(), .isExcerpt = true});
}

}  // namespace orv
