// Decomposed OpenFOAM cases whose parts stand in common files ("processors4/1/U"), which VTK does not read: they are
// written out as one folder for each part.
#include "platform/ORVError.h"
#include "Reader.h"
#include "ScratchFolder.h"
#include "running.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>
#include <string_view>

namespace results {

namespace fs = std::filesystem;

namespace {

// A folder with so many parts, from `first` on.
struct Common {
  fs::path folder;
  std::size_t count = 0;
  std::size_t first = 0;
};

// "processors4", or some of them, "processors4_2-3".
std::vector<Common> commonFolders(const fs::path& root)
{
  std::vector<Common> found;
  std::error_code failure;
  for (const fs::directory_entry& entry : fs::directory_iterator(root, failure)) {
    const std::string name = entry.path().filename().string();
    constexpr std::size_t stem = std::string_view("processors").size();
    if (!name.starts_with("processors") || name.size() == stem
        || !std::isdigit(static_cast<unsigned char>(name[stem])))
      continue;
    Common common{entry.path()};
    const char* const end = name.data() + name.size();
    std::from_chars(name.data() + stem, end, common.count);
    if (const std::size_t range = name.find('_'); range != std::string::npos) {
      const char* const dash = std::from_chars(name.data() + range + 1, end, common.first).ptr;
      std::size_t last = common.first;
      if (dash != end)
        std::from_chars(dash + 1, end, last);
      common.count = last + 1 - std::min(last, common.first);
    }
    found.push_back(std::move(common));
  }
  return found;
}

// Reads what stands before a part: blanks, comments, and how many bytes it has. False at the end.
bool skipToPart(std::string_view& text, std::size_t& bytes)
{
  for (;;) {
    const std::size_t at = text.find_first_not_of(" \t\r\n");
    text.remove_prefix(std::min(at, text.size()));
    if (!text.starts_with("//"))
      break;
    text.remove_prefix(std::min(text.find('\n'), text.size()));
  }
  const auto [end, wrong] = std::from_chars(text.data(), text.data() + text.size(), bytes);
  if (wrong != std::errc())
    return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  text.remove_prefix(std::min(text.find('('), text.size()));
  return !text.empty();
}

// Files of other kinds have another class in their head. One that ends before it tells its class may have been anything.
bool isOfParts(std::string_view text)
{
  const std::size_t head = text.find("FoamFile");
  const std::size_t end = head == std::string_view::npos ? head : text.find('}', head);
  if (end != std::string_view::npos)
    return text.substr(head, end - head).find("decomposedBlockData") != std::string_view::npos;
  return head != std::string_view::npos || text.empty()
         || (text.starts_with("/*") && text.find("*/") == std::string_view::npos);
}

// The contents of the parts; those that a damaged file has.
std::vector<std::string_view> partsIn(std::string_view text)
{
  std::vector<std::string_view> parts;
  const std::size_t head = text.find("FoamFile");
  const std::size_t begin = head == std::string_view::npos ? head : text.find('}', head);
  if (begin == std::string_view::npos)
    return parts;
  text.remove_prefix(begin + 1);
  std::size_t bytes = 0;
  while (skipToPart(text, bytes) && bytes + 2 <= text.size() && text[bytes + 1] == ')') {
    parts.push_back(text.substr(1, bytes));
    text.remove_prefix(bytes + 2);
  }
  return parts;
}

// Only the first part has a head; it holds for all.
std::string_view headOf(std::string_view part)
{
  const std::size_t at = part.find("FoamFile");
  const std::size_t end = at == std::string_view::npos ? at : part.find('}', at);
  return end == std::string_view::npos ? std::string_view() : part.substr(at, end + 1 - at);
}

void writeParts(const Common& common, const fs::path& file, const ScratchFolder& scratch)
{
  const std::string content = readFile(file.string());
  if (!isOfParts(content))
    return;
  const fs::path place = fs::relative(file, common.folder);
  const std::vector<std::string_view> parts = partsIn(content);
  if (parts.size() != common.count)
    fail("readResults", orv::_("%s is damaged: %d of its %d parts are there",
                               (common.folder.filename() / place).string(), parts.size(), common.count));
  const std::string_view head = headOf(parts.front());
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const fs::path to = scratch.file("processor" + std::to_string(common.first + i)) / place;
    fs::create_directories(to.parent_path());
    writeFile(to.string(), (i == 0 ? std::string() : std::string(head) + "\n\n") + std::string(parts[i]));
  }
}

void writeFiles(const Common& common, const fs::path& folder, const ScratchFolder& scratch)
{
  std::error_code failure;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, failure)) {
    const fs::path& file = entry.path();
    if (!entry.is_regular_file(failure))
      continue;
    if (file.extension() != ".gz")
      writeParts(common, file, scratch);
    else if (!fs::exists(fs::path(file).replace_extension(), failure))
      fail("readResults", orv::_("%s is compressed, and holds several parts: unpack it with gunzip",
                                 (common.folder.filename() / fs::relative(file, common.folder)).string()));
  }
}

std::optional<double> timeNamed(const fs::path& folder)
{
  const std::string name = folder.filename().string();
  double time = 0;
  const auto [end, wrong] = std::from_chars(name.data(), name.data() + name.size(), time);
  return wrong == std::errc() && end == name.data() + name.size() ? std::optional(time) : std::nullopt;
}

}  // namespace

bool isCollated(const fs::path& root)
{
  std::error_code failure;
  return !fs::exists(root / "processor0", failure) && !commonFolders(root).empty();
}

std::vector<double> collatedTimes(const fs::path& root)
{
  std::set<double> times;
  std::error_code failure;
  for (const Common& common : commonFolders(root)) {
    for (const fs::directory_entry& entry : fs::directory_iterator(common.folder, failure)) {
      if (const std::optional<double> time = timeNamed(entry.path()))
        times.insert(*time);
    }
  }
  return {times.begin(), times.end()};
}

std::string writeApart(const fs::path& root, double wanted, const ScratchFolder& scratch)
{
  for (const Common& common : commonFolders(root)) {
    writeFiles(common, common.folder / "constant" / "polyMesh", scratch);
    for (const fs::directory_entry& entry : fs::directory_iterator(common.folder)) {
      const std::optional<double> time = timeNamed(entry.path());
      if (time && *time <= wanted)  // a mesh that moves is that of the time, or of one before
        writeFiles(common, entry.path() / "polyMesh", scratch);
      if (time && *time == wanted)
        writeFiles(common, entry.path(), scratch);
    }
  }
  fs::create_directories(scratch.file("system"));
  const std::string control = scratch.file("system/controlDict");
  fs::copy_file(root / "system" / "controlDict", control);
  return control;
}

}  // namespace results
