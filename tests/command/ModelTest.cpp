// Random commands with faults against the model: after each, text store, database and model hold the same.
//
// KSL_MODEL_SEEDS and KSL_MODEL_COMMANDS set the size of a run, KSL_MODEL_FIRST its first seed.
#include "tests/support/Model.h"

#include "tests/support/TestSystem.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <stdexcept>
#include <utility>

namespace orv {

namespace {

using Lines = Model::Lines;

struct Command {
  enum class Kind { text, undo, redo };
  Kind kind = Kind::text;
  kslUpdateMode mode = kslUpdateDefault;
  Lines lines;
  std::vector<Lines> nested;
  Model::Fault fault;
};

std::string join(const Lines& lines)
{
  std::string text;
  for (const std::string& line : lines)
    text += line + "\n";
  return text;
}

std::string toText(const Command& command)
{
  std::string text = "---- ";
  text += command.kind == Command::Kind::undo   ? "undo()"
          : command.kind == Command::Kind::redo ? "redo()"
                                                : "text";
  if (command.mode == kslUpdateAtEnd)
    text += ", at end";
  if (command.fault.at > 0)
    text += ", observer throws at notification " + std::to_string(command.fault.type) + ", time "
            + std::to_string(command.fault.at);
  text += "\n" + join(command.lines);
  for (std::size_t i = 0; i < command.nested.size(); ++i)
    text += "-- nest " + std::to_string(i) + "\n" + join(command.nested[i]);
  return text;
}

Model::Outcome runModel(Model& model, const Command& command)
{
  switch (command.kind) {
    case Command::Kind::undo:
      return model.undo(command.fault);
    case Command::Kind::redo:
      return model.redo(command.fault);
    case Command::Kind::text:
      break;
  }
  return model.run(command.lines, command.mode, command.nested, command.fault);
}

// --------------------------------------------------------------------------------------------------------- generation

// How far histories may go astray: not at all; by faults in undo and redo; also by mixing definitions with
// them.
enum class Manner { tame, faulty, wild };

class Generator {
 public:
  explicit Generator(unsigned seed) : m_random(seed) {}

  Manner manner()
  {
    const char* m = std::getenv("MANNER");
    return m ? static_cast<Manner>(std::atoi(m)) : static_cast<Manner>(below(3));
  }
  Command next(const Model& model, Manner manner);

 private:
  unsigned below(unsigned n) { return static_cast<unsigned>(m_random() % n); }
  bool chance(unsigned percent) { return below(100) < percent; }
  template <class T>
  T oneOf(std::initializer_list<T> choices)
  {
    return *(choices.begin() + below(static_cast<unsigned>(choices.size())));
  }

  Command command();
  Lines text(unsigned nestedFrom);
  void block(Lines& lines, int depth, unsigned nestedFrom);
  void param(Lines& lines, const std::string& type);
  std::string action(unsigned nestedFrom);
  std::string deletion();
  void spoil(Command& command);

