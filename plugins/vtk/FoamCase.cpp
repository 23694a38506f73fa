// What OpenFOAM's own files say that VTK's reader does not.
#include "platform/ORVUtilities.h"
#include "Reader.h"
#include "ScratchFolder.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace results {

namespace fs = std::filesystem;

namespace {

// The directory of a time, whose name may be written in many ways; empty when there is none.
fs::path timeDirectory(const fs::path& root, double time)
{
  std::error_code failure;
  for (const fs::directory_entry& entry : fs::directory_iterator(root, failure)) {
    const std::string name = entry.path().filename().string();
    char* end = nullptr;
    const double value = std::strtod(name.c_str(), &end);
    if (end != name.c_str() && *end == '\0' && std::abs(value - time) <= 1e-9 * std::max(1.0, std::abs(time)))
      return entry.path();
  }
  return {};
}

std::set<fs::path> partsOf(const fs::path& root)
{
  std::set<fs::path> parts;
  std::error_code failure;
  for (const fs::directory_entry& entry : fs::directory_iterator(root, failure)) {
    if (entry.path().filename().string().starts_with("processor"))
      parts.insert(entry.path());
  }
  return parts;
}

std::string headOf(const fs::path& file)
{
  std::ifstream stream(file, std::ios::binary);
  std::string head(4096, '\0');
  stream.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<std::size_t>(stream.gcount()));
  return head;
}

// What follows a word, up to the semicolon.
std::string entryOf(const std::string& head, const std::string& word)
{
  const std::size_t at = head.find(word);
  const std::size_t end = at == std::string::npos ? at : head.find(';', at);
  if (end == std::string::npos)
    return {};
  return orv::StringUtilities::simplifyWhitespace(head.substr(at + word.size(), end - at - word.size()));
}

// "[0 1 -1 0 0 0 0]" is "m s^-1"; none is "1".
std::string unitsOf(const std::string& dimensions)
{
  static const char* const bases[] = {"kg", "m", "s", "K", "mol", "A", "cd"};
  std::istringstream stream(dimensions.size() > 2 ? dimensions.substr(1, dimensions.size() - 2) : "");
  std::string units;
  double power = 0;
  for (int i = 0; i < 7 && stream >> power; ++i) {
    if (power == 0)
      continue;
    units += (units.empty() ? "" : " ") + std::string(bases[i]);
    if (power != 1)
      units += "^" + orv::StringUtilities::toString(power);
  }
  return units.empty() ? "1" : units;
}

void addFields(const fs::path& directory, FoamFields& fields)
{
  std::error_code failure;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, failure)) {
    if (!entry.is_regular_file(failure) || entry.path().extension() == ".gz")
      continue;
    const std::string head = headOf(entry.path());
    const std::string kind = entryOf(head, "class ");
    if (kind.find("vol") == std::string::npos || kind.find("Field") == std::string::npos)
      continue;
    const std::string name = entry.path().filename().string();
    if (fields.units.emplace(name, unitsOf(entryOf(head, "dimensions"))).second)
      fields.names.push_back(name);
  }
}

}  // namespace

fs::path foamRoot(const std::string& file)
{
  const fs::path path = fs::absolute(file);
  if (fs::is_directory(path))
    return path;
  return path.filename() == "controlDict" ? path.parent_path().parent_path() : path.parent_path();
}

// A mesh that moves stands beside the fields of any time before.
std::vector<std::string> foamFiles(const fs::path& root, std::optional<double> time, bool isDecomposed)
{
  std::error_code failure;
  std::set<fs::path> files{root / "system" / "controlDict"};
  const auto add = [&](const fs::path& folder) {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder, failure))
      files.insert(entry.path());
  };
  for (const fs::path& part : isDecomposed ? partsOf(root) : std::set<fs::path>{root}) {
    if (!time) {
      files.insert(part);
      continue;
    }
    add(timeDirectory(part, *time));
    add(part / "constant" / "polyMesh");
    for (const fs::directory_entry& entry : fs::directory_iterator(part, failure))
      add(entry.path() / "polyMesh");
  }
  return {files.begin(), files.end()};
}

FoamFields foamFields(const std::string& controlDict, double time, bool isDecomposed)
{
  const fs::path root = foamRoot(controlDict);
  const std::set<fs::path> parts = isDecomposed ? partsOf(root) : std::set<fs::path>();
  FoamFields fields;
  for (const fs::path& part : parts.empty() ? std::set<fs::path>{root} : parts)
    addFields(timeDirectory(part, time), fields);
  return fields;
}

}  // namespace results
