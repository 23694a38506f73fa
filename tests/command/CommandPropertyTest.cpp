// Whatever texts say, and whatever fails in them: store and database hold the same, a failed command leaves no trace and
// one report, each undo leads to what was before its step, each redo to what was after it.
#include "tests/support/Model.h"
#include "tests/support/TestSystem.h"

#include <gtest/gtest.h>
#include <ostream>
#include <rapidcheck/gtest.h>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace orv {
namespace {

// ---------------------------------------------------------------------------------------------------------- generation

struct Command {
  enum Way { asText, hostUndo, hostRedo };
  Way way = asText;
  kslUpdateMode mode = kslUpdateDefault;
  std::string text;
  std::string nested;  // what "> nest" submits
  int faultType = 0;   // of the notification whose observer fails
  int faultAt = 0;     // the n-th of them; 0 is never

  bool has(const char* action) const
  {
    return text.find(action) != std::string::npos
           || (text.find("> nest") != std::string::npos && nested.find(action) != std::string::npos);
  }
  bool isUndo() const { return way == hostUndo || (way == asText && text == "> undo\n"); }
  bool isHistory() const { return way != asText || isUndo() || text == "> redo\n"; }
  // Steps of this one, or those below it, no longer lead from state to state.
  bool mixes() const { return !isHistory() && (has("> undo") || has("> redo")); }
};

std::ostream& operator<<(std::ostream& out, const Command& command)
{
  const char* const ways[] = {"text", "undo()", "redo()"};
  out << "---- " << ways[command.way] << (command.mode == kslUpdateAtEnd ? ", at end" : "");
  if (command.faultAt > 0)
    out << ", observer fails at notification " << command.faultType << ", time " << command.faultAt;
  return out << "\n" << command.text << "-- nested\n" << command.nested;
}

using rc::gen::element;

rc::Gen<std::string> someOf(int atMost, rc::Gen<std::string> gen)
{
  return rc::gen::map(
      rc::gen::resize(atMost, rc::gen::container<std::vector<std::string>>(std::move(gen))),
      [](const std::vector<std::string>& parts) { return StringUtilities::vectorToString(parts, ""); });
}

rc::Gen<std::string> block(int depth)
{
  const std::string longOne =
      "A: " + std::string(140, 'l') + "\n";  // two of them have a path that shares its beginning
  const auto header =
      element<std::string>("A: a\n", "A: a\n", "A: b\n", "B: b\n", "B: c\n", "B:\n", longOne, longOne,
                           "&replace A: a\n", "&replace B: b\n", "&replace " + longOne);
  const auto param = element<std::string>("x = 1\n", "x = 2\n", "x =\n", "y = a, b\n", "z = /A:a\n");
  const auto leaf = element<std::string>("VIEW:\nZoom = 2\nEND\n", "VIEW: VIEW\nText = t\nEND\n",
                                         "MARK: c\nColour = red\nEND\n", "&replace MARK: c\nText = u\nEND\n");
  const auto action = element<std::string>("> delete /A:a\n", "> delete a\n", "> delete /B:b/A:a, /A:b\n",
                                           "> update\n", "> nest\n", "> copy from=/A:a, to=/B:b/A:a\n");
  const auto inner =
      depth == 0 ? leaf
                 : rc::gen::weightedOneOf<std::string>({{6, block(depth - 1)}, {2, leaf}, {1, action}});
  return rc::gen::map(
      rc::gen::tuple(header, someOf(4, param), someOf(3, inner), someOf(1, param)), [](const auto& parts) {
        return std::get<0>(parts) + std::get<1>(parts) + std::get<2>(parts) + std::get<3>(parts) + "END\n";
      });
}

// Wild ones mix steps with definitions.
rc::Gen<std::string> text(bool wild)
{
  const auto deletion = element<std::string>(
      "> delete /A:a\n", "> delete /B:b, /A:a/B:b\n", "> delete b, /VIEW\n", "> delete nobody\n",
      "> delete /A:a/A:a, /A:a, /MARK:c\n", "> rename from=/A:a, to=/B:b/A:r\n", "> rename from=/A:b, to=a\n",
      "> copy from=/A:a, to=/B:c/A:a\n");
  const auto step = wild ? element<std::string>("> undo\n", "> redo\n", "> nest\n")
                         : element<std::string>("> nest\n", "> nest\n", "> update\n");
  const auto fault =
      element<std::string>("Colour = mauve\n", "bogus = 1\n", "UNKNOWN: u\nEND\n", "?\n", "END\n",
                           "A: a/b\nEND\n", "VIEW: v\nEND\n", "> fail\n", "> unknown\n", "A: open\n",
                           "MARK: m\nColour = mauve\nEND\n", "> nest throw\n");
  return someOf(6,
                rc::gen::weightedOneOf<std::string>({{12, block(2)}, {4, deletion}, {2, step}, {1, fault}}));
}

rc::Gen<Command> command(bool wild)
{
  const auto lines = rc::gen::weightedOneOf<std::string>(
      {{5, text(wild)}, {1, element<std::string>("> undo\n", "> redo\n")}});
  return rc::gen::build<Command>(
      rc::gen::set(&Command::way,
                   rc::gen::weightedElement<Command::Way>(
                       {{8, Command::asText}, {2, Command::hostUndo}, {1, Command::hostRedo}})),
      rc::gen::set(&Command::mode, element(kslUpdateDefault, kslUpdateDefault, kslUpdateAtEnd)),
      rc::gen::set(&Command::text, lines), rc::gen::set(&Command::nested, text(wild)),
      rc::gen::set(&Command::faultType, element(4, 4, 16)),
      rc::gen::set(&Command::faultAt,
                   rc::gen::weightedElement<int>({{wild ? 4 : 16, 0}, {1, 1}, {1, 2}, {1, 3}})));
}

// ------------------------------------------------------------------------------------------------------------ checking

class Watched {
 public:
  Watched()
  {
    m_system.registerAction("nest", [this](const std::vector<std::string>& words) {
      const std::string nested = std::exchange(m_nested, {});  // what it submits itself is empty
      const ScopeGuard again([&] { m_nested = nested; });
      m_system.run("\n" + nested);
      if (words.size() > 1)
        throw "after the nested text";
    });
    m_system.registerAction("fail", [](const auto&) { throw std::logic_error("failing action"); });
    m_system.onNotification = [this](int type) {
      if (type == KSLCoreAPI::recoveryBegin || type == KSLCoreAPI::redoRecoveryBegin)
        m_faultAt = 0;  // recoveries do not fail here
      if (type == m_faultType && m_faultAt > 0 && --m_faultAt == 0)
        throw std::runtime_error("failing observer");
    };
  }

