// Tables and charts of what probes and integrals have found.
#include "platform/ORVError.h"
#include "platform/ORVOutputFiles.h"
#include "platform/ORVUtilities.h"
#include "Chart.h"
#include "Communicator.h"
#include "Numbers.h"
#include "TableFile.h"
#include "functions.h"
#include "running.h"

#include <cmath>

namespace results {

using orv::KSLObject;

namespace {

std::vector<std::shared_ptr<const Numbers>> valuesOf(const KSLObject& object)
{
  std::vector<std::shared_ptr<const Numbers>> all;
  for (const KSLObject* source : named(object, "Value List")) {
    if (std::shared_ptr<const Numbers> numbers = numbersOf(source))
      all.push_back(std::move(numbers));
  }
  return all;
}

std::string figures(double value)
{
  return orv::StringUtilities::toString(value);
}

std::string quotedCsv(const std::string& text)
{
  if (text.find_first_of(",\"\n") == std::string::npos)
    return text;
  std::string quoted = "\"";
  for (const char c : text)
    quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + "\"";
}

std::string quotedJson(const std::string& text)
{
  constexpr const char* digits = "0123456789abcdef";
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\')
      quoted += '\\';
    if (static_cast<unsigned char>(c) < 0x20)
      quoted += std::string("\\u00") + digits[c / 16] + digits[c % 16];
    else
      quoted += c;
  }
  return quoted + "\"";
}

// Numbers of one row each stand below each other; columns of many rows, as of a line, beside each other with a head.
std::string asCsv(const std::vector<std::shared_ptr<const Numbers>>& all)
{
  std::string csv;
  for (const auto& numbers : all) {
    if (numbers->rows() == 1) {
      csv += csv.empty() ? "Object,Value,Number,Units\n" : "";
      for (const Column& column : numbers->columns)
        csv += quotedCsv(numbers->title) + "," + quotedCsv(column.name) + "," + figures(column.values[0])
               + "," + unitsToShow(column.units) + "\n";
      continue;
    }
    csv += csv.empty() ? "" : "\n";
    std::vector<std::string> head{"Object"};
    for (const Column& column : numbers->columns) {
      const std::string units = unitsToShow(column.units);
      head.push_back(quotedCsv(units.empty() ? column.name : column.name + " [" + units + "]"));
    }
    csv += join(head, ",") + "\n";
    for (std::size_t row = 0; row < numbers->rows(); ++row) {
      csv += quotedCsv(numbers->title);
      for (const Column& column : numbers->columns)
        csv += "," + figures(column.values[row]);
      csv += "\n";
    }
  }
  return csv;
}

std::string asJson(const std::vector<std::shared_ptr<const Numbers>>& all)
{
  std::vector<std::string> objects;
  for (const auto& numbers : all) {
    std::vector<std::string> columns;
    for (const Column& column : numbers->columns) {
      std::vector<std::string> values;
      for (const double value : column.values)
        values.push_back(std::isfinite(value) ? figures(value) : "null");
      columns.push_back("      {\"name\": " + quotedJson(column.name) + ", \"units\": "
                        + quotedJson(unitsToShow(column.units)) + ", \"values\": [" + join(values) + "]}");
    }
    objects.push_back("  {\n    \"object\": " + quotedJson(numbers->objectPath)
                      + ",\n    \"title\": " + quotedJson(numbers->title) + ",\n    \"columns\": [\n"
                      + join(columns, ",\n") + "\n    ]\n  }");
  }
  return "[\n" + join(objects, ",\n") + "\n]\n";
}

}  // namespace

void writeTable(KSLObject& object)
{
  const std::string file = text(object, "Output File");
  const std::vector<std::shared_ptr<const Numbers>> all = valuesOf(object);
  std::size_t rows = 0;
  for (const auto& numbers : all)
    rows += numbers->rows();
  setResult(object, "Row Count", static_cast<double>(rows));
  if (file.empty() || all.empty())
    return;
  const std::string ending = endingOf(file);
  if (ending != ".csv" && ending != ".json")
    fail("writeTable", orv::_("'%s' is of no kind that tables are written in: .csv, .json.", file));
  orv::OutputFiles::instance()->write(file, ending == ".csv" ? asCsv(all) : asJson(all));
}

void drawChart(KSLObject& object)
{
  const std::string file = text(object, "Output File");
  std::vector<std::shared_ptr<const Numbers>> all = valuesOf(object);
  if (const std::string table = text(object, "Table File"); !table.empty())
    all.push_back(std::make_shared<Numbers>(readTable(table)));
  if (file.empty() || all.empty())
    return;
  const std::string ending = endingOf(file);
  if (ending != ".svg" && ending != ".png")
    fail("drawChart", orv::_("'%s' is of no kind that charts are written in: .svg, .png.", file));
  const Chart chart(object, all);
  if (!Communicator::instance().isFirst())
    return;
  orv::OutputFiles::instance()->write(file, ending == ".svg" ? chart.asSvg() : chart.asPng());
}

}  // namespace results
