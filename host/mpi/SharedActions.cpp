#include "SharedActions.h"

#include "platform/ORVSystem.h"
#include "platform/ORVUtilities.h"
#include "command/ActionFactory.h"
#include "command/KSLCoreAPI.h"
#include "actions/ReadSessionExecutor.h"
#include "actions/ReadStateExecutor.h"
#include "actions/WriteSessionExecutor.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace {

using Words = std::vector<std::string>;
using Inner = std::unique_ptr<orv::ActionExecutor>;

// Something that one process or all do, and the others wait for.
class Shared : public orv::ActionExecutor {
 public:
  Shared(MpiCommunicator& communicator, Inner inner) : m_communicator(communicator), m_inner(std::move(inner))
  {}

 protected:
  MpiCommunicator& m_communicator;
  Inner m_inner;
};

class Writing : public Shared {
 public:
  using Shared::Shared;
  void invoke(const Words& words) override
  {
    m_communicator.agree("write", [&] {
      if (m_inner)
        m_inner->invoke(words);
    });
  }
};

// The start of a recording shows its settings in an object, which all have.
class Recording : public Writing {
 public:
  using Writing::Writing;
  void invoke(const Words& words) override
  {
    constexpr const char* settings = "/SESSION";
    Writing::invoke(words);
    orv::KSLCoreAPI& api = *orv::KSLCoreAPI::instance();
    const std::string mine = api.hasObject(settings) ? api.getObjectExternalKSL(settings) : std::string();
    const std::string shown = m_communicator.exchange("settings", mine).front();
    if (!m_communicator.isFirst() && !shown.empty())
      api.processKSL(shown, orv::kslUpdateDefault);
  }
};

class Reading : public Shared {
 public:
  using Shared::Shared;
  void invoke(const Words& words) override
  {
    const std::string file = fileOf(words);
    const std::vector<std::string> read = m_communicator.exchange("read", contentOf(file));
    for (std::size_t process = 1; process < read.size(); ++process)
      if (read[process] != read.front())
        throw orv::file::error(
            "ksl-mpi", "read",
            orv::_("Process %d of %d reads something else in '%s'.", process, read.size(), file));
    m_inner->invoke(words);
  }

 private:
  static std::string fileOf(const Words& words)
  {
    for (const std::string& word : words) {
      const auto [name, value] = orv::StringUtilities::splitNameValue(word);
      if (orv::StringUtilities::toLower(name) == "filename")
        return std::string(orv::StringUtilities::unquoted(value));
    }
    return {};
  }
  // "" for one that cannot be read, which the action has its words for.
  static std::string contentOf(const std::string& file)
  {
    try {
      const std::string text = file.empty() ? file : orv::ORVFile::readAll(file);
      return text.empty()
                 ? text
                 : std::to_string(text.size()) + ' ' + std::to_string(std::hash<std::string>()(text));
    } catch (const orv::Error&) {
      return {};
    }
  }
};

}  // namespace

void registerSharedActions(orv::ActionFactory& actions, MpiCommunicator& communicator, Inner saving,
                           orv::FileChangeManager* files)
{
  const auto recording = [&communicator]() -> Inner {
    return communicator.isFirst() ? std::make_unique<orv::WriteSessionExecutor>() : nullptr;
  };
  actions.registerExecutor("savestate", std::make_unique<Writing>(communicator, std::move(saving)));
  actions.registerExecutor("session", std::make_unique<Recording>(communicator, recording()));
  actions.registerExecutor(
      "readstate", std::make_unique<Reading>(communicator, std::make_unique<orv::ReadStateExecutor>(files)));
  for (const char* word : {"readsession", "rs"})
    actions.registerExecutor(
        word, std::make_unique<Reading>(communicator, std::make_unique<orv::ReadSessionExecutor>()));
}
