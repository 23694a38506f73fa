#include "platform/ORVResultMemory.h"
#include "platform/internal/ContextLocal.h"
#include "commandState.h"
#include "sha256.h"

#include <bit>
#include <cstdio>
#include <filesystem>
#include <map>
#include <sys/stat.h>
#include <utility>

namespace orv {

namespace {

namespace fs = std::filesystem;

// Counts the keys that are unlike any other.
constinit ContextLocal<std::uint64_t> theLastUnique;

// By path: what counted for the commands that ended well, and what the one under way found.
struct Stamps {
  std::map<std::string, std::string> before;
  std::map<std::string, std::string> now;
};
constinit ContextLocal<Stamps*> theStamps(ContextEnd::files,
                                          [] { delete std::exchange(*theStamps, nullptr); });

std::string timeText(const timespec& time)
{
  return std::to_string(time.tv_sec) + "." + std::to_string(time.tv_nsec);
}

// Files that were unpacked together have one time, and often one size: which of them it is counts, too. What sets a file's
// time back cannot set back that it was changed.
std::string stampOf(const std::string& path)
{
  struct stat is = {};
  if (::stat(path.c_str(), &is) != 0)
    return "none";
  return std::to_string(is.st_ino) + " " + std::to_string(is.st_size) + " " + timeText(is.st_mtim) + " "
         + timeText(is.st_ctim);
}

}  // namespace

std::string fileStamp(const std::string& path, std::string is)
{
  Stamps*& stamps = *theStamps;
  if (!stamps)
    stamps = new Stamps;
  const ResultCommand& command = ResultCommand::current();
  if (!command.takesBack)
    return (command.underWay ? stamps->now : stamps->before)[path] = std::move(is);
  const auto known = stamps->before.find(path);
  return known == stamps->before.end() ? std::move(is) : known->second;
}

void endFileStamps(bool count) noexcept
{
  Stamps* const stamps = *theStamps;
  if (!stamps)
    return;
  while (count && !stamps->now.empty()) {
    auto node = stamps->now.extract(stamps->now.begin());
    if (const auto known = stamps->before.find(node.key()); known != stamps->before.end())
      known->second.swap(node.mapped());
    else
      stamps->before.insert(std::move(node));
  }
  stamps->now.clear();
}

// Each part goes in with what went before it, its kind and its length: "ab", "c" is not "a", "bc".
ResultKey& ResultKey::addPart(char kind, std::string_view bytes)
{
  std::string all(reinterpret_cast<const char*>(m_digest.data()), sizeof m_digest);
  all += kind;
  all += std::to_string(bytes.size());
  all += ':';
  all += bytes;
  m_digest = sha256(all);
  return *this;
}

ResultKey& ResultKey::add(std::string_view text)
{
  return addPart('t', text);
}

// 0 and -0 are one number.
ResultKey& ResultKey::add(double number)
{
  const auto bits = std::bit_cast<std::uint64_t>(number == 0 ? 0.0 : number);
  return addPart('n', std::to_string(bits));
}

ResultKey& ResultKey::add(const ResultKey& result)
{
  return addPart('r', result.toString());
}

// What the name says, and what it leads to: behind a link, ".." is not the directory before it.
ResultKey& ResultKey::addFile(const std::string& name)
{
  std::error_code failure;
  const fs::path path = fs::absolute(name, failure);
  addPart('f', path.lexically_normal().native());
  return addPart('s', fileStamp(path.native(), stampOf(path.native())));
}

ResultKey ResultKey::unique()
{
  ResultKey key;
  return key.addPart('u', std::to_string(++*theLastUnique));
}

std::string ResultKey::toString() const
{
  std::string text;
  for (const std::uint32_t word : m_digest) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", word);
    text += digits;
  }
  return text;
}

}  // namespace orv
