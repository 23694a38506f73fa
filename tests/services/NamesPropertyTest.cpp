// Random histories over few names: objects of one name, nested and at the top, copied, renamed, deleted and brought
// back, named by references and expressions. The text decides: after each command the graph is that of a fresh system
// which was given the state text.
//
// KSL_NAMES_HISTORIES, KSL_NAMES_COMMANDS and KSL_NAMES_FIRST (a seed) make more of it; "make soak" does.
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "ExpressionSystem.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace orv::test {
namespace {

constexpr const char* rules =
    "RULES:\nCategories = variable, deletable, has-local-variable\nSchedulerTypes = S\n"
    "KSLObjectClasses = DataKSLObject, GenericKSLObject, ExpressionsKSLObject, ExpressionEvaluatorKSLObject\n"
    "SINGLETON: EXPRESSIONS\nKSLObject Class = ExpressionsKSLObject\nEND\n"
    "OBJECT: EXPRESSION EVALUATOR\nKSLObject Class = ExpressionEvaluatorKSLObject\nScheduler = S\n"
    "Essential Parameter List = Evaluated Expression\nInternal Parameter List = Result, Result Units\nEND\n"
    "OBJECT: EXPRESSION PREVIEW\nKSLObject Class = ExpressionEvaluatorKSLObject\nScheduler = S\n"
    "Essential Parameter List = Evaluated Expression\nInternal Parameter List = Result, Result Units\nEND\n"
    "OBJECT: N\nKSLObject Class = GenericKSLObject\nScheduler = S\nOptional Parameter List = Ref, Near, "
    "Size\n"
    "END\n"
    "OBJECT: M\nKSLObject Class = GenericKSLObject\nScheduler = S\nOptional Parameter List = Ref, Fall\nEND\n"
    "OBJECT: G\nKSLObject Class = DataKSLObject\nOptional Parameter List = Note\nEND\n"
    "OBJECT: GAUGE\nKSLObject Class = GenericKSLObject\nCategory = variable\nScheduler = S\n"
    "Optional Parameter List = Value\nEND\n"
    "PARAMETER: Evaluated Expression\nParameter Type = Expression\nLocal Type = S\nEND\n"
    "PARAMETER: Ref\nParameter Type = String List\nLocal Type = S\nRemote Type = S\nEND\n"
    "PARAMETER: Near\nLocal Type = S\nRemote Type = S\nRemote Path = /G:a\nEND\n"
    "PARAMETER: Fall\nDefault = c\nLocal Type = S\nRemote Type = S\nEND\n"
    "PARAMETER: Size\nParameter Type = Real\nLocal Type = S\nEND\n"
    "PARAMETER: Value\nParameter Type = Real\nLocal Type = S\nEND\n"
    "PARAMETER: Result\nEND\nPARAMETER: Result Units\nEND\nPARAMETER: Note\nEND\nEND\n";

class Generator {
 public:
  explicit Generator(unsigned seed) : m_random(seed) {}

  struct Command {
    std::string text;  // "undo" and "redo" are what a host calls
    kslUpdateMode mode = kslUpdateDefault;
    bool noAction = false;
  };

  // The paths are those of objects that there are: what is done to them does more.
  Command command(bool withNoAction, std::vector<std::string> paths)
  {
    m_paths = std::move(paths);
    const int kind = below(withNoAction ? 22 : 20);
    if (kind < 2)
      return {"> undo\n"};
    if (kind == 2)
      return {"> redo\n"};
    if (kind < 5)
      return {"> delete " + path() + "\n"};
    if (kind == 5)
      return {"> delete /EXPRESSIONS\n"};
    if (kind < 8)
      return {"> rename from=" + path() + ", to=" + name() + "\n"};
    if (kind < 10)
      return {"> copy from=" + path() + ", to=" + name() + "\n"};
    if (kind >= 20) {  // what cannot be evaluated fails whoever is to show it, in a recovery too
      m_numbersOnly = true;
      const std::string text = blocks() + "> update noaction\n";
      m_numbersOnly = false;
      return {text, kslUpdateAtEnd, true};
    }
    std::string text = blocks();
    if (below(6) == 0)
      text += below(2) ? "UNKNOWN: x\nEND\n" : "> delete " + path() + "\nN: a\nRef = nowhere\nEND\n";
    return {text, below(2) ? kslUpdateAtEnd : kslUpdateDefault};
  }

