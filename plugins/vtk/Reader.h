// Results files of the kinds that VTK reads.
#pragma once

#include "Data.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace results {

class ScratchFolder;

struct ReadOptions {
  std::string file;
  bool isDecomposed = false;      // of an OpenFOAM case
  double scale = 1;               // lengths in the file times this are metres
  Units units;                    // of variables, over those that the file tells
  std::set<std::string> regions;  // that are read, by name; all when it is empty
};

// The times that a file has, in ascending order; none for one that knows no time. Throws file::error for a file that
// cannot be opened and data::invalid for one that cannot be read.
std::vector<double> timesIn(const ReadOptions& options);

// The results at a time, one of timesIn, or any when there is none. What was read before and is in memory still is not
// read again while the file stays as it is. Throws as timesIn.
std::shared_ptr<const Mesh> readMesh(const ReadOptions& options, double time);

// Whether the boundary of an OpenFOAM case is named `file`: "x.foam", or "system/controlDict", or a directory with one.
bool isOpenFoam(const std::string& file);

// ---- Of OpenFOAM cases

std::filesystem::path foamRoot(const std::string& file);
// The files and directories that tell which times there are; of a time, those that its mesh is read from.
std::vector<std::string> foamFiles(const std::filesystem::path& root, std::optional<double> time,
                                   bool isDecomposed);

// Whether the parts of a decomposed case stand in common files; their times; and one time of it with a folder for each part.
bool isCollated(const std::filesystem::path& root);
std::vector<double> collatedTimes(const std::filesystem::path& root);
std::string writeApart(const std::filesystem::path& root, double wanted,
                       const ScratchFolder& scratch);  // controlDict

// Units of the fields at a time, from the heads of their files; and the names of the fields that should be there.
struct FoamFields {
  Units units;
  std::vector<std::string> names;
  std::vector<std::pair<std::string, std::string>> copies;  // files that say they are another field
};
FoamFields foamFields(const std::string& controlDict, double time, bool isDecomposed);

// ---- Of EnSight cases

// Throws data::invalid when a text file of a variable, for all times, has fewer values than the mesh needs below one of
// its headings. Of other files of variables it says nothing.
void requireEnsightValues(const std::string& file, vtkDataObject& data);

// ---- Inside

// Which of a file's blocks, zones, parts and patches are wanted, and the names of all that it has. What stands within a
// block that is wanted is wanted.
struct RegionChoice {
  std::set<std::string> wanted;  // all when it is empty
  std::set<std::string> there;
  void sees(const std::vector<std::string>& path);  // of a block, from the outermost round it
  bool takes(const std::vector<std::string>& path) const;
};

// One piece of all the wanted cells of what was read, with the regions that stand beside them. Where it has seams, one block was
// put together of parts, whose common points it has several times.
std::shared_ptr<Mesh> assemble(vtkDataObject& data, bool hasSeams, RegionChoice& choice);
void scaleLengths(Mesh& mesh, double factor);

}  // namespace results
