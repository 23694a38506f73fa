#include "TableFile.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "running.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <system_error>

namespace results {

namespace {

std::string trimmed(const std::string& text)
{
  return orv::StringUtilities::simplifyWhitespace(text);
}

// Of a line, which may have quotes round fields and twice within them.
std::vector<std::string> fieldsOf(const std::string& line)
{
  std::vector<std::string> fields(1);
  bool isQuoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '"' && isQuoted && line[i + 1] == '"')
      fields.back() += line[i++];
    else if (line[i] == '"')
      isQuoted = !isQuoted;
    else if (line[i] == ',' && !isQuoted)
      fields.emplace_back();
    else
      fields.back() += line[i];
  }
  for (std::string& field : fields)
    field = trimmed(field);
  return fields;
}

// Not a number where there is none; null for what is no number.
std::optional<double> numberIn(const std::string& field)
{
  double number = std::numeric_limits<double>::quiet_NaN();
  if (field.empty())
    return number;
  const char* const end = field.data() + field.size();
  const auto [rest, wrong] = std::from_chars(field.data(), end, number);
  return wrong == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

// "/CUT:Wake.Offset [m]" is Wake.Offset in metres.
Column columnNamed(const std::string& head)
{
  Column column{head, "", {}};
  const std::size_t open = head.rfind('[');
  if (open != std::string::npos && head.back() == ']') {
    column.units = trimmed(head.substr(open + 1, head.size() - open - 2));
    column.name = trimmed(head.substr(0, open));
  }
  if (column.name.starts_with('/'))
    column.name = column.name.substr(column.name.rfind(':') + 1);
  return column;
}

bool hasNumber(const Column& column)
{
  for (const double value : column.values)
    if (!std::isnan(value))
      return true;
  return false;
}

}  // namespace

Numbers readTable(const std::string& file)
{
  errno = 0;
  std::ifstream stream(file);
  std::string line;
  if (!std::getline(stream, line))
    throw orv::file::error("Results", "readTable",
                           orv::_("Table file '%s' cannot be read: %s.", file,
                                  errno != 0 ? orv::Error::getSystemError() : "It is empty"));
  std::vector<std::optional<Column>> columns;
  for (const std::string& head : fieldsOf(line))
    columns.emplace_back(columnNamed(head));
  while (std::getline(stream, line) && !trimmed(line).empty()) {
    std::vector<std::string> fields = fieldsOf(line);
    fields.resize(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const std::optional<double> number = numberIn(fields[i]);
      if (!number)
        columns[i].reset();
      if (columns[i])
        columns[i]->values.push_back(*number);
    }
  }
  Numbers numbers;
  numbers.title = std::filesystem::path(file).stem().string();
  numbers.objectPath = file;
  numbers.isOfFile = true;
  for (std::optional<Column>& column : columns)
    if (column && hasNumber(*column))
      numbers.columns.push_back(std::move(*column));
  if (numbers.columns.empty())
    fail("readTable", orv::_("Table file '%s' has no column of numbers.", file));
  return numbers;
}

}  // namespace results