  void run(const Command& command)
  {
    const ModelNode before = readDatabase().sorted();
    submit(command);
    std::vector<ErrorMsg> errors = m_system.errorList();
    std::erase_if(errors, [](const ErrorMsg& error) { return error.getType() == errorType::warning; });
    RC_ASSERT(errors.size() <= 1u);
    const bool failed = !errors.empty();
    checkWhole();
    const ModelNode now = readDatabase().sorted();
    if (failed)
      RC_ASSERT(now == before);
    m_entangled =
        m_entangled || command.mixes() || (failed && command.isHistory()) || stepsTaken(failed, command);
    if (m_entangled)
      return;
    if (!failed && command.isHistory())
      followStep(command.isUndo() ? m_undo : m_redo, command.isUndo() ? m_redo : m_undo, before, now);
    else if (!failed)
      followText(before, now);
    RC_ASSERT(m_system.interface()->getUndoStack().size() == m_undo.size());
    RC_ASSERT(m_system.interface()->getRedoStack().size() == m_redo.size());
  }
  // All the way to the beginning, and to the end again.
  void runBackAndForth()
  {
    const std::size_t undos = m_system.interface()->getUndoStack().size();
    for (const Command::Way way : {Command::hostUndo, Command::hostRedo}) {
      for (std::size_t i = 0; i < undos; ++i)
        run({way, kslUpdateDefault, {}, {}, 0, 0});
    }
  }

 private:
  using States = std::vector<ModelNode>;

  void submit(const Command& command)
  {
    m_nested = command.nested;
    m_faultType = command.faultType;
    m_faultAt = command.faultAt;
    if (command.way == Command::asText)
      m_system.run("\n" + command.text, command.mode);
    else
      command.way == Command::hostUndo ? m_system.undo() : m_system.redo();
    m_faultAt = 0;
  }
  void checkWhole() const
  {
    RC_ASSERT(readStore().toText() == readDatabase().toText());
    RC_ASSERT(m_system.interface()->getUndoModeString() == "NORMAL");
    RC_ASSERT(m_system.interface()->getParseDepth() == 0);
    RC_ASSERT(m_system.text()->getKSLChangeList()->empty());
  }
  // A failed text may have used up steps.
  static bool stepsTaken(bool failed, const Command& command)
  {
    return failed && (command.has("> undo") || command.has("> redo"));
  }
  static void followStep(States& from, States& to, const ModelNode& before, const ModelNode& now)
  {
    RC_ASSERT(now.toText() == (from.empty() ? before : from.back()).toText());
    if (from.empty())
      return;
    from.pop_back();
    to.push_back(before);
  }
  void followText(const ModelNode& before, const ModelNode& now)
  {
    if (m_system.interface()->getUndoStack().size() == m_undo.size())
      return RC_ASSERT(now == before);
    m_undo.push_back(before);
    m_redo.clear();
  }

  TestSystem m_system;
  std::string m_nested;
  int m_faultType = 0;
  int m_faultAt = 0;
  bool m_entangled = false;
  States m_undo;  // what each step leads back to, newest last
  States m_redo;
};

RC_GTEST_PROP(Commands, LeaveStoreDatabaseAndHistoryWhole, ())
{
  Watched system;
  const bool wild = *rc::gen::arbitrary<bool>();
  const auto commands = *rc::gen::resize(40, rc::gen::container<std::vector<Command>>(command(wild)));
  for (const Command& each : commands)
    system.run(each);
  system.runBackAndForth();
}

}  // namespace
}  // namespace orv
