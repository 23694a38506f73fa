#include "wholeFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <filesystem>
#include <memory>

namespace orv {

namespace {

void dropCarriageReturns(std::string& text)
{
  std::size_t read = text.find("\r\n");
  if (read == std::string::npos)
    return;
  std::size_t written = read;
  for (; read < text.size(); ++read)
    if (text[read] != '\r' || read + 1 == text.size() || text[read + 1] != '\n')
      text[written++] = text[read];
  text.resize(written);
}

}  // namespace

int namesIn(const std::string& directory, std::vector<std::string>& names)
{
  const auto close = [](DIR* open) { ::closedir(open); };
  const std::unique_ptr<DIR, decltype(close)> open(::opendir(directory.c_str()), close);
  if (!open)
    return errno;
  while (true) {
    errno = 0;
    const dirent* entry = ::readdir(open.get());
    if (!entry)
      return errno;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..")
      names.emplace_back(name);
  }
}

std::string tooLargeText()
{
  return _("It has more than %d MB", ORVFile::largestText >> 20);
}

void tidyText(std::string& text)
{
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(byteOrderMark))
    text.erase(0, byteOrderMark.size());
  dropCarriageReturns(text);
}

}  // namespace orv

namespace orv::ORVFile {

namespace {

struct Closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

[[noreturn]] void throwReadFailure(const std::string& fileName, const std::string& reason)
{
  throw file::error("ORVFile", "readAll", _("Cannot read file '%s': %s.", fileName, reason));
}

bool endsWith(std::string_view text, std::string_view ending)
{
  return text.size() >= ending.size() && text.substr(text.size() - ending.size()) == ending;
}

[[noreturn]] void throwListFailure(const std::string& directory, int reason)
{
  throw file::error("ORVFile", "listFiles",
                    _("Cannot read directory '%s': %s.", directory, Error::getSystemError(reason)));
}

}  // namespace

bool exists(const std::string& fileName)
{
  std::error_code failure;
  return std::filesystem::exists(fileName, failure);
}

bool isDirectory(const std::string& fileName)
{
  std::error_code failure;
  return std::filesystem::is_directory(fileName, failure);
}

std::string readAll(const std::string& fileName)
{
  errno = 0;
  const std::unique_ptr<std::FILE, Closer> file(std::fopen(fileName.c_str(), "rb"));
  if (!file)
    throwReadFailure(fileName, Error::getSystemError());
  std::error_code unknown;  // of what is no regular file
  const std::uintmax_t size = std::filesystem::file_size(fileName, unknown);
  std::string text;
  if (!unknown && size <= largestText)
    text.resize(size + 1);  // and see the end at once
  if ((!unknown && size > largestText) || !readWhole(text, [&](char* room, std::size_t length) {
        return std::fread(room, 1, length, file.get());
      }))
    throwReadFailure(fileName, tooLargeText());
  if (std::ferror(file.get()))
    throwReadFailure(fileName, Error::getSystemError());
  tidyText(text);
  if (text.capacity() - text.size() > text.size() / 16)
    text.shrink_to_fit();
  return text;
}

std::vector<std::string> readLines(const std::string& fileName)
{
  const std::string text = readAll(fileName);
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

bool isAscii(std::string_view text) noexcept
{
  unsigned char seen = 0;  // all bits of all characters: no branch in the loop
  for (const char c : text)
    seen |= static_cast<unsigned char>(c);
  return seen < 0x80 && text.find('\0') == std::string_view::npos;
}

std::vector<std::string> listFiles(const std::string& directory, std::string_view ending)
{
  std::vector<std::string> names;
  if (const int failure = namesIn(directory, names))
    throwListFailure(directory, failure);
  const std::string before = directory.empty() || directory.back() == '/' ? directory : directory + '/';
  for (auto& name : names)
    name.insert(0, before);
  std::erase_if(names, [&](const std::string& name) {  // a link to nowhere is no file
    return !endsWith(name, ending) || isDirectory(name) || !exists(name);
  });
  std::sort(names.begin(), names.end());
  return names;
}

std::string getFilename(std::string_view path)
{
  const std::size_t slash = path.find_last_of("/\\");
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string getPath(std::string_view path)
{
  const std::size_t slash = path.find_last_of("/\\");
  if (slash == std::string_view::npos)
    return ".";
  return std::string(path.substr(0, std::max(slash, std::size_t{1})));
}

std::string getCanonicalName(const std::string& fileName)
{
  std::error_code failure;
  const std::filesystem::path absolute = std::filesystem::absolute(fileName, failure);
  const std::filesystem::path canonical = std::filesystem::weakly_canonical(absolute, failure);
  return (failure ? absolute : canonical).string();
}

}  // namespace orv::ORVFile
