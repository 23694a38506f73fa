#include "EvalCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVExpressions.h"
#include "platform/ORVUnits.h"
#include "FileActions.h"
#include "Texts.h"

#include <iostream>
#include <string_view>

namespace {

// Notes errors on their way to the one who prints them.
class ErrorWatch : public orv::ErrorSink {
 public:
  ErrorWatch() : m_former(orv::ErrorProgressReporter::instance()->setSink(this)) {}
  ~ErrorWatch() override { orv::ErrorProgressReporter::instance()->setSink(m_former); }
  ErrorWatch(const ErrorWatch&) = delete;
  ErrorWatch& operator=(const ErrorWatch&) = delete;

  void report(const orv::ErrorMsg& error) override
  {
    m_failed = m_failed || error.getType() != orv::errorType::warning;
    m_former->report(error);
  }
  void inform(std::string_view text) override { m_former->inform(text); }
  bool hasFailed() const { return m_failed; }

 private:
  orv::ErrorSink* m_former;
  bool m_failed = false;
};

orv::Quantity evaluate(const EvalCommand::Options& options)
{
  const orv::Quantity value = orv::ExpressionEvaluator::evalSingleValue(options.expression, {});
  if (options.units.empty())
    return value;
  double number = 0;
  orv::UnitsConverter::convertUnits(value.getUnits(), options.units, value.getValue(), number,
                                    options.difference || value.isDifference());
  if (const std::string note = orv::UnitsConverter::explainAngle(value.getUnits(), options.units);
      !note.empty())
    orv::ErrorProgressReporter::instance()->reportError(
        orv::ErrorMsg("UnitsConverter", "convertUnits", note, orv::errorType::warning));
  return orv::Quantity(number, options.units);
}

}  // namespace

int EvalCommand::run(const Options& options)
{
  TextOptions input;
  input.libraries = options.libraries;
  input.format = options.format;
  // Without its expressions there is no value, and one error is enough.
  return runWithTexts(input, [&options](const Texts&) {
    const ErrorWatch errors;
    if (!options.state.empty())
      enterText(loadStateText(options.state));
    if (!errors.hasFailed())
      std::cout << evaluate(options).toString() << '\n';
  });
}
