#include "ReportText.h"

#include "platform/ORVUtilities.h"
#include "JsonText.h"
#include "PrintedText.h"
#include "session/Outcome.h"

#include <algorithm>

namespace {

constexpr std::size_t widest = 100;  // of a source line

std::string severityOf(const orv::ErrorMsg& error)
{
  return error.getType() == orv::errorType::warning ? "warning" : "error";
}

std::string headOf(const orv::ErrorMsg& error, bool coloured)
{
  const std::string head = severityOf(error) + '[' + orv::StringUtilities::toString(error.getType()) + ']';
  if (!coloured)
    return head;
  const char* const colour = error.getType() == orv::errorType::warning ? "\x1b[1;33m" : "\x1b[1;31m";
  return colour + head + "\x1b[0m";
}

// The text without line ends behind it, what follows its first line indented.
std::string indented(std::string_view text)
{
  while (!text.empty() && text.back() == '\n')
    text.remove_suffix(1);
  std::string out;
  for (const char c : printed(text)) {
    out += c;
    if (c == '\n')
      out += "  ";
  }
  return out;
}

bool isWithinCharacter(char c)  // within a character of UTF-8
{
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// The line, and a mark below the words that are meant.
void appendLine(std::string& out, const orv::Diagnostic& known, bool coloured)
{
  std::string_view line = known.lineText;
  const std::size_t column = std::min(known.column - 1, line.size());
  std::size_t begin = column > widest / 2 && line.size() > widest ? column - widest / 2 : 0;
  while (begin > 0 && isWithinCharacter(line[begin]))
    --begin;
  std::size_t end = std::min(line.size(), std::max(begin + widest, column + 1));
  while (end < line.size() && isWithinCharacter(line[end]))
    ++end;
  const std::string number = orv::StringUtilities::toString(known.line);
  const std::string dots = begin > 0 ? "..." : "";
  out.append("\n  ").append(number).append(" | ").append(dots);
  out.append(printed(line.substr(begin, end - begin))).append(end < line.size() ? "..." : "");
  out.append("\n  ").append(number.size(), ' ').append(" | ").append(dots.size(), ' ');
  for (const char c : line.substr(begin, column - begin))
    if (!isWithinCharacter(c))
      out += c == '\t' ? '\t' : ' ';
  const std::string_view meant = line.substr(column, std::min(known.length, end - column));
  const auto size = static_cast<std::size_t>(
      std::count_if(meant.begin(), meant.end(), [](char c) { return !isWithinCharacter(c); }));
  const std::string mark = '^' + std::string(size > 1 ? size - 1 : 0, '~');
  out.append(coloured ? "\x1b[1;31m" + mark + "\x1b[0m" : mark);
}

void appendNotes(std::string& out, const orv::ErrorMsg& error, const orv::Diagnostic& known)
{
  for (const std::string& note : error.getNotes())
    out.append("\n  ").append(indented(note));
  for (const orv::Diagnostic::Note& note : known.notes) {
    out += "\n  ";
    if (note.line > 0)
      out += placeText(known.source, note.line, note.column);
    out += indented(note.message);
  }
}

void appendObject(std::string& out, const orv::Diagnostic& known)
{
  if (known.object.empty())
    return;
  out.append("\n  object ").append(printed(known.object));
  if (!known.parameter.empty() && known.lineText.find(known.parameter) == std::string::npos)
    out.append(", parameter ").append(printed(known.parameter));
}

std::string fullText(const orv::ErrorMsg& error, bool coloured)
{
  const orv::Diagnostic none;
  const orv::Diagnostic& known = error.getDiagnostic() ? *error.getDiagnostic() : none;
  std::string out = placeText(&known) + headOf(error, coloured) + ": " + indented(error.getMessage());
  const std::string advice = printed(orv::hintOf(error));
  const bool showsLine = known.line > 0 && known.column > 0 && !known.lineText.empty();
  if (showsLine)
    appendLine(out, known, coloured);
  if (!advice.empty())
    out.append(showsLine ? " " : "\n  ").append(advice);
  appendNotes(out, error, known);
  appendObject(out, known);
  return out;
}

std::string oneLine(std::string_view text)
{
  return orv::StringUtilities::simplifyWhitespace(printed(text));
}

// --------------------------------------------------------------------------------------------------- for programs

JsonText placeJson(const orv::Diagnostic& known)
{
  JsonText region;
  region.add("startLine", known.line);
  if (known.column > 0) {
    region.add("startColumn", known.column);
    region.add("endColumn", known.column + known.length);
  }
  JsonText file;
  file.add("uri", known.source);
  JsonText place;
  place.add("artifactLocation", file);
  if (known.line > 0)
    place.add("region", region);
  return place;
}

JsonText sarifResult(const orv::ErrorMsg& error)
{
  JsonText message;
  std::string text = error.getMessage();
  for (const std::string& note : error.getNotes())
    text += "\n" + note;
  message.add("text", text);
  JsonText result;
  result.add("ruleId", error.getClassName() + "::" + error.getFunction());
  result.add("level", severityOf(error));
  result.add("message", message);
  if (const orv::Diagnostic* known = error.getDiagnostic().get()) {
    JsonText location;
    if (!known->source.empty())
      location.add("physicalLocation", placeJson(*known));
    if (!known->object.empty()) {
      JsonText object;
      object.add("fullyQualifiedName", known->object);
      location.add("logicalLocations", std::vector{object});
    }
    result.add("locations", std::vector{location});
  }
  return result;
}

JsonText jsonOf(const orv::ErrorMsg& error)
{
  JsonText out;
  out.add("severity", severityOf(error));
  out.add("type", static_cast<std::size_t>(error.getType()));
  out.add("class", error.getClassName());
  out.add("function", error.getFunction());
  out.add("message", error.getMessage());
  std::vector<std::string> notes = error.getNotes();
  if (const orv::Diagnostic* known = error.getDiagnostic().get()) {
    out.addKnown("source", known->source);
    out.addKnown("line", known->line);
    out.addKnown("column", known->column);
    out.addKnown("length", known->length);
    out.addKnown("object", known->object);
    out.addKnown("parameter", known->parameter);
    out.addKnown("subject", known->subject);
    out.addKnown("valid", known->valid);
    out.addKnown("suggestion", known->suggestion);
    for (const orv::Diagnostic::Note& note : known->notes)
      notes.push_back((note.line > 0 ? placeText(known->source, note.line, note.column) : "") + note.message);
  }
  out.addKnown("notes", notes);
  return out;
}

// As workflow commands want it: "%", line ends and, in properties, what separates those.
std::string escaped(std::string_view text, bool inProperty)
{
  std::string out;
  for (const char c : text) {
    const bool escapes = c == '%' || c == '\n' || c == '\r' || (inProperty && (c == ':' || c == ','));
    constexpr const char* digits = "0123456789ABCDEF";
    if (escapes)
      (out.append(1, '%') += digits[c >> 4]) += digits[c & 0xF];
    else
      out += c;
  }
  return out;
}

std::string githubText(const orv::ErrorMsg& error)
{
  const orv::Diagnostic none;
  const orv::Diagnostic& known = error.getDiagnostic() ? *error.getDiagnostic() : none;
  std::string out = "::" + severityOf(error) + ' ';
  if (!known.source.empty())
    out += "file=" + escaped(known.source, true) + ',';
  if (known.line > 0)
    out += orv::_("line=%d,col=%d,", known.line, known.column);
  out += "title=" + escaped(headOf(error, false), true) + "::" + escaped(error.getMessage(), false);
  const std::string advice = printed(orv::hintOf(error));
  return advice.empty() ? out : out + escaped("\n" + advice, false);
}

}  // namespace

std::string placeText(const std::string& source, std::size_t line, std::size_t column)
{
  std::string out = source.empty() && line > 0 ? "text" : source;
  if (line > 0)
    out += ':' + orv::StringUtilities::toString(line);
  if (line > 0 && column > 0)
    out += ':' + orv::StringUtilities::toString(column);
  return printed(out.empty() ? "ksl" : out) + ": ";
}

std::string placeText(const orv::Diagnostic* place)
{
  return place ? placeText(place->source, place->line, place->column) : "ksl: ";
}

std::string reportText(const orv::ErrorMsg& error, ReportFormat format, bool coloured)
{
  switch (format) {
    case ReportFormat::text:
      return fullText(error, coloured);
    case ReportFormat::shortText:
      return placeText(error.getDiagnostic().get()) + headOf(error, coloured) + ": "
             + oneLine(error.getMessage());
    case ReportFormat::json:
      return jsonOf(error).text();
    case ReportFormat::sarif:
      return sarifResult(error).text();
    case ReportFormat::github:
      return githubText(error);
  }
  return {};
}

std::string sarifLog(const std::vector<orv::ErrorMsg>& errors)
{
  JsonText driver;
  driver.add("name", "ksl");
  driver.add("version", KSL_VERSION);
  JsonText tool;
  tool.add("driver", driver);
  std::vector<JsonText> results;
  for (const orv::ErrorMsg& error : errors)
    results.push_back(sarifResult(error));
  JsonText run;
  run.add("tool", tool);
  run.add("results", results);
  JsonText log;
  log.add("version", "2.1.0");
  log.add("runs", std::vector{run});
  return log.text();
}
