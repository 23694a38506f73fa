#include "PlanCommand.h"

#include "platform/ORVError.h"
#include "ChangeText.h"
#include "ErrorPrinter.h"
#include "TextTable.h"
#include "Values.h"
#include "session/Planner.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <unistd.h>

using orv::CalculationReason;
using orv::Plan;

namespace {

std::string reasonText(const CalculationReason& reason)
{
  switch (reason.kind) {
    case CalculationReason::isNew:
      return "it is new";
    case CalculationReason::parameter:
      return reason.name + " changes";
    case CalculationReason::parent:
      return "it follows " + reason.name + " (" + reason.scheduler + ")";
    case CalculationReason::request:
      break;
  }
  return "it was due, or asked for";
}

std::string reasonsText(const std::vector<CalculationReason>& reasons)
{
  std::string text;
  for (const CalculationReason& reason : reasons)
    text += (text.empty() ? "" : ", ") + reasonText(reason);
  return text.empty() ? reasonText({}) : text;
}

void printText(const Plan& plan)
{
  const bool coloured = takesColour(STDOUT_FILENO);
  std::cout << changeText(plan.objects, coloured);
  const auto section = [&](const char* title, const TextTable& table) {
    if (!table.empty())
      std::cout << '\n' << styled(title, "1", coloured) << '\n' << table.text(2);
  };
  TextTable calculations;
  for (const orv::CalculationLog::Entry& entry : plan.calculations)
    calculations.add({entry.path + " (" + entry.scheduler + ")", reasonsText(entry.reasons)});
  section("Recalculated", calculations);
  TextTable files;
  for (const std::string& file : plan.writtenFiles)
    files.add({file, "written by an action"});
  for (const Plan::NamedFile& file : plan.namedFiles)
    files.add({file.file, "read or written for " + file.path + ", " + file.param});
  section("Files", files);
  TextTable actions;
  for (const std::string& action : plan.passedOver)
    actions.add({"> " + action});
  section("Not foreseen", actions);
  std::cout << (plan.objects.empty() && calculations.empty() && files.empty() ? "" : "\n")
            << countText(plan.objects) << ", " << plan.calculations.size() << " recalculated\n";
}

nlohmann::ordered_json jsonOf(const Plan& plan)
{
  using nlohmann::ordered_json;
  ordered_json calculations = ordered_json::array();
  for (const orv::CalculationLog::Entry& entry : plan.calculations) {
    ordered_json reasons = ordered_json::array();
    for (const CalculationReason& reason : entry.reasons)
      reasons.push_back(reason.text());
    calculations.push_back({{"path", entry.path}, {"computes", entry.scheduler}, {"reasons", reasons}});
  }
  ordered_json named = ordered_json::array();
  for (const Plan::NamedFile& file : plan.namedFiles)
    named.push_back({{"path", file.path}, {"parameter", file.param}, {"file", file.file}});
  return {{"objects", changeJson(plan.objects)},
          {"calculations", calculations},
          {"writtenFiles", plan.writtenFiles},
          {"namedFiles", named},
          {"notForeseen", plan.passedOver}};
}

}  // namespace

void PlanCommand::print(const Options& options)
{
  TextOptions input;
  input.files = options.files;
  Texts texts = readTexts(input);
  std::erase_if(texts, [](const EnteredText& text) { return isBlank(text.text); });
  std::vector<orv::Planner::Text> planned;
  for (const EnteredText& text : texts)
    planned.push_back({orv::StringUtilities::stringToVector(text.text, '\n'), text.source});
  const Plan result = orv::Planner(harmlessActions()).plan(planned);
  for (std::size_t i = 0; i < result.steps.size(); ++i) {
    for (const orv::ErrorMsg& report : result.steps[i].reports)
      orv::ErrorProgressReporter::instance()->reportError(report);
    if (result.steps[i].failed)
      ErrorPrinter::remark("nothing of " + texts[i].source.name + " would be done");
  }
  if (options.query.format == OutputFormat::json)
    std::cout << printedJson(jsonOf(result));
  else
    printText(result);
}

int PlanCommand::run(const Options& options)
{
  return runQuery(options.query, [&options] { print(options); });
}
