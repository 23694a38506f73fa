#include "session/QuietActions.h"

#include "platform/ORVUtilities.h"
#include "command/Executive.h"

#include <algorithm>
#include <memory>
#include <set>
#include <utility>

namespace orv {

namespace {

// Those of the library that keep to the objects.
const std::set<std::string>& harmlessWords()
{
  static const std::set<std::string> words{"update",      "undo",   "redo",     "forceupdate",
                                           "fu",          "delete", "copy",     "rename",
                                           "readsession", "rs",     "readstate"};
  return words;
}

class Forwarder : public ActionExecutor {
 public:
  explicit Forwarder(ActionExecutor* executor) : m_executor(executor) {}
  void invoke(const std::vector<std::string>& words) override { m_executor->invoke(words); }

 private:
  ActionExecutor* m_executor;
};

class PassOver : public ActionExecutor {
 public:
  explicit PassOver(const QuietActions::PassedOver& tell) : m_tell(tell) {}
  void invoke(const std::vector<std::string>& words) override
  {
    if (m_tell)
      m_tell(words);
  }

 private:
  const QuietActions::PassedOver& m_tell;
};

}  // namespace

QuietActions::QuietActions(Executive& executive, const std::vector<std::string>& harmless,
                           PassedOver passedOver)
    : m_executive(executive),
      m_former(executive.getActionFactory()),
      m_passedOver(std::move(passedOver))
{
  if (!m_former)
    return;
  for (const std::string& word : m_former->getActions()) {
    const bool isHarmless = harmlessWords().count(word) > 0
                            || std::find(harmless.begin(), harmless.end(), word) != harmless.end();
    if (isHarmless)
      m_actions.registerExecutor(word, std::make_unique<Forwarder>(m_former->getExecutor(word)));
    else
      m_actions.registerExecutor(word, std::make_unique<PassOver>(m_passedOver));
  }
  m_executive.setActionFactory(&m_actions);
}

QuietActions::~QuietActions()
{
  m_executive.setActionFactory(m_former);
}

std::vector<std::string> filesWrittenBy(const std::vector<std::string>& words)
{
  std::vector<std::string> files;
  if (words.empty() || (words.front() != "savestate" && words.front() != "session"))
    return files;
  for (const std::string& word : words) {
    const auto [name, value] = StringUtilities::splitNameValue(word);
    if (name == "filename" && !value.empty())
      files.emplace_back(StringUtilities::unquoted(value));
  }
  return files;
}

}  // namespace orv
