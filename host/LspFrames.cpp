#include "LspFrames.h"

#include "platform/ORVUtilities.h"

#include <charconv>

namespace {

constexpr std::string_view lengthField = "content-length:";
constexpr std::size_t longest = std::size_t(1) << 30;        // a message
constexpr std::size_t longestHeader = std::size_t(1) << 14;  // nobody's is a tenth of that

// Of the last field that says it; none when none does, or not in numbers.
std::optional<std::size_t> lengthIn(std::string_view header)
{
  const std::size_t field = orv::StringUtilities::toLower(header).rfind(lengthField);
  if (field == std::string::npos)
    return std::nullopt;
  const std::string_view line = header.substr(0, header.find_first_of("\r\n", field));
  const std::string_view digits = orv::StringUtilities::trimmed(line.substr(field + lengthField.size()));
  std::size_t length = 0;
  const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
  const bool isNumber = failure == std::errc() && end == digits.data() + digits.size();
  return isNumber && length <= longest ? std::optional(length) : std::nullopt;
}

}  // namespace

bool LspFrames::readHeader()
{
  while (!m_length) {
    const std::size_t crlf = m_bytes.find("\r\n\r\n");
    const std::size_t lf = m_bytes.find("\n\n");
    const std::size_t end = std::min(crlf, lf);
    if (end == std::string::npos) {
      if (m_bytes.size() > longestHeader)
        m_bytes.erase(0, m_bytes.size() - lengthField.size());
      return false;
    }
    m_length = lengthIn(std::string_view(m_bytes).substr(0, end));
    m_bytes.erase(0, end + (end == crlf ? 4 : 2));
  }
  return true;
}

std::optional<std::string> LspFrames::take()
{
  if (!readHeader() || m_bytes.size() < *m_length)
    return std::nullopt;
  std::string message = m_bytes.substr(0, *m_length);
  m_bytes.erase(0, *m_length);
  m_length.reset();
  return message;
}

std::string LspFrames::framed(std::string_view message)
{
  return "Content-Length: " + std::to_string(message.size()) + "\r\n\r\n" + std::string(message);
}