  std::mt19937 m_random;
  std::vector<std::string> m_paths;  // of objects that exist
  unsigned m_nested = 0;
};

void collectPaths(const ModelNode& node, const std::string& path, std::vector<std::string>& paths)
{
  for (const auto& entry : node.children) {
    for (const ModelNode& child : entry.second) {
      paths.push_back(path + "/" + child.component);
      collectPaths(child, std::string(paths.back()), paths);
    }
  }
}

Command Generator::next(const Model& model, Manner manner)
{
  m_paths.clear();
  collectPaths(model.tree(), {}, m_paths);
  while (true) {
    Command candidate = command();
    if (manner == Manner::wild)
      return candidate;
    Model trial = model;
    Model::Outcome outcome;
    if (candidate.kind == Command::Kind::text)
      outcome = trial.run(candidate.lines, candidate.mode, candidate.nested, candidate.fault);
    else
      outcome =
          candidate.kind == Command::Kind::undo ? trial.undo(candidate.fault) : trial.redo(candidate.fault);
    if (!(manner == Manner::tame ? trial.entangled() : trial.mixed()))
      return candidate;
  }
}

Command Generator::command()
{
  Command command;
  if (chance(20))
    command.fault = {oneOf({4, 4, 16}), static_cast<int>(1 + below(4))};
  if (chance(20)) {
    command.kind = chance(60) ? Command::Kind::undo : Command::Kind::redo;
    return command;
  }
  command.mode = chance(25) ? kslUpdateAtEnd : kslUpdateDefault;
  m_nested = below(3);
  for (unsigned i = 0; i < m_nested; ++i)
    command.nested.push_back(text(i + 1));
  command.lines = text(0);
  if (chance(25))
    spoil(command);
  return command;
}

Lines Generator::text(unsigned nestedFrom)
{
  Lines lines;
  for (unsigned items = 1 + below(4); items > 0; --items) {
    if (chance(55))
      block(lines, 0, nestedFrom);
    else
      lines.push_back(action(nestedFrom));
  }
  return lines;
}

void Generator::block(Lines& lines, int depth, unsigned nestedFrom)
{
  const std::string type = oneOf<const char*>({"A", "A", "A", "B", "B", "MARK", "MARK", "VIEW"});
  const std::string name =
      type == "VIEW" ? oneOf<const char*>({"", " VIEW"}) : oneOf<const char*>({" a", " b", " c", ""});
  lines.push_back((chance(12) ? "&replace " : "") + type + ":" + name);
  for (unsigned params = below(4); params > 0; --params)
    param(lines, type);
  while (depth < 3 && chance(35)) {
    block(lines, depth + 1, nestedFrom);
    if (chance(30))
      param(lines, type);
  }
  if (chance(6)) {
    lines.push_back(action(nestedFrom));
    if (chance(70))
      param(lines, type);
  }
  lines.push_back("END");
}

void Generator::param(Lines& lines, const std::string& type)
{
  std::string value = oneOf<const char*>({"1", "2", "3", "", "/A:a", "a, b"});
  std::string name = oneOf<const char*>({"x", "y"});
  if (type == "VIEW") {
    name = oneOf<const char*>({"Zoom", "Text"});
  } else if (type == "MARK") {
    name = oneOf<const char*>({"Colour", "Text"});
    value = name == "Colour" ? oneOf<const char*>({"red", "green", "blue"}) : value;
  }
  lines.push_back(name + " = " + value);
}

std::string Generator::action(unsigned nestedFrom)
{
  if (nestedFrom < m_nested && chance(30))
    return "> nest " + std::to_string(nestedFrom + below(m_nested - nestedFrom));
  if (chance(50))
    return deletion();
  return chance(60) ? "> undo" : "> redo";
}

std::string Generator::deletion()
{
  std::string line = "> delete ";
  for (unsigned count = 1 + below(3); count > 0; --count) {
    if (!m_paths.empty() && chance(75))
      line += m_paths[below(static_cast<unsigned>(m_paths.size()))];
    else
      line +=
          oneOf<const char*>({"/A:a", "/B:b", "/A:a/B:b", "/A:a/A:a", "/MARK:c", "/VIEW", "VIEW", "a", "b"});
    line += count > 1 ? ", " : "";
  }
  return line;
}

// A text with one fault somewhere in it; some faults turn out to be none.
void Generator::spoil(Command& command)
{
  Lines& lines = chance(25) && !command.nested.empty() ? command.nested[below(m_nested)] : command.lines;
  const auto at = lines.begin() + below(static_cast<unsigned>(lines.size() + 1));
  const auto insert = [&lines, at](const Lines& inserted) {
    lines.insert(at, inserted.begin(), inserted.end());
  };
  switch (below(8)) {
    case 0:
      lines.insert(at, "Colour = mauve");
      return;
    case 1:
      lines.insert(at, "bogus = 1");
      return;
    case 2:
      insert({"UNKNOWN: u", "END"});
      return;
    case 3:
      lines.insert(at, oneOf<const char*>({"nonsense", "A: x = 2"}));
      return;
    case 4:
      insert({oneOf<const char*>({"A: a/b", "B: a,b", "VIEW: other"}), "END"});
      return;
    case 5:
      lines.insert(at, oneOf<const char*>({"> fail", "> unknown"}));
      return;
    case 6:
      lines.insert(at, command.nested.empty() || &lines != &command.lines ? "> fail" : "> nestthrow 0");
      return;
    default:
      break;
  }
  const auto end = std::find(lines.begin(), lines.end(), "END");
  if (end != lines.end() && chance(50))
    lines.erase(end);
  else
    lines.insert(at, "END");
}

// ----------------------------------------------------------------------------------------------------------- checking

// A system and the model beside it.
class Pair {
 public:
  Pair();
  // What is wrong after the command; empty when nothing is.
  std::string run(const Command& command);
  // Takes back all that can be, and does it again.
  std::string runBackAndForth();
  const Model& model() const { return m_model; }

