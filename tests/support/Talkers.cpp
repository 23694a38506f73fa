#include "Talkers.h"

#include "tests/support/Model.h"

#include <gtest/gtest.h>
#include <map>

namespace orv {

namespace {

constexpr const char* rules =
    "RULES:\nKSLObjectClasses = DataKSLObject, TalkingObject\nSchedulerTypes = Data\n"
    "PARAMETER: x\nLocal Type = Data\nEND\n"
    "PARAMETER: sum\nParameter Type = Internal\nEND\n"
    "PARAMETER: mode\nAllowed String List = on, off\nDefault = off\nEND\n"
    "OBJECT: A\nKSLObject Class = DataKSLObject\nOptional Parameter List = x, mode\nEND\n"
    "OBJECT: B\nKSLObject Class = TalkingObject\nScheduler = Data\nOptional Parameter List = x, sum\nEND\n"
    "END\n";

}  // namespace

const std::vector<Talker>& talkers()
{
  static const std::vector<Talker> all{{"executor", Place::executor},
                                       {"update", Place::update},
                                       {"calculation", Place::calculation},
                                       {"database", Place::database},
                                       {"sink", Place::sink},
                                       {"progress", Place::progress},
                                       {"file", Place::file},
                                       {"notification 0", Place::notification, 0},
                                       {"notification 1", Place::notification, 1},
                                       {"notification 4", Place::notification, 4},
                                       {"notification 5", Place::notification, 5},
                                       {"notification 12", Place::notification, 12},
                                       {"notification 13", Place::notification, 13},
                                       {"notification 14", Place::notification, 14},
                                       {"notification 15", Place::notification, 15},
                                       {"notification 16", Place::notification, 16}};
  return all;
}

// ------------------------------------------------------------------------------------------------------- the object

KSLObject* TalkingObject::clone() const
{
  auto copy = std::make_unique<TalkingObject>();
  copyInternals(copy.get());
  return copy.release();
}

void TalkingObject::update()
{
  GenericKSLObject::update();
  TalkingSystem::s_current->at(Place::update);
}

void TalkingObject::calculate(const std::string&)
{
  if (TalkingSystem::s_current->onCalculation)
    TalkingSystem::s_current->onCalculation(*this);
  TalkingSystem::s_current->at(Place::calculation);
}

std::string TalkingObject::setValueInternal(ParamDefinition* param, const std::string& value)
{
  std::string before = GenericKSLObject::setValueInternal(param, value);
  if (TalkingSystem::s_current->onCall && !getName().empty())
    TalkingSystem::s_current->onCall(Place::executor);  // nobody may talk here
  return before;
}

// ------------------------------------------------------------------------------------------------------- the system

TalkingSystem::BaseType::BaseType()
{
  KSLObject::registerBaseTypeWithFactory("TalkingObject", new TalkingObject);
}

TalkingSystem::TalkingSystem() : system(rules)
{
  s_current = this;
  ObjectDB::instance()->registerChangeNotify(this);
  ErrorProgressReporter::instance()->setSink(this);
  ProgressWatcher::set(this);
  KSLCoreAPI::instance()->attach(&m_notifications, {0, 1, 4, 5, 12, 13, 14, 15, 16});
  system.registerAction("say", [this](const auto&) {
    ErrorProgressReporter::instance()->reportError(ErrorMsg("Test", "say", "listen", errorType::warning));
    registerFileChange("file", "type");
    at(Place::executor);
  });
  system.registerAction("fail", [](const auto&) { throw data::invalid("Test", "fail", "failed"); });
}

TalkingSystem::~TalkingSystem()
{
  m_left = 0;
  onCall = nullptr;
  KSLCoreAPI::instance()->detach(&m_notifications);
  ProgressWatcher::set(nullptr);
  ErrorProgressReporter::instance()->setSink(nullptr);
  ObjectDB::instance()->registerChangeNotify(nullptr);
  s_current = nullptr;
}

void TalkingSystem::let(const Talker& talker, unsigned long occasion, const std::string& text, bool swallows)
{
  m_talker = talker;
  m_left = occasion;
  m_text = text;
  m_swallows = swallows;
  m_spoken = m_spokeInRecovery = false;
}

void TalkingSystem::at(Place place, int number)
{
  if (onCall)
    onCall(place);
  if (!m_inCommand || place != m_talker.place || number != m_talker.number || m_left == 0 || --m_left > 0)
    return;
  m_spoken = true;
  m_spokeOutside = system.interface()->getParseDepth() == 0;
  m_spokeInRecovery = m_recovering && !m_spokeOutside;
  try {
    system.run(m_text);
  } catch (...) {
    if (!m_swallows)
      throw;
  }
}

template <class Note>
void TalkingSystem::note(Note what)
{
  if (onNote)
    onNote(true);
  what();
  if (onNote)
    onNote(false);
}

void TalkingSystem::report(const ErrorMsg& error)
{
  // What fails where an object ends is told, and fails nothing.
  const bool failure = error.getType() != errorType::warning && error.getFunction() != "~GenericKSLObject";
  note([&] {
    const ErrorMsg refusal("KSLInterface", "parseKSL", "Text submitted during error recovery is ignored.",
                           errorType::warning);
    m_refusals += error == refusal ? 1 : 0;
    if (failure)
      m_failures.push_back(error);
  });
  if (failure && system.interface()->isRecovering() && !std::exchange(m_recovering, true) && onRecovery)
    onRecovery();
  at(Place::sink);
}

void TalkingSystem::notified(int type)
{
  static const std::map<int, int> ends{{0, 1}, {4, 5}, {12, 13}, {14, 15}};
  note([&] {
    if (ends.count(type)) {
      m_open.push_back(ends.at(type));
    } else if (type != 16) {
      EXPECT_TRUE(!m_open.empty() && m_open.back() == type) << "notification " << type << " ends nothing";
      if (!m_open.empty())
        m_open.pop_back();
    }
  });
  if (type == 1 && m_open.empty())
    m_recovering = false;
  at(Place::notification, type);
}

void TalkingSystem::run(const std::string& text)
{
  m_inCommand = true;
  std::vector<std::string> lines;
  note([&] { lines = {text}; });
  EXPECT_NO_THROW(KSLCoreAPI::instance()->externalProcessKSL(lines));
  m_inCommand = false;
  EXPECT_TRUE(m_open.empty()) << "a notification was not closed";
  m_open.clear();
}

void TalkingSystem::expectSound()
{
  onCall = nullptr;
  onRecovery = nullptr;
  m_left = 0;
  EXPECT_EQ(readStore().toText(), readDatabase().toText());
  EXPECT_EQ(system.interface()->getParseDepth(), 0);
  EXPECT_EQ(system.interface()->getUndoModeString(), "NORMAL");
  EXPECT_FALSE(system.interface()->isRecovering());
  takeFailures();
  const std::string before = readDatabase().toText();
  run("A: next\nx = 1\nEND\nB: next\nx = 1\nEND");
  EXPECT_NE(system.state().find("B:next"), std::string::npos);
  EXPECT_EQ(readStore().toText(), readDatabase().toText());
  run("> undo");
  EXPECT_EQ(readDatabase().toText(), before);
  EXPECT_TRUE(takeFailures().empty());
}

}  // namespace orv
