// The values of variables in EnSight's text files: VTK's reader takes those that are missing for 0, and says nothing.
#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "Reader.h"
#include "running.h"

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <vtkCellType.h>
#include <vtkMultiBlockDataSet.h>

namespace results {

namespace fs = std::filesystem;

namespace {

using Blocks = std::map<int, vtkDataSet*>;  // by the number of the part

struct VariableFile {
  fs::path path;
  vtkIdType components = 1;
  bool isOnCells = false;
};

bool readLine(std::istream& stream, std::string& line)
{
  if (!std::getline(stream, line))
    return false;
  line = orv::StringUtilities::simplifyWhitespace(line);
  return true;
}

bool isNumber(const std::string& line)
{
  char* end = nullptr;
  std::strtod(line.c_str(), &end);
  return end != line.c_str() && *end == '\0';
}

// The value of "key: value" in a case file; empty without.
std::string entryIn(const fs::path& file, const std::string& key)
{
  std::ifstream stream(file);
  for (std::string line; readLine(stream, line);)
    if (line.starts_with(key))
      return line.substr(line.find_last_of(": ") + 1);
  return {};
}

// VTK's blocks are the parts in the order of the geometry. Empty where it cannot be told how many values each needs below
// a heading: of files that are not text, with ghost cells, or with two headings of one name.
Blocks blocksOf(const fs::path& geometry, vtkMultiBlockDataSet& data)
{
  std::ifstream stream(geometry);
  std::string line;
  Blocks blocks;
  unsigned int count = 0;
  std::set<std::string> headings;  // of one part
  readLine(stream, line);
  if (line.starts_with("C Binary") || line.starts_with("Fortran Binary"))
    return {};
  while (readLine(stream, line)) {
    std::string description;
    const bool isHeading =
        count > 0 && !line.empty() && std::isalpha(static_cast<unsigned char>(line[0])) != 0;
    if (isHeading && line != "part" && (line.starts_with("g_") || !headings.insert(line).second))
      return {};
    if (line != "part" || !readLine(stream, line) || !readLine(stream, description))
      continue;
    auto* const block =
        count < data.GetNumberOfBlocks() ? vtkDataSet::SafeDownCast(data.GetBlock(count)) : nullptr;
    if (!block || !blocks.emplace(std::atoi(line.c_str()), block).second)
      return {};
    ++count;
    headings.clear();
  }
  return count == data.GetNumberOfBlocks() ? blocks : Blocks();
}

// Those of one step that stand in files of their own.
std::vector<VariableFile> variableFiles(const fs::path& file)
{
  static const std::map<std::string, vtkIdType> kinds{
      {"scalar", 1}, {"vector", 3}, {"tensor symm", 6}, {"tensor asym", 9}};
  std::vector<VariableFile> files;
  std::ifstream stream(file);
  for (std::string line; readLine(stream, line);) {
    for (const auto& [kind, components] : kinds) {
      const std::string name = line.substr(line.find_last_of(": ") + 1);
      const bool isOnCells = line.starts_with(kind + " per element:");
      if ((isOnCells || line.starts_with(kind + " per node:")) && name.find('*') == std::string::npos)
        files.push_back({file.parent_path() / name, components, isOnCells});
    }
  }
  return files;
}

// How many values stand below a heading; -1 where that is not sure.
vtkIdType valuesBelow(const std::string& heading, vtkDataSet& block, const VariableFile& file)
{
  static const std::map<std::string, int> shapes{
      {"point", VTK_VERTEX},   {"bar2", VTK_LINE},        {"tria3", VTK_TRIANGLE}, {"quad4", VTK_QUAD},
      {"tetra4", VTK_TETRA},   {"pyramid5", VTK_PYRAMID}, {"penta6", VTK_WEDGE},   {"hexa8", VTK_HEXAHEDRON},
      {"nsided", VTK_POLYGON}, {"nfaced", VTK_POLYHEDRON}};
  if (heading == "coordinates" || heading == "block")
    return file.components * (file.isOnCells ? block.GetNumberOfCells() : block.GetNumberOfPoints());
  const auto shape = shapes.find(heading);
  if (!file.isOnCells || shape == shapes.end())
    return -1;
  vtkIdType count = 0;
  for (vtkIdType i = 0; i < block.GetNumberOfCells(); ++i)
    count += block.GetCellType(i) == shape->second;
  return file.components * count;
}

void requireValues(const std::string& results, const VariableFile& file, const Blocks& blocks)
{
  std::ifstream stream(file.path);
  std::string line;
  readLine(stream, line);
  int part = 0;
  vtkIdType wanted = -1;
  vtkIdType found = 0;
  const auto finish = [&] {
    if (found < wanted)
      fail("readResults", orv::_("File '%s' of '%s' is damaged: part %d has %s of its %s values.",
                                 file.path.filename().string(), results, part, std::to_string(found),
                                 std::to_string(wanted)));
    wanted = -1;
    found = 0;
  };
  while (readLine(stream, line)) {
    if (isNumber(line)) {
      ++found;
      continue;
    }
    finish();
    if (line == "part" && readLine(stream, line)) {
      part = std::atoi(line.c_str());
      continue;
    }
    const auto block = blocks.find(part);
    wanted = block == blocks.end() ? -1 : valuesBelow(line, *block->second, file);
  }
  finish();
}

}  // namespace

void requireEnsightValues(const std::string& file, vtkDataObject& data)
{
  auto* const parts = vtkMultiBlockDataSet::SafeDownCast(&data);
  const std::string geometry = entryIn(file, "model:");
  if (!parts || geometry.empty() || geometry.find('*') != std::string::npos
      || entryIn(file, "type:") != "gold")
    return;
  const Blocks blocks = blocksOf(fs::path(file).parent_path() / geometry, *parts);
  for (const VariableFile& variable : variableFiles(file))
    if (!blocks.empty())
      requireValues(file, variable, blocks);
}

}  // namespace results
