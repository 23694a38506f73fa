// Command texts through the whole system. Whatever comes in, store and database hold the same afterwards, nothing is
// left of the command, and all of it can be undone.
#include "fuzz/FuzzSystem.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

using namespace orv;
using namespace orv::fuzz;

namespace {

constexpr const char* rules =
    "RULES:\nKSLObjectClasses = DataKSLObject\nPARAMETER: x\nEND\n"
    "PARAMETER: Colour\nAllowed String List = red, green\nEND\n"
    "OBJECT: A\nKSLObject Class = DataKSLObject\nOptional Parameter List = x, Colour\nEND\n"
    "OBJECT: B\nKSLObject Class = DataKSLObject\nEssential Parameter List = x\nEND\n"
    "SINGLETON: S\nKSLObject Class = DataKSLObject\nOptional Parameter List = x\nEND\nEND\n";

class NestExecutor : public ActionExecutor {
 public:
  void invoke(const std::vector<std::string>& words) override
  {
    KSLCoreAPI::instance()->processKSL("B: nested\nx = 1\nEND\n> delete /A:a", kslUpdateDefault);
    if (words.size() > 1)
      throw std::runtime_error("asked to fail");
  }
};

}  // namespace

// The first byte says in which update mode and after what the text is run.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  if (size < 2 || size > 4000)
    return 0;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  if (text.find("noaction") != std::string::npos)  // parts store and database on purpose
    return 0;
  System system;
  system.actions.registerExecutor("nest", std::make_unique<NestExecutor>());
  System::define(rules);
  KSLInterface* owner = KSLInterface::instance();
  KSLCoreAPI* api = KSLCoreAPI::instance();
  if (data[0] & 2)
    api->processKSL("A: a\nx = 1\nB: b\nx = 2\nEND\nEND\nS:\nx = 3\nEND", kslUpdateDefault);
  const Contents before = databaseContents();
  const std::size_t steps = owner->getUndoStack().size();

  api->processKSL(text, data[0] & 1 ? kslUpdateAtEnd : kslUpdateDefault);
  const std::size_t errors = system.takeErrors();
  checkRest();
  require(errors <= 1, "a failure is reported once");
  require(errors == 0 || databaseContents() == before, "a failed command left a trace");
  require(errors == 0 || owner->getUndoStack().size() <= steps, "a failed command left a step");

  const Contents after = databaseContents();
  const std::size_t undoable = owner->getUndoStack().size();
  for (std::size_t i = 0; i < undoable; ++i)
    owner->undo();
  require(system.takeErrors() == 0, "undo failed");
  checkRest();
  for (std::size_t i = 0; i < undoable; ++i)
    owner->redo();
  require(system.takeErrors() == 0, "redo failed");
  checkRest();
  require(databaseContents() == after, "redo of all does not lead back");
  return 0;
}
