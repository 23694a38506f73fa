// Typed reads of a value, and expressions: they give a value or throw an error of ours, never anything else.
#include "platform/ORVException.h"
#include "platform/ORVExpressions.h"
#include "platform/ORVUtilities.h"
#include "database/ParamDefinition.h"
#include "fuzz/require.h"

#include <cmath>

using namespace orv;

namespace {

template <class Read>
void tryRead(Read read)
{
  try {
    read();
  } catch (const Error&) {
    return;
  }
}

void readAs(const char* type, const std::string& text)
{
  refcnt_ptr<ParamDefinition::Rules> rules(new ParamDefinition::Rules);
  rules->name = "x";
  rules->type = type;
  ParamDefinition param{refcnt_ptr<const ParamDefinition::Rules>(rules.get())};
  tryRead([&] { param.setValue(text); });
  require(param.getValue() == text, "the value is not kept as it is");
  tryRead([&] { (void)param.getIntValue(); });
  tryRead([&] { (void)param.getIntArray(); });
  tryRead([&] { require(std::isfinite(param.getFloatValue()), "not finite"); });
  tryRead([&] { require(std::isfinite(param.getFloatValue("mm")), "not finite in mm"); });
  tryRead([&] { (void)param.getFloatArray(); });
  tryRead([&] { (void)param.getTripletValue(); });
  tryRead([&] { (void)param.getBoolValue(); });
  tryRead([&] { (void)param.getValue(true, "", false); });
  tryRead([&] { (void)param.getValue(false, "K", true); });
  (void)param.isPureNumeric();
}

// Elements split once do not split again.
void checkSplitting(const std::string& text)
{
  const std::vector<std::string> items = ParamDefinition::splitValue(text);
  std::string joined;
  for (std::size_t i = 0; i < items.size(); ++i)
    joined += (i > 0 ? "," : "") + items[i];
  if (items.size() > 1)
    require(ParamDefinition::splitValue(joined) == items, "split otherwise the second time");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  if (size > 2000)
    return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const char* type : {"Quantity", "String List"})
    readAs(type, text);
  tryRead([&] {
    const Quantity result = ExpressionEvaluator::evalSingleValue(text, "x");
    require(std::isfinite(result.getValue()), "an expression that is not finite");
  });
  checkSplitting(text);
  return 0;
}