 private:
  int below(int bound) { return static_cast<int>(m_random() % static_cast<unsigned>(bound)); }
  std::string oneOf(const std::vector<std::string>& texts)
  {
    return texts[static_cast<std::size_t>(below(static_cast<int>(texts.size())))];
  }
  std::string name() { return oneOf({"a", "b", "c"}); }
  std::string type() { return oneOf({"N", "M", "G", "GAUGE", "N", "M"}); }
  std::string path()
  {
    if (!m_paths.empty() && below(5))
      return oneOf(m_paths);
    const std::string top = "/" + type() + ":" + name();
    return below(4) ? top : top + "/" + type() + ":" + name();
  }
  std::string item()
  {
    const std::string types[] = {name(), name(), oneOf({"N", "M"}) + ":" + name(), path(),
                                 name() + "/" + name()};
    return types[below(5)];
  }
  std::string expression()
  {
    const std::string texts[] = {"1", name(), name() + " + 1", name() + " * " + name(), "2"};
    return texts[m_numbersOnly ? 0 : below(5)];
  }
  std::string parameters(const std::string& of)
  {
    std::string text;
    if ((of == "N" || of == "M") && below(2))
      text += "Ref = " + item() + (below(3) ? "" : ", " + item()) + "\n";
    if (of == "N" && below(4) == 0)
      text += "Near = " + item() + "\n";
    if (of == "M" && below(4) == 0)
      text += "Fall = " + item() + "\n";
    if (of == "N" && below(4) == 0)
      text += "Size = " + expression() + "\n";
    if (of == "GAUGE")
      text += "Value = " + expression() + "\n";
    return text;
  }
  std::string block()
  {
    const int kind = below(10);
    if (kind < 2)
      return "EXPRESSIONS:\n" + name() + " = " + (m_numbersOnly || below(5) ? expression() : "") + "\nEND\n";
    if (kind == 2)
      return "EXPRESSION " + oneOf({"EVALUATOR", "PREVIEW"}) + ": " + name()
             + "\nEvaluated Expression = " + expression() + "\nEND\n";
    const std::string of = type();
    std::string text = (below(8) ? "" : "&replace ") + of + ": " + name() + "\n" + parameters(of);
    if (below(3) == 0) {
      const std::string inner = type();
      text += inner + ": " + name() + "\n" + parameters(inner) + "END\n";
    }
    return text + "END\n";
  }
  std::string blocks()
  {
    std::string text;
    for (int count = below(3) + 1; count > 0; --count)
      text += block();
    return text;
  }