 private:
  std::string compare(const Model::Outcome& outcome);
  std::string compareReports(const Model::Outcome& outcome);
  std::string compareHistory() const;
  std::string compareTrees();
  static void differentOrders(const ModelNode& a, const ModelNode& b, const std::string& path,
                              std::set<std::string>& groups);
  static ModelNode withoutOrder(const ModelNode& node, const std::string& path,
                                const std::set<std::string>& groups);

  TestSystem m_system;
  Model m_model;
  std::vector<Lines> m_nested;
  Model::Fault m_fault;
  // Groups of siblings ("/A:a/B") whose order a failed command left different in store and database.
  std::set<std::string> m_unordered;
};

Pair::Pair()
{
  const auto nest = [this](const std::vector<std::string>& words) {
    KSLCoreAPI::instance()->processKSL("\n" + join(m_nested.at(std::stoul(words.at(1)))), kslUpdateDefault);
  };
  m_system.registerAction("nest", nest);
  m_system.registerAction("nestthrow", [nest](const std::vector<std::string>& words) {
    nest(words);
    throw "after the nested text";
  });
  m_system.registerAction("fail",
                          [](const std::vector<std::string>&) { throw std::logic_error("failing action"); });
  m_system.onNotification = [this](int type) {
    if (type == KSLCoreAPI::recoveryBegin || type == KSLCoreAPI::redoRecoveryBegin)
      m_fault.at = 0;  // recoveries do not fail here
    if (type == m_fault.type && m_fault.at > 0 && --m_fault.at == 0)
      throw std::runtime_error("failing observer");
  };
}

std::string Pair::run(const Command& command)
{
  m_fault = command.fault;
  m_nested = command.nested;
  switch (command.kind) {
    case Command::Kind::undo:
      m_system.undo();
      break;
    case Command::Kind::redo:
      m_system.redo();
      break;
    case Command::Kind::text:
      m_system.run("\n" + join(command.lines), command.mode);
      break;
  }
  return compare(runModel(m_model, command));
}

std::string Pair::runBackAndForth()
{
  const ModelNode end = m_model.tree().sorted();
  const std::size_t steps = m_model.undoSteps();
  const auto times = [this](Command::Kind kind, std::size_t n) {
    Command command;
    command.kind = kind;
    std::string fault;
    for (; n > 0 && fault.empty(); --n)
      fault = run(command);
    return fault;
  };
  std::string fault = times(Command::Kind::undo, steps);
  if (fault.empty() && !m_model.entangled() && !m_model.tree().children.empty())
    fault = "Undo of all is not the start:\n" + m_model.tree().toText();
  if (fault.empty())
    fault = times(Command::Kind::redo, steps);
  if (fault.empty() && !m_model.entangled() && m_model.tree().sorted() != end)
    fault = "Redo of all is not the end:\n" + m_model.tree().toText() + "but\n" + end.toText();
  return fault;
}

std::string Pair::compare(const Model::Outcome& outcome)
{
  std::string fault = compareReports(outcome) + compareHistory();
  if (outcome.failed && m_model.orderTouched() && fault.empty()) {
    const ModelNode inDatabase = readDatabase();
    if (inDatabase.sorted() == m_model.tree().sorted())
      m_model.adoptOrder(inDatabase);
    differentOrders(readStore(), inDatabase, {}, m_unordered);
  }
  return fault + compareTrees() + m_model.contradiction();
}

std::string Pair::compareReports(const Model::Outcome& outcome)
{
  const std::vector<ErrorMsg> errors = m_system.errorList();
  const auto warnings = std::count_if(errors.begin(), errors.end(), [](const ErrorMsg& error) {
    return error.getType() == errorType::warning;
  });
  if (warnings == outcome.warnings
      && errors.size() == static_cast<std::size_t>(warnings) + (outcome.failed ? 1 : 0))
    return {};
  std::string fault = "Expected " + std::to_string(outcome.warnings) + " warnings and "
                      + (outcome.failed ? "an error" : "no error") + ", but reported was:\n";
  for (const ErrorMsg& error : errors)
    fault += "  " + error.getMessage() + "\n";
  return fault;
}

std::string Pair::compareHistory() const
{
  const KSLInterface* owner = m_system.interface();
  std::string fault;
  if (owner->getUndoStack().size() != m_model.undoSteps()
      || owner->getRedoStack().size() != m_model.redoSteps())
    fault = "Steps: " + m_system.undoSteps() + " to undo, " + m_system.redoSteps() + " to redo; expected "
            + std::to_string(m_model.undoSteps()) + " and " + std::to_string(m_model.redoSteps()) + "\n";
  if (owner->getUndoModeString() != "NORMAL" || owner->getParseDepth() != 0
      || !owner->getKSLAPI()->getKSLChangeList()->empty())
    fault += "Something is left of the command.\n";
  return fault;
}

void Pair::differentOrders(const ModelNode& a, const ModelNode& b, const std::string& path,
                           std::set<std::string>& groups)
{
  for (const auto& [type, group] : a.children) {
    const std::vector<ModelNode>& other = b.children.at(type);
    for (std::size_t i = 0; i < group.size(); ++i) {
      if (group[i].component != other.at(i).component)
        groups.insert(path + "/" + type);
      const std::string childPath = path + "/" + group[i].component;
      differentOrders(group[i], *b.find("/" + group[i].component), childPath, groups);
    }
  }
}

ModelNode Pair::withoutOrder(const ModelNode& node, const std::string& path,
                             const std::set<std::string>& groups)
{
  ModelNode copy{node.component, node.params, {}};
  for (const auto& [type, group] : node.children) {
    std::vector<ModelNode>& target = copy.children[type];
    for (const ModelNode& child : group)
      target.push_back(withoutOrder(child, path + "/" + child.component, groups));
    if (groups.count(path + "/" + type) > 0)
      std::sort(target.begin(), target.end(),
                [](const ModelNode& a, const ModelNode& b) { return a.component < b.component; });
  }
  return copy;
}

std::string Pair::compareTrees()
{
  const ModelNode inStore = withoutOrder(readStore(), {}, m_unordered);
  const ModelNode inDatabase = withoutOrder(readDatabase(), {}, m_unordered);
  const ModelNode expected = withoutOrder(m_model.tree(), {}, m_unordered);
  std::string fault;
  if (inStore != expected)
    fault += "Store:\n" + inStore.toText();
  if (inDatabase != expected)
    fault += "Database:\n" + inDatabase.toText();
  return fault.empty() ? fault : fault + "Expected:\n" + expected.toText();
}

// ---------------------------------------------------------------------------------------------------------- shrinking

std::string runAll(const std::vector<Command>& commands)
{
  Pair pair;
  for (const Command& command : commands) {
    const std::string fault = pair.run(command);
    if (!fault.empty())
      return fault;
  }
  return pair.runBackAndForth();
}

// Leaves out commands, then lines, as long as something stays wrong.
class Shrinker {
 public:
  explicit Shrinker(std::vector<Command> commands) : m_commands(std::move(commands)) {}

