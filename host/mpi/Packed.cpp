#include "Packed.h"

#include <cstdint>
#include <cstring>

std::string packed(const std::vector<std::string>& texts)
{
  std::string all;
  for (const std::string& text : texts) {
    const std::uint64_t size = text.size();
    all.append(reinterpret_cast<const char*>(&size), sizeof size);
    all += text;
  }
  return all;
}

std::vector<std::string> unpacked(const std::string& text)
{
  std::vector<std::string> texts;
  std::size_t at = 0;
  std::uint64_t size = 0;
  while (text.size() - at >= sizeof size) {
    std::memcpy(&size, text.data() + at, sizeof size);
    at += sizeof size;
    if (size > text.size() - at)
      break;
    texts.push_back(text.substr(at, size));
    at += size;
  }
  return texts;
}
