#include "SweepCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "CommandWatch.h"
#include "ErrorPrinter.h"
#include "session/Sweep.h"

#include <exception>
#include <iostream>

namespace {

void writeTable(const SweepCommand::Options& options)
{
  orv::SweepOptions sweep;
  sweep.library = orv::StringUtilities::vectorToString(options.libraries, ',');
  sweep.modelFile = options.model;
  for (const std::string& setting : options.settings)
    sweep.settings.push_back(orv::SweepSetting::parse(setting));
  sweep.shown = options.shown;
  sweep.pictures = options.pictures;
  sweep.jobs = options.jobs;
  sweep.stop = CommandWatch::requested;
  const orv::SweepTable table = [&] {
    const CommandWatch watch;
    return orv::sweep(sweep);
  }();
  for (const orv::SweepTable::Row& row : table.rows)
    for (const orv::ErrorMsg& error : row.errors)
      orv::ErrorProgressReporter::instance()->reportError(error);
  std::cout << (options.json ? toJson(table) : toCsv(table));
  if (!std::cout.flush())
    throw orv::file::error("ksl", "flushOutput", orv::_("Cannot write to standard output."));
}

}  // namespace

int SweepCommand::run(const Options& options)
{
  const ErrorPrinter printer(ReportFormat::text);
  try {
    writeTable(options);
  } catch (const orv::Interrupt&) {
    return 130;  // as shells tell that a program ended by SIGINT
  } catch (const orv::Error& error) {
    orv::ErrorProgressReporter::instance()->reportError(error);
  } catch (const std::exception& exception) {
    orv::ErrorProgressReporter::instance()->reportError(
        orv::ErrorMsg("ksl", "sweep", exception.what(), orv::errorType::system));
  }
  return printer.errorCount() > 0 ? 1 : 0;
}