  const std::vector<Command>& shrink()
  {
    for (std::size_t size = m_commands.size() / 2; size > 0; size /= 2)
      dropAll(m_commands, size);
    bool smaller = true;
    while (smaller) {
      smaller = dropAll(m_commands, 1);
      for (std::size_t i = 0; i < m_commands.size(); ++i) {
        smaller = dropAll(m_commands[i].lines, 1) || smaller;
        smaller = dropFrames(m_commands[i].lines) || smaller;
        for (std::size_t n = 0; n < m_commands[i].nested.size(); ++n)
          smaller = dropAll(m_commands[i].nested[n], 1) || smaller;
        smaller = dropFault(m_commands[i]) || smaller;
      }
    }
    return m_commands;
  }

 private:
  bool stillWrong() const
  {
    try {
      return !runAll(m_commands).empty();
    } catch (...) {
      return false;  // a text that lost what it names
    }
  }

  template <class T>
  bool dropAll(std::vector<T>& list, std::size_t size)
  {
    bool dropped = false;
    for (std::size_t at = 0; at + size <= list.size();) {
      const std::vector<T> former = list;
      list.erase(list.begin() + static_cast<std::ptrdiff_t>(at),
                 list.begin() + static_cast<std::ptrdiff_t>(at + size));
      if (stillWrong()) {
        dropped = true;
        continue;
      }
      list = former;
      at += size;
    }
    return dropped;
  }

