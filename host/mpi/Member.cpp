#include "Member.h"

#include "platform/ORVError.h"
#include "platform/ORVOutputFiles.h"
#include "command/ActionFactory.h"
#include "command/KSLCoreAPI.h"
#include "actions/ORVMPStream.h"
#include "ModelHash.h"
#include "Packed.h"
#include "SharedActions.h"
#include "host/CommandWatch.h"
#include "session/Session.h"

#include <exception>
#include <utility>

using Api = orv::KSLCoreAPI;

Member::Member(MpiCommunicator& communicator)
    : m_communicator(communicator),
      m_vote(communicator),
      m_former(setCurrent(this))
{
  communicator.watchStops(&CommandWatch::requested, &CommandWatch::stop);
}

Member::~Member()
{
  setCurrent(m_former);
}

void Member::attach()
{
  Api::instance()->attach(&m_vote, {Api::outermostProcessed, Api::recoveryBegin, Api::redoRecoveryBegin});
}

void Member::Vote::update(orv::ObserverSubject*, int type)
{
  if (type == Api::outermostProcessed)
    m_communicator.consent();
  else
    m_communicator.refuse();
}

void Member::runTogether(const std::function<void()>& enter)
{
  m_communicator.beginCommand();
  std::exception_ptr thrown;
  try {
    enter();
  } catch (...) {
    thrown = std::current_exception();
  }
  m_communicator.refuse();
  compareModels();
  if (thrown)
    std::rethrow_exception(thrown);
}

namespace {

// "/CUT:a" of the first that is not alike.
std::string firstDifference(const std::vector<std::string>& mine, const std::vector<std::string>& other)
{
  for (std::size_t i = 0; i < std::max(mine.size(), other.size()); i += 2) {
    const bool isAlike =
        i + 1 < std::min(mine.size(), other.size()) && mine[i] == other[i] && mine[i + 1] == other[i + 1];
    if (isAlike)
      continue;
    const std::string& path = i < mine.size() ? mine[i] : other[i];
    return path.empty() ? "the history" : path;
  }
  return {};
}

}  // namespace

void Member::compareModels()
{
  const std::vector<std::string> hashes = m_communicator.exchange("model", std::to_string(modelHash()));
  std::size_t other = 0;
  while (other < hashes.size() && hashes[other] == hashes.front())
    ++other;
  if (other == hashes.size())
    return;
  std::vector<std::string> list;
  for (const auto& [path, hash] : objectHashes()) {
    list.push_back(path);
    list.push_back(std::to_string(hash));
  }
  const std::vector<std::string> all = m_communicator.exchange("objects", packed(list));
  m_communicator.breakOff();
  throw orv::internal::error("ksl-mpi", "compareModels",
                             orv::_("After this command the models of process 0 and process %d differ, first "
                                    "in %s. The run is stopped.",
                                    other, firstDifference(unpacked(all.front()), unpacked(all[other]))));
}

// ---------------------------------------------------------------------------------------------------------- the leader

namespace {

constexpr const char* beginOrder = "begin";
constexpr const char* enterOrder = "enter";
constexpr const char* endOrder = "end";

std::vector<std::string> orderOf(const TeamCommand& command)
{
  std::vector<std::string> order{enterOrder,
                                 command.isFromSession ? "1" : "",
                                 std::to_string(static_cast<int>(command.mode)),
                                 command.folder,
                                 command.source.name,
                                 std::to_string(command.source.firstLine),
                                 command.source.isExcerpt ? "1" : "",
                                 command.text};
  return order;
}

// Of the text that stands in the order.
TeamCommand commandOf(const std::vector<std::string>& order)
{
  TeamCommand command{.text = order[7]};
  command.isFromSession = !order[1].empty();
  command.mode = static_cast<orv::kslUpdateMode>(std::stoi(order[2]));
  command.folder = order[3];
  command.source = {.name = order[4], .firstLine = std::stoul(order[5]), .isExcerpt = !order[6].empty()};
  return command;
}

}  // namespace

Leader::~Leader()
{
  if (m_communicator.isBroken())
    return;
  try {
    m_communicator.exchange("order", packed({endOrder}));
  } catch (const orv::Error&) {  // nobody is there
  }
}

void Leader::begin(const std::vector<std::string>& libraries, bool validate, const std::function<void()>& up)
{
  std::vector<std::string> order{beginOrder, validate ? "1" : ""};
  order.insert(order.end(), libraries.begin(), libraries.end());
  m_communicator.exchange("order", packed(order));
  m_communicator.agree("begin", up);
  attach();
}

void Leader::prepare(orv::ActionFactory& actions, std::unique_ptr<orv::ActionExecutor> saving,
                     orv::FileChangeManager* files)
{
  registerSharedActions(actions, m_communicator, std::move(saving), files);
}

void Leader::follow(const TeamCommand& command, const std::function<void()>& enter)
{
  if (m_communicator.isBroken())
    return enter();  // a recording is ended, say
  m_communicator.exchange("order", packed(orderOf(command)));
  runTogether(enter);
}

// -------------------------------------------------------------------------------------------------------- the followers

namespace {

// The leader tells people.
class Silence : public orv::ErrorSink {
 public:
  void report(const orv::ErrorMsg&) override {}
};

}  // namespace

struct Follower::Model {
  Model(const std::vector<std::string>& libraries, bool validate, MpiCommunicator& communicator)
      : session(options(libraries, validate, communicator, silence)),
        scope(session)
  {
    orv::OutputFiles::instance()->setNames(orv::OutputFiles::nowhere);
  }
  static orv::SessionOptions options(const std::vector<std::string>& libraries, bool validate,
                                     MpiCommunicator& communicator, Silence& silence)
  {
    orv::SessionOptions options;
    options.library = orv::StringUtilities::vectorToString(libraries, ',');
    options.validate = validate;
    options.changes = false;
    options.updateMode = orv::kslUpdateDefault;
    options.sink = &silence;
    options.prepare = [&communicator](orv::ActionFactory& actions) {
      registerSharedActions(actions, communicator, nullptr, nullptr);
    };
    return options;
  }
  Silence silence;
  orv::Session session;
  orv::Session::Scope scope;
};

Follower::Follower(MpiCommunicator& communicator) : Member(communicator) {}

Follower::~Follower() = default;

void Follower::run()
{
  while (!m_communicator.isBroken()) {
    try {
      if (!obey(unpacked(m_communicator.exchange("order", {}).front())))
        return;
    } catch (const orv::Error&) {  // told by the leader
    }
  }
}

bool Follower::obey(const std::vector<std::string>& order)
{
  if (order.front() == endOrder)
    return false;
  if (order.front() == beginOrder) {
    m_model.reset();
    m_communicator.agree("begin", [&] {
      m_model = std::make_unique<Model>(std::vector<std::string>(order.begin() + 2, order.end()),
                                        !order[1].empty(), m_communicator);
    });
    attach();
    return true;
  }
  const CommandWatch watch;
  runTogether([this, command = commandOf(order)] { enter(command); });
  return true;
}

void Follower::enter(const TeamCommand& command) const
{
  Api& api = *Api::instance();
  if (!command.isFromSession) {
    api.setExternalKslUpdateMode(command.mode);
    return api.externalProcessText(command.text, command.source);
  }
  orv::ORVMPStream::setFallbackDirectory(command.folder);
  const orv::ScopeGuard reset([] { orv::ORVMPStream::setFallbackDirectory({}); });
  api.processKSL(command.text, command.mode, command.source);
}
