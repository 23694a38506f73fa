// Tables of sweeps as text.
#include "platform/ORVUtilities.h"
#include "session/Sweep.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <set>
#include <utility>

namespace orv {

namespace {

struct Number {
  std::string digits;
  std::string units;
};

// "2.5", "2.5 [m]".
std::optional<Number> numberIn(const std::string& text)
{
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || !std::isfinite(number))
    return {};
  const std::string_view rest =
      StringUtilities::trimmed(std::string_view(read.ptr, static_cast<std::size_t>(end - read.ptr)));
  if (!rest.empty() && (rest.front() != '[' || rest.back() != ']'))
    return {};
  return Number{StringUtilities::toString(number), std::string(rest)};
}

struct Column {
  std::string head;
  std::vector<std::string> values;
  bool isNumeric = false;

  // Units go into the head when all have the same.
  void settle()
  {
    std::vector<std::string> digits;
    std::optional<std::string> units;
    for (const std::string& value : values) {
      const std::optional<Number> number = numberIn(value);
      if (!number && value.empty())
        digits.emplace_back();
      if (!number && value.empty())
        continue;
      if (!number || (units && *units != number->units))
        return;
      units = number->units;
      digits.push_back(number->digits);
    }
    if (!units)
      return;
    isNumeric = true;
    values = std::move(digits);
    if (!units->empty())
      head += " " + *units;
  }
};

std::vector<std::string> errorTexts(const SweepTable::Row& row)
{
  std::vector<std::string> texts;
  for (const ErrorMsg& error : row.errors)
    texts.push_back(toText(error));
  return texts;
}

std::vector<Column> columnsOf(const SweepTable& table)
{
  std::vector<Column> columns;
  for (std::size_t i = 0; i < table.settings.size(); ++i) {
    Column& column = columns.emplace_back();
    column.head = table.settings[i];
    for (const SweepTable::Row& row : table.rows)
      column.values.push_back(row.values[i]);
  }
  std::set<std::string> names;
  for (const SweepTable::Row& row : table.rows)
    for (const auto& [name, value] : row.results)
      names.insert(name);
  for (const std::string& name : table.settings)
    names.erase(name);  // shown already
  for (const std::string& name : names) {
    Column& column = columns.emplace_back();
    column.head = name;
    for (const SweepTable::Row& row : table.rows) {
      const auto at = row.results.find(name);
      column.values.push_back(at == row.results.end() ? std::string() : at->second);
    }
  }
  for (Column& column : columns)
    column.settle();
  return columns;
}

std::string csvField(const std::string& text)
{
  if (text.find_first_of(",\"\r\n") == std::string::npos)
    return text;
  std::string field = "\"";
  for (const char c : text)
    field += c == '"' ? "\"\"" : std::string(1, c);
  return field + "\"";
}

std::string jsonText(const std::string& text)
{
  constexpr const char* digits = "0123456789abcdef";
  std::string out = "\"";
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x20) {
      out.append("\\u00") += digits[code >> 4];
      out += digits[code & 0xF];
      continue;
    }
    if (c == '"' || c == '\\')
      out += '\\';
    out += c;
  }
  return out + "\"";
}

std::string jsonList(const std::vector<std::string>& items)
{
  std::string text = "[";
  for (const std::string& item : items)
    text += (text.size() == 1 ? "" : ", ") + jsonText(item);
  return text + "]";
}

}  // namespace

std::string toCsv(const SweepTable& table)
{
  const std::vector<Column> columns = columnsOf(table);
  std::string text;
  const auto addLine = [&](auto fieldOf, const std::string& files, const std::string& errors) {
    for (const Column& column : columns)
      text += csvField(fieldOf(column)) + ",";
    text += files + "," + errors + "\n";
  };
  const auto joined = [](const std::vector<std::string>& items) {
    return csvField(StringUtilities::vectorToString(items, std::string_view("; ")));
  };
  addLine([](const Column& column) { return column.head; }, "files", "errors");
  for (std::size_t row = 0; row < table.rows.size(); ++row)
    addLine([row](const Column& column) { return column.values[row]; }, joined(table.rows[row].files),
            joined(errorTexts(table.rows[row])));
  return text;
}

std::string toJson(const SweepTable& table)
{
  const std::vector<Column> columns = columnsOf(table);
  std::string text = "[";
  for (std::size_t row = 0; row < table.rows.size(); ++row) {
    text += row == 0 ? "\n  {" : ",\n  {";
    for (const Column& column : columns) {
      const std::string& value = column.values[row];
      text += jsonText(column.head) + ": ";
      text += (column.isNumeric ? value.empty() ? "null" : value : jsonText(value)) + ", ";
    }
    text += "\"files\": " + jsonList(table.rows[row].files)
            + ", \"errors\": " + jsonList(errorTexts(table.rows[row])) + "}";
  }
  return text + "\n]\n";
}

}  // namespace orv
