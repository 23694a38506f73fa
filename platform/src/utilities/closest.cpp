#include "platform/ORVUtilities.h"

#include <algorithm>
#include <array>

namespace orv {

namespace {

constexpr std::size_t wrongLetter = 2;
constexpr std::size_t wrongCase = 1;

std::size_t costOf(char a, char b)
{
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  if (a == b)
    return 0;
  return lower(a) == lower(b) ? wrongCase : wrongLetter;
}

// The cost of what turns one word into the other, row by row; two rows back is needed for letters that changed places.
std::size_t distance(std::string_view a, std::string_view b)
{
  std::array<std::vector<std::size_t>, 3> rows;
  rows.fill(std::vector<std::size_t>(b.size() + 1));
  for (std::size_t j = 0; j <= b.size(); ++j)
    rows[0][j] = j * wrongLetter;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    const std::vector<std::size_t>& above = rows[(i - 1) % 3];
    const std::vector<std::size_t>& twoAbove = rows[(i + 1) % 3];
    std::vector<std::size_t>& row = rows[i % 3];
    row[0] = i * wrongLetter;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min(
          {above[j] + wrongLetter, row[j - 1] + wrongLetter, above[j - 1] + costOf(a[i - 1], b[j - 1])});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        row[j] = std::min(row[j], twoAbove[j - 2] + wrongLetter);
    }
  }
  return rows[a.size() % 3][b.size()];
}

}  // namespace

std::string StringUtilities::closest(std::string_view word, const std::vector<std::string>& candidates)
{
  const std::string lower = toLower(word);
  std::size_t least = std::string_view::npos;
  const std::string* best = nullptr;
  for (const std::string& candidate : candidates) {
    if (candidate == word)
      return {};
    const std::size_t longer = std::max(word.size(), candidate.size());
    const std::size_t most = std::max<std::size_t>(1, longer / 3);
    if (longer - std::min(word.size(), candidate.size()) > most || candidate.empty())
      continue;
    const std::size_t cost = toLower(candidate) == lower ? wrongCase : distance(word, candidate);
    // A word of which nothing is right was not meant.
    if (cost < least && cost <= most * wrongLetter && cost < longer * wrongLetter) {
      least = cost;
      best = &candidate;
    }
  }
  return best ? *best : std::string();
}

}  // namespace orv
