// What OpenFOAM's own files say that VTK's reader does not.
#include "platform/ORVUtilities.h"
#include "Reader.h"
#include "ScratchFolder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <vtk_zlib.h>

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

// Also of a compressed file.
std::string headOf(const fs::path& file)
{
  std::string head(4096, '\0');
  const gzFile stream = gzopen(file.c_str(), "rb");
  const int count = stream ? gzread(stream, head.data(), static_cast<unsigned>(head.size())) : 0;
  if (stream)
    gzclose(stream);
  head.resize(static_cast<std::size_t>(std::max(count, 0)));
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

// Of a file that is cut off before it tells what it is.
bool isFieldElsewhere(const fs::path& file)
{
  std::error_code failure;
  for (const fs::directory_entry& time : fs::directory_iterator(file.parent_path().parent_path(), failure)) {
    const std::string kind = entryOf(headOf(time.path() / file.filename()), "class ");
    if (kind.find("vol") != std::string::npos && kind.find("Field") != std::string::npos)
      return true;
  }
  return false;
}

// Names of files that VTK's reader does not look into.
bool isPassedOver(const std::string& name)
{
  return name.ends_with('~') || name.ends_with(".bak") || name.ends_with(".BAK") || name.ends_with(".old")
         || name.ends_with(".save");
}

void addFields(const fs::path& directory, FoamFields& fields)
{
  std::error_code failure;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, failure)) {
    if (!entry.is_regular_file(failure))
      continue;
    const std::string head = headOf(entry.path());
    const std::string kind = entryOf(head, "class ");
    const bool isCompressed = entry.path().extension() == ".gz";
    const std::string name = (isCompressed ? entry.path().stem() : entry.path().filename()).string();
    const bool isField = kind.find("vol") != std::string::npos && kind.find("Field") != std::string::npos;
    const std::string object = entryOf(head, "object ");
    if (isField && !object.empty() && object != name) {
      if (!isPassedOver(entry.path().filename().string()))
        fields.copies.emplace_back(entry.path().filename().string(), object);
      continue;
    }
    if (!(isField || (kind.empty() && isFieldElsewhere(entry.path()))))
      continue;
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