  std::mt19937 m_random;
  std::vector<std::string> m_paths;
  bool m_numbersOnly = false;
};

// Objects, their values, edges and marks, who depends on them and what waits; not the order of siblings.
std::string graph()
{
  std::string text;
  for (const KSLObject* object : ObjectDB::instance()->getAllObjects()) {
    text += object->getPath() + object->getSchedulerInfo();
    object->forEachParam([&text](const ParamDefinition& param) {
      if (!param.getValue().empty())
        text += "  " + param.getName() + " = " + param.getValue() + "\n";
    });
    const auto* computing = dynamic_cast<const GenericKSLObject*>(object);
    for (const std::string& param : computing ? computing->getDelayedParams() : std::vector<std::string>())
      text += "  " + param + " waits\n";
    for (const Dependent& dependent : object->getDependents())
      text += "  for " + dependent.getObjPath() + " " + dependent.getParamName() + "\n";
  }
  return text;
}

// Warnings apart.
bool hasError(const std::vector<ErrorMsg>& errors)
{
  return std::any_of(errors.begin(), errors.end(),
                     [](const ErrorMsg& error) { return error.getType() != errorType::warning; });
}

// What differs between store and database, but for what evaluators show.
std::string differences(const TestSystem& system)
{
  const std::string text = std::regex_replace(system.inconsistencies(), std::regex(" *Result[^\n]*\n"), "");
  const std::size_t at = text.find("Database:\n");
  return text.empty() || text.substr(7, at - 7) == text.substr(at + 10) ? "" : text;
}

// State texts carry no empty values, so what was emptied reads back as its default.
bool canBeSaved()
{
  for (const KSLObject* object : ObjectDB::instance()->getAllObjects()) {
    const ParamDefinition* fall = object->lookUpParam("Fall");
    if (fall && fall->getValue().empty())
      return false;
  }
  return true;
}

struct Moment {
  std::string history;
  std::string state;
  std::string graph;
};

std::string textOf(const std::vector<ErrorMsg>& errors)
{
  std::string text;
  for (const ErrorMsg& error : errors)
    text += toText(error) + "\n";
  return text;
}

// What a history leads to, after each command; fails at once where a failed command left something.
std::vector<Moment> moments(unsigned seed, int commands, bool withNoAction)
{
  std::vector<Moment> all;
  Generator generator(seed);
  ExpressionSystem system(rules);
  std::string history = "seed " + std::to_string(seed) + "\n";
  bool parted = false;  // store and database, by a no-action update
  for (int i = 0; i < commands; ++i) {
    const Generator::Command command =
        generator.command(withNoAction, ObjectDB::instance()->getAllObjectPaths());
    const std::string before = graph();
    history += (command.mode == kslUpdateAtEnd ? "-- at end\n" : "--\n") + command.text;
    system->run(command.text, command.mode);
    const std::vector<ErrorMsg> errors = system->errorList();
    for (const ErrorMsg& error : errors)
      history += "   " + toText(error) + "\n";
    const std::string after = graph();
    if (hasError(errors) && !parted) {
      EXPECT_EQ(after, before) << history;
    }
    for (const ErrorMsg& error : errors)
      EXPECT_EQ(error.getMessage().find("An attempt to recover"), std::string::npos) << history;
    parted = parted || command.noAction;
    if (!parted) {  // else objects may stand in the store alone, and come into being with what stands in them
      EXPECT_EQ(after.find(": pending"), std::string::npos) << history << after;
      EXPECT_EQ(differences(*system.operator->()), "") << history;
    }
    if (::testing::Test::HasFailure())
      return {};
    if (!parted && canBeSaved() && (all.empty() || all.back().state != system->state()))
      all.push_back({history, system->state(), graph()});
  }
  return all;
}

void expectThatTheTextDecides(const Moment& moment)
{
  ExpressionSystem fresh(rules);
  if (!moment.state.empty())
    fresh->run(moment.state, kslUpdateAtEnd);
  EXPECT_EQ(textOf(fresh->errorList()), "") << moment.history << "\n--- state\n" << moment.state;
  EXPECT_EQ(graph(), moment.graph) << moment.history << "\n--- state\n" << moment.state;
}

int number(const char* variable, int usual)
{
  const char* text = std::getenv(variable);
  return text ? std::atoi(text) : usual;
}

TEST(Names, RandomHistoriesLeadToWhatTheirTextSays)
{
  const int first = number("KSL_NAMES_FIRST", 1);
  const int histories = number("KSL_NAMES_HISTORIES", 200);
  const int commands = number("KSL_NAMES_COMMANDS", 25);
  for (int seed = first; seed < first + histories && !HasFailure(); ++seed) {
    for (const Moment& moment : moments(static_cast<unsigned>(seed), commands, seed % 4 == 0)) {
      expectThatTheTextDecides(moment);
      if (HasFailure())
        return;
    }
    if (histories > 1000 && seed % 1000 == 0)
      std::cout << seed << " histories" << std::endl;
  }
}

}  // namespace
}  // namespace orv::test