  // A header and an END at once, as one alone is a fault of its own.
  bool dropFrames(Lines& lines)
  {
    for (std::size_t header = 0; header < lines.size(); ++header) {
      for (std::size_t end = header + 1; end < lines.size(); ++end) {
        if (lines[header].find(':') == std::string::npos || lines[end] != "END")
          continue;
        const Lines former = lines;
        lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(end));
        lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(header));
        if (stillWrong())
          return true;
        lines = former;
      }
    }
    return false;
  }

  bool dropFault(Command& command)
  {
    if (command.fault.at == 0)
      return false;
    const Model::Fault former = std::exchange(command.fault, {});
    if (stillWrong())
      return true;
    command.fault = former;
    return false;
  }

  std::vector<Command> m_commands;
};

// Empty when the seed shows nothing wrong; else the smallest list of commands that does.
std::string runSeed(unsigned seed, unsigned commandCount)
{
  std::vector<Command> commands;
  std::string fault;
  {
    Generator generator(seed);
    Pair pair;
    const Manner manner = generator.manner();
    for (unsigned i = 0; i < commandCount && fault.empty(); ++i) {
      commands.push_back(generator.next(pair.model(), manner));
      fault = pair.run(commands.back());
    }
    if (fault.empty())
      fault = pair.runBackAndForth();
  }
  if (fault.empty())
    return {};
  std::string text = "KSL_MODEL_FIRST=" + std::to_string(seed) + "\n";
  const std::vector<Command> shrunk = Shrinker(commands).shrink();
  for (const Command& command : shrunk)
    text += toText(command);
  return text + "====\n" + runAll(shrunk);
}

unsigned setting(const char* name, unsigned usual)
{
  const char* text = std::getenv(name);
  return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : usual;
}

}  // namespace

TEST(ModelTest, StoreDatabaseAndModelAgreeAfterEveryCommand)
{
  const unsigned first = setting("KSL_MODEL_FIRST", 1);
  const unsigned count = setting("KSL_MODEL_SEEDS", 200);
  const unsigned commands = setting("KSL_MODEL_COMMANDS", 150);
  for (unsigned seed = first; seed < first + count && !HasFailure(); ++seed) {
    const std::string fault = runSeed(seed, commands);
    EXPECT_TRUE(fault.empty()) << fault;
  }
}

}  // namespace orv
