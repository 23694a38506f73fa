#include "platform/ORVUtilities.h"

namespace orv::StringUtilities {

std::vector<std::string> stringToVector(std::string_view text, char separator)
{
  std::vector<std::string> items;
  if (text.empty())
    return items;
  for (;;) {
    const std::size_t end = text.find(separator);
    items.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos)
      return items;
    text.remove_prefix(end + 1);
  }
}

std::string vectorToString(const std::vector<std::string>& items, char separator)
{
  return vectorToString(items, std::string_view(&separator, 1));
}

std::string vectorToString(const std::vector<std::string>& items, std::string_view separator)
{
  std::size_t size = 0;
  for (const auto& item : items)
    size += item.size() + separator.size();
  std::string out;
  out.reserve(size);
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0)
      out += separator;
    out += items[i];
  }
  return out;
}

namespace {

struct Range {
  std::size_t first;
  std::size_t last;
};

char openerOf(char closer) noexcept
{
  switch (closer) {
    case ')':
      return '(';
    case ']':
      return '[';
    case '}':
      return '{';
    default:
      return 0;
  }
}

// Finds the stretches of a list text in which commas do not separate. Linear: each opener is put on the stack
// and taken off once, and a closer only looks down the stack when its partner is known to be there.
class ProtectedRanges {
 public:
  explicit ProtectedRanges(std::string_view text)
  {
    bool quoteMayClose = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
      const char c = text[i];
      if (c == '"' && quoteMayClose) {
        const std::size_t close = text.find('"', i + 1);
        quoteMayClose = close != std::string_view::npos;
        if (quoteMayClose) {
          m_ranges.push_back({i, close});
          i = close;
        }
      } else if (c == '(' || c == '[' || c == '{') {
        m_open.push_back({c, i});
        ++count(c);
      } else if (const char opener = openerOf(c)) {
        close(opener, i);
      }
    }
  }

  // In order, none inside another.
  const std::vector<Range>& ranges() const { return m_ranges; }

 private:
  struct Opener {
    char bracket;
    std::size_t at;
  };

  std::size_t& count(char opener) { return m_count[opener == '(' ? 0 : opener == '[' ? 1 : 2]; }

  void close(char opener, std::size_t at)
  {
    if (count(opener) == 0)
      return;
    Opener top{};
    do {  // brackets opened after the partner are never closed
      top = m_open.back();
      m_open.pop_back();
      --count(top.bracket);
    } while (top.bracket != opener);
    while (!m_ranges.empty() && m_ranges.back().first > top.at)
      m_ranges.pop_back();
    m_ranges.push_back({top.at, at});
  }

  std::vector<Range> m_ranges;
  std::vector<Opener> m_open;
  std::size_t m_count[3] = {0, 0, 0};
};

}  // namespace

std::vector<std::string> splitValue(std::string_view text)
{
  std::vector<std::string> items;
  const std::string_view whole = trimmed(text);
  if (whole.empty())
    return items;
  if (whole.find(',') == std::string_view::npos) {  // most are no lists
    items.emplace_back(whole);
    return items;
  }
  const ProtectedRanges protectedRanges(text);
  auto range = protectedRanges.ranges().begin();
  std::size_t start = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (range != protectedRanges.ranges().end() && i == range->first) {
      i = range->last;
      ++range;
    } else if (text[i] == ',') {
      items.emplace_back(trimmed(text.substr(start, i - start)));
      start = i + 1;
    }
  }
  items.emplace_back(trimmed(text.substr(start)));
  return items;
}

std::pair<std::string, std::string> splitNameValue(std::string_view text)
{
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos)
    return {removeWhitespace(text), {}};
  return {removeWhitespace(text.substr(0, equals)), removeWhitespace(text.substr(equals + 1))};
}

std::pair<std::string, std::string> splitObjectTypeAndName(std::string_view text)
{
  const std::size_t colon = text.find(':');
  const std::string_view type = trimmed(text.substr(0, colon));
  std::string_view name;
  if (colon != std::string_view::npos)
    name = trimmed(unquoted(trimmed(text.substr(colon + 1))));
  return {std::string(type), std::string(name.empty() ? type : name)};
}

}  // namespace orv::StringUtilities
