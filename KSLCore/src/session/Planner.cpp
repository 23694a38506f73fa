#include "session/Planner.h"

#include "platform/ORVOutputFiles.h"
#include "platform/ORVProgress.h"
#include "database/ObjectDB.h"
#include "command/CommandNotifier.h"
#include "command/Executive.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "command/KSLUpdateRecorder.h"
#include "PlanDifference.h"
#include "PlanText.h"
#include "session/QuietActions.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <set>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

namespace orv {

namespace {

[[noreturn]] void fail(const std::string& reason)
{
  throw internal::error("Planner", "plan",
                        _("Operation '%s' failed (system exception: %s).", "plan", reason));
}

// Collects the files that recalculated objects name.
class PlanLog : public CalculationLog {
 public:
  PlanLog() : CalculationLog(false) {}

  std::vector<Plan::NamedFile> takeFiles() { return std::move(m_files); }

 protected:
  void ended(const SchedulerObject& scheduler, Reasons reasons, double seconds) override
  {
    CalculationLog::ended(scheduler, std::move(reasons), seconds);
    const KSLObject* object = scheduler.getKSLObject();
    object->forEachParam([&](const ParamDefinition& param) {
      if (param.isInternal() || !param.categoryIs("File") || param.getLocalType() != scheduler.getType()
          || param.getValue().empty())
        return;
      if (m_known.emplace(object->getPath(), param.getName(), param.getValue()).second)
        m_files.push_back({object->getPath(), param.getName(), param.getValue()});
    });
  }

 private:
  std::vector<Plan::NamedFile> m_files;
  std::set<std::tuple<std::string, std::string, std::string>> m_known;
};

// The copy of the process: cut off from all that the program has registered, it enters the texts and notes what
// happens.
class Rehearsal {
 public:
  explicit Rehearsal(const std::vector<std::string>& harmless)
      : m_mode(KSLCoreAPI::instance()->getExternalKslUpdateMode()),
        m_actions(*KSLInterface::instance()->getExecutive(), harmless,
                  [this](const std::vector<std::string>& words) { passOver(words); })
  {
    KSLCoreAPI::destroyInstance();  // with its observers, and whoever records what is entered
    KSLCoreAPI::instance()->setExternalKslUpdateMode(m_mode);
    ErrorProgressReporter::instance()->setSink(&m_errors);
    ErrorProgressReporter::instance()->setVerbose(false);
    ProgressWatcher::set(nullptr);
    OutputFiles::instance()->setNames(&OutputFiles::nowhere);
    watchObjects();
  }

  Plan enter(const std::vector<Planner::Text>& texts)
  {
    for (std::size_t i = 0; i < texts.size(); ++i) {
      m_log.setCommand(static_cast<int>(i));
      m_recorder.reset();
      m_errors.clear();
      KSLCoreAPI::instance()->externalProcessKSL(texts[i].lines, texts[i].source);
      Plan::Step step;
      const auto [first, end] = m_recorder.getUpdates();
      step.items.assign(first, end);
      step.reports = m_errors.errors();
      step.failed = std::any_of(step.reports.begin(), step.reports.end(),
                                [](const ErrorMsg& error) { return error.getType() != errorType::warning; });
      m_plan.steps.push_back(std::move(step));
    }
    m_plan.calculations = m_log.entries();
    m_plan.namedFiles = m_log.takeFiles();
    return std::move(m_plan);
  }

 private:
  // Also those that are there already, which tell whoever was registered when they came.
  void watchObjects()
  {
    ObjectDB* database = ObjectDB::instance();
    database->registerChangeNotify(nullptr);
    database->registerChangeNotify(&m_recorder);
    for (KSLObject* object : database->getAllObjects()) {
      object->registerObjectChangeNotify(nullptr);
      object->registerObjectChangeNotify(&m_recorder);
    }
  }

  void passOver(const std::vector<std::string>& words)
  {
    const std::vector<std::string> files = filesWrittenBy(words);
    m_plan.writtenFiles.insert(m_plan.writtenFiles.end(), files.begin(), files.end());
    // Those that only print, and what the library sends of its own accord.
    static const std::set<std::string> silent{"getstate", "s",       "getrulesinfo", "debug",          "db",
                                              "notify",   "session", "savestate",    "setViewportView"};
    if (silent.count(words.front()) == 0)
      m_plan.passedOver.push_back(ActionExecutor::mergeActionLine(words));
  }

  Plan m_plan;
  kslUpdateMode m_mode;
  PlanLog m_log;
  ErrorCollector m_errors;
  KSLUpdateRecorder m_recorder;
  QuietActions m_actions;
};

class Pipe {
 public:
  Pipe()
  {
    if (::pipe2(m_ends, O_CLOEXEC) != 0)
      fail(Error::getSystemError(errno));
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe()
  {
    closeEnd(0);
    closeEnd(1);
  }
  void closeEnd(int end)
  {
    if (m_ends[end] >= 0)
      ::close(m_ends[end]);
    m_ends[end] = -1;
  }
  bool write(const std::string& bytes) const
  {
    for (std::size_t done = 0; done < bytes.size();) {
      const ssize_t count = ::write(m_ends[1], bytes.data() + done, bytes.size() - done);
      if (count < 0 && errno != EINTR)
        return false;
      done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return true;
  }
  // While there is nothing to be read, whoever watches is told.
  std::string readAll() const
  {
    std::string bytes;
    char buffer[1 << 16];
    constexpr int patience = 10;  // milliseconds
    for (;;) {
      pollfd waiting{m_ends[0], POLLIN, 0};
      const int ready = ::poll(&waiting, 1, patience);
      if (ready == 0 || (ready < 0 && errno == EINTR)) {
        Progress::step();
        continue;
      }
      const ssize_t count = ::read(m_ends[0], buffer, sizeof buffer);
      if (count == 0 || (count < 0 && errno != EINTR))
        return bytes;
      bytes.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
  }

 private:
  int m_ends[2] = {-1, -1};
};

// Never returns: what static objects and the program's own would do at the end is not done twice.
[[noreturn]] void rehearse(const std::vector<Planner::Text>& texts, const std::vector<std::string>& harmless,
                           Pipe& pipe)
{
  int status = 1;
  try {
    pipe.closeEnd(0);
    // Never destroyed: it lets go of nothing that would be needed again.
    auto* rehearsal = new Rehearsal(harmless);
    status = pipe.write(packed(rehearsal->enter(texts))) ? 0 : 1;
  } catch (...) {}
  ::_exit(status);
}

}  // namespace

Plan Planner::plan(const std::vector<Planner::Text>& texts) const
{
  const KSLInterface* commands = KSLInterface::instance();
  if (commands->getParseDepth() > 0 || commands->isRecovering())
    fail("a command is under way");
  if (!commands->getExecutive())
    fail("there is no Executive");
  Pipe pipe;
  const pid_t copy = ::fork();
  if (copy < 0)
    fail(Error::getSystemError(errno));
  if (copy == 0)
    rehearse(texts, m_harmless, pipe);
  pipe.closeEnd(1);
  std::string bytes;
  {
    const ScopeGuard end([copy] {
      ::kill(copy, SIGKILL);  // of what it could still do nothing is wanted
      while (::waitpid(copy, nullptr, 0) < 0 && errno == EINTR) {}
    });
    bytes = pipe.readAll();
  }
  Plan plan;
  if (!unpack(bytes, plan))
    fail("the copy of the process came to a bad end");
  plan.objects = differenceOf(plan.steps);
  return plan;
}

}  // namespace orv
