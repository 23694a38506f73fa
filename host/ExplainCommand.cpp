#include "ExplainCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "ErrorPrinter.h"
#include "ReportTable.h"

#include <algorithm>
#include <iostream>
#include <sstream>
#include <string_view>
#include <vector>

namespace {

struct Entry {
  std::string text;
  std::string type;
  std::string meaning;
  std::string remedy;
};

std::vector<Entry> entries()
{
  std::vector<Entry> all;
  std::istringstream in(reportTable);
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line.starts_with("##"))
      continue;
    Entry entry{line, {}, {}, {}};
    std::getline(in, line);
    const std::size_t first = line.find(" | ");
    const std::size_t second = line.find(" | ", first + 3);
    entry.type = line.substr(0, first);
    entry.meaning = line.substr(first + 3, second - first - 3);
    entry.remedy = line.substr(second + 3);
    for (auto field : {&Entry::meaning, &Entry::remedy})
      if (!all.empty() && entry.*field == "As above.")
        entry.*field = all.back().*field;
    all.push_back(std::move(entry));
  }
  return all;
}

// The pieces of a format between its arguments; "\\n" and the like are what they stand for.
std::vector<std::string> piecesOf(std::string_view format)
{
  std::vector<std::string> pieces(1);
  for (std::size_t i = 0; i < format.size(); ++i) {
    const char next = i + 1 < format.size() ? format[i + 1] : '\0';
    if (format[i] == '%' && (next == 's' || next == 'd' || next == 'c')) {
      pieces.emplace_back();
      ++i;
    } else if (format[i] == '\\' && (next == 'n' || next == '\\')) {
      pieces.back() += next == 'n' ? '\n' : next;
      ++i;
    } else {
      pieces.back() += format[i];
    }
  }
  return pieces;
}

// Whether the text is the pieces with anything between them.
bool fits(std::string_view text, const std::vector<std::string>& pieces)
{
  if (!text.starts_with(pieces.front()) || !text.ends_with(pieces.back()))
    return false;
  if (pieces.size() == 1)
    return text == pieces.front();
  std::size_t at = pieces.front().size();
  for (std::size_t i = 1; i + 1 < pieces.size(); ++i) {
    at = text.find(pieces[i], at);
    if (at == std::string_view::npos)
      return false;
    at += pieces[i].size();
  }
  return at + pieces.back().size() <= text.size();
}

// What is fixed of a format: of several that fit, the one that says most is meant.
std::size_t fixedSize(const std::vector<std::string>& pieces)
{
  std::size_t size = 0;
  for (const std::string& piece : pieces)
    size += piece.size();
  return size;
}

std::vector<Entry> entriesFor(std::string_view text)
{
  std::vector<Entry> best;
  std::size_t most = 1;
  for (const Entry& entry : entries()) {
    std::vector<std::string> pieces = piecesOf(entry.text);
    std::vector<std::string> firstLine = piecesOf(entry.text.substr(0, entry.text.find("\\n")));
    const std::size_t size = fixedSize(pieces);
    const bool isMeant = text == entry.text || fits(text, pieces) || fits(text, firstLine);
    if (!isMeant || size < most)
      continue;
    if (size > most)
      best.clear();
    most = size;
    best.push_back(entry);
  }
  return best;
}

}  // namespace

int ExplainCommand::run(const std::string& text)
{
  const std::string message = orv::StringUtilities::removeWhitespace(text);
  // A printed report has its place and type in front of the message, behind which more may come.
  std::vector<Entry> found = entriesFor(message);
  const std::size_t head = message.find("]: ");
  if (found.empty() && head != std::string::npos)
    found = entriesFor(message.substr(head + 3, message.find('\n') - head - 3));
  if (found.empty()) {
    const ErrorPrinter printer(ReportFormat::text);
    orv::ErrorProgressReporter::instance()->reportError(orv::data::notFound(
        "ksl", "explain", orv::_("No report in docs/errors.md reads like '%s'.", message)));
    return 1;
  }
  for (const Entry& entry : found)
    std::cout << entry.text << "  (" << (entry.type.size() < 3 ? "type " : "") << entry.type << ")\n  "
              << entry.meaning << "\n  " << entry.remedy << '\n';
  return 0;
}
