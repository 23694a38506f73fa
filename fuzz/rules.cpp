// RULES and commands made from the same bytes: whatever the rules say that can be processed, store and database hold the
// same after every command, all of it can be undone and done again, and what is written reads back to the same text.
#include "platform/ORVSystem.h"
#include "command/FileText.h"
#include "actions/WriteStateExecutor.h"
#include "fuzz/FuzzSystem.h"

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <unistd.h>

using namespace orv;
using namespace orv::fuzz;

namespace {

// Turns bytes into choices; zero when they have run out.
class Choices {
 public:
  Choices(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}
  bool empty() const { return m_left == 0; }
  unsigned below(unsigned limit)
  {
    if (m_left == 0)
      return 0;
    --m_left;
    return *m_data++ % limit;
  }
  std::string of(std::initializer_list<const char*> texts)
  {
    return *(texts.begin() + below(static_cast<unsigned>(texts.size())));
  }
  std::string list(std::initializer_list<const char*> texts)
  {
    std::string line = of(texts);
    for (unsigned more = below(4); more > 0; --more)
      line += ", " + of(texts);
    return line;
  }

 private:
  const std::uint8_t* m_data;
  std::size_t m_left;
};

std::string type(Choices& choose)
{
  return choose.of({"A", "B", "S", "LONG NAME"});
}
std::string name(Choices& choose)
{
  return choose.of({"a", "b", "a b", "\"#\"", "A"});
}
std::string param(Choices& choose)
{
  return choose.of({"x", "Option", "Ref", "Refs", "Size", "Sum"});
}
std::string params(Choices& choose)
{
  return choose.list({"x", "Option", "Ref", "Refs", "Size", "Sum"});
}
std::string value(Choices& choose)
{
  return choose.of(
      {"1", "On", "Off", "/A:a", "a", "a, b", "2 [mm]", "1 + 2 [m]", "", "a b", "\"q, r\"", "#"});
}

void addEntry(Choices& choose, std::string& text, std::initializer_list<const char*> keys,
              const std::string& what)
{
  if (choose.below(2))
    text += "  " + choose.of(keys) + " = " + what + "\n";
}

std::string makeRules(Choices& choose)
{
  std::string text =
      "RULES:\nKSLObjectClasses = DataKSLObject, GenericKSLObject\nSchedulerTypes = Data, Other\n";
  for (const char* known : {"x", "Option", "Ref", "Refs", "Size", "Sum"}) {
    text += "PARAMETER: " + std::string(known) + "\n";
    addEntry(
        choose, text, {"Parameter Type"},
        choose.of({"String", "Integer", "Quantity", "Logical", "String List", "Internal", "Expression"}));
    addEntry(choose, text, {"Default"}, value(choose));
    addEntry(choose, text, {"Allowed String List"}, choose.list({"On", "Off", "None", "a"}));
    addEntry(choose, text, {"Local Type"}, choose.of({"Data", "Other"}));
    addEntry(choose, text, {"Remote Type"}, choose.of({"Data", "Other"}));
    addEntry(choose, text, {"Remote Path"}, choose.of({"/A:a", "/S"}));
    text += "END\n";
  }
  for (const char* known : {"OBJECT: A", "OBJECT: B", "SINGLETON: S", "OBJECT: LONG NAME"}) {
    text += std::string(known) + "\n";
    text += "  KSLObject Class = " + choose.of({"DataKSLObject", "GenericKSLObject"}) + "\n";
    addEntry(choose, text, {"Scheduler"}, choose.of({"Data", "Data, Other"}));
    addEntry(choose, text, {"Scheduler Links"}, choose.of({"Data, Other", "Other, Data"}));
    addEntry(choose, text, {"Essential Parameter List"}, params(choose));
    addEntry(choose, text, {"Optional Parameter List"}, params(choose));
    addEntry(choose, text, {"Internal Parameter List"}, params(choose));
    addEntry(choose, text, {"Category"}, "deletable");
    for (unsigned contexts = choose.below(3); contexts > 0; --contexts) {
      text += "  CONTEXT: " + choose.of({"On", "Off", "None"}) + "\n";
      addEntry(choose, text, {"Essential Parameter List", "Optional Parameter List"}, params(choose));
      text += "  END\n";
    }
    addEntry(choose, text, {"Context Parameter", "Context Selector"}, param(choose));
    text += "END\n";
  }
  return text + "END\n";
}

std::string makeBlock(Choices& choose, unsigned depth)
{
  std::string text = choose.of({"", "", "&replace "}) + type(choose) + ": " + name(choose) + "\n";
  for (unsigned lines = choose.below(5); lines > 0; --lines) {
    if (depth < 2 && choose.below(5) == 0)
      text += makeBlock(choose, depth + 1);
    else
      text += param(choose) + " = " + value(choose) + "\n";
  }
  return text + "END\n";
}

std::string makeCommand(Choices& choose)
{
  std::string text;
  for (unsigned lines = 1 + choose.below(3); lines > 0; --lines) {
    const std::string path = "/" + type(choose) + ":" + name(choose);
    switch (choose.below(9)) {
      case 0:
        text += "> delete " + path + "\n";
        break;
      case 1:
        text += "> copy from=" + path + ", to=" + name(choose) + "\n";
        break;
      case 2:
        text += "> rename from=" + path + ", to=" + name(choose) + "\n";
        break;
      case 3:
        text += choose.of({"> undo\n", "> redo\n", "RULES:\nEND\n"});
        break;
      default:
        text += makeBlock(choose, 0);
    }
  }
  return text;
}

std::string fileName()
{
  static const std::string name =
      std::filesystem::temp_directory_path() / ("ksl-fuzz-rules-" + std::to_string(getpid()) + ".qst");
  return name;
}

// The state file of what is there, without the line of its time; nothing when there is no object, for these RULES do not
// have the one that then stands in it.
std::string saved()
{
  if (ObjectDB::instance()->getRoot()->getState(externalParams).empty())
    return {};
  WriteStateExecutor().saveEverything(fileName());
  const std::string text = ORVFile::readAll(fileName());
  return text.substr(text.find('\n'));
}

// That file, loaded in a system of its own and saved again; nothing when it is refused.
std::string savedAgain(const std::string& rules)
{
  System system;
  System::define(rules);
  std::vector<std::string> lines = ORVFile::readLines(fileName());
  FileText::undo(lines);
  KSLCoreAPI::instance()->processKSL(StringUtilities::vectorToString(lines, '\n'), kslUpdateAtEnd);
  checkRest();
  // A default may be an expression that means something else in the order of the file.
  if (system.takeErrors() > 0) {
    require(databaseContents().size() <= 1, "a failed load left a trace");
    return {};
  }
  return saved();
}

// A step that an undo failed with is lost: then the way back need not lead to the same.
void goThereAndBack(System& system, bool mayBeLost)
{
  KSLInterface* owner = KSLInterface::instance();
  const Contents after = databaseContents();
  const std::size_t steps = owner->getUndoStack().size();
  for (std::size_t i = 0; i < 2 * steps; ++i) {
    i < steps ? owner->undo() : owner->redo();
    require(system.takeErrors() == 0 || mayBeLost, "undo or redo failed");
    checkRest();
  }
  require(mayBeLost || databaseContents() == after, "redo of all does not lead back");
}

// The commands; the state that they lead to, which is saved.
std::string run(const std::string& rules, Choices& choose)
{
  System system;
  System::define(rules);
  bool failed = false;
  for (int commands = 0; commands < 12 && !choose.empty(); ++commands) {
    const Contents before = databaseContents();
    const kslUpdateMode mode = choose.below(2) ? kslUpdateAtEnd : kslUpdateDefault;
    KSLCoreAPI::instance()->processKSL(makeCommand(choose), mode);
    const std::size_t errors = system.takeErrors();
    checkRest();
    require(errors <= 1, "a failure is reported once");
    require(errors == 0 || databaseContents() == before, "a failed command left a trace");
    failed = failed || errors > 0;
  }
  goThereAndBack(system, failed);
  return saved();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  Choices choose(data, size);
  const std::string rules = makeRules(choose);
  std::string state;
  try {
    state = run(rules, choose);
  } catch (const Error&) {
    return 0;  // rules that are refused
  }
  if (state.empty())
    return 0;
  const std::string once = savedAgain(rules);  // with the defaults of what was empty
  if (once.empty())
    return 0;
  const std::string again = savedAgain(rules);
  if (again != once)
    std::cerr << once << "----- saved again\n" << again;
  require(again == once, "a state that was saved does not read back to the same");
  return 0;
}
