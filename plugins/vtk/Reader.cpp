#include "Reader.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "Communicator.h"
#include "Memory.h"
#include "OwnPart.h"
#include "Pieces.h"
#include "ScratchFolder.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <optional>
#include <set>
#include <vtkAlgorithm.h>
#include <vtkCGNSReader.h>
#include <vtkCellData.h>
#include <vtkCompositeDataSet.h>
#include <vtkDataArraySelection.h>
#include <vtkDummyController.h>
#include <vtkGenericDataObjectReader.h>
#include <vtkGenericEnSightReader.h>
#include <vtkInformation.h>
#include <vtkMultiBlockDataSet.h>
#include <vtkPLYReader.h>
#include <vtkPOpenFOAMReader.h>
#include <vtkPointData.h>
#include <vtkSTLReader.h>
#include <vtkStreamingDemandDrivenPipeline.h>
#include <vtkXMLDataElement.h>
#include <vtkXMLGenericDataObjectReader.h>
#include <vtkXMLUtilities.h>
#include <vtk_cgns.h>
#include VTK_CGNS(cgns_io.h)

namespace results {

namespace fs = std::filesystem;

namespace {

std::string controlDictOf(const std::string& file)
{
  return fs::is_directory(file) ? (fs::path(file) / "system" / "controlDict").string() : file;
}

// VTK says odd things of files that are not there.
void requireFile(const std::string& file)
{
  errno = 0;
  std::error_code failure;
  const fs::file_status status = fs::status(file, failure);
  if (!fs::exists(status))
    throw orv::file::error(
        "Results", "readResults",
        orv::_("Results file '%s' cannot be read: %s.", file, "No such file or directory"));
  if (FILE* stream = fs::is_directory(status) ? nullptr : std::fopen(file.c_str(), "rb")) {
    std::fclose(stream);
    return;
  }
  if (!fs::is_directory(status))
    throw orv::file::error(
        "Results", "readResults",
        orv::_("Results file '%s' cannot be read: %s.", file, orv::Error::getSystemError()));
}

// What VTK says of a file is told with its name.
template <class Action>
void reading(const std::string& file, Action action)
{
  try {
    action();
  } catch (const orv::data::invalid& error) {
    std::string said = error.getMessage();
    while (!said.empty() && (said.back() == '.' || said.back() == ' '))
      said.pop_back();
    if (said.empty())
      said = "It is damaged, or of another kind";
    fail("readResults", orv::_("Results file '%s' cannot be read: %s.", file, said));
  }
}

constexpr const char* kinds =
    ".vtu, .pvtu, .vtp, .vts, .vti, .vtr, .vtm, .vtk, .pvd, .stl, .ply, .case, .encas, .cgns, .foam, "
    "controlDict and directories of OpenFOAM cases";

// "/solid/patch/inlet", as the reader calls it, lies in "solid" and is "inlet". A group of patches is none of its own.
std::vector<std::string> foamPath(const std::string& selected)
{
  std::vector<std::string> path = orv::StringUtilities::stringToVector(selected, '/');
  std::erase(path, std::string());
  if (path.size() > 1 && path[path.size() - 2] == "group")
    return {};
  if (path.size() > 1 && path[path.size() - 2] == "patch")
    path.erase(path.end() - 2);
  return path;
}

// What is not wanted is not read.
void choosePatches(vtkOpenFOAMReader& reader, RegionChoice& choice)
{
  reader.EnableAllPatchArrays();
  for (int i = 0; !choice.wanted.empty() && i < reader.GetNumberOfPatchArrays(); ++i) {
    const std::vector<std::string> path = foamPath(reader.GetPatchArrayName(i));
    choice.sees(path);
    if (!choice.takes(path))
      reader.SetPatchArrayStatus(reader.GetPatchArrayName(i), 0);
  }
}

// `control` when the case has been written elsewhere.
Ptr<vtkAlgorithm> foamReader(const ReadOptions& options, RegionChoice& choice,
                             const std::string& control = "")
{
  const auto reader = make<vtkPOpenFOAMReader>();
  reader->SetController(make<vtkDummyController>());
  reader->SetFileName((control.empty() ? controlDictOf(options.file) : control).c_str());
  reader->SetCaseType(options.isDecomposed ? vtkPOpenFOAMReader::DECOMPOSED_CASE
                                           : vtkPOpenFOAMReader::RECONSTRUCTED_CASE);
  reader->SetCreateCellToPoint(
      !options.isDecomposed);  // values on points of parts are made when these are one
  reader->SkipZeroTimeOff();
  reading(options.file, [&reader] { runInformation(*reader, "readResults"); });
  choosePatches(*reader, choice);
  reader->EnableAllCellArrays();
  reader->EnableAllPointArrays();
  return reader;
}

// VTK's reader ends the process where this library cannot open a file.
void requireCgns(const std::string& file)
{
  int handle = 0;
  if (cgio_open_file(file.c_str(), CGIO_MODE_READ, CGIO_FILE_NONE, &handle) != CGIO_ERR_NONE) {
    char said[CGIO_MAX_ERROR_LENGTH + 1] = {};
    cgio_error_message(said);
    fail("readResults", orv::_("Results file '%s' cannot be read: %s.", file, said));
  }
  cgio_close_file(handle);
}

Ptr<vtkAlgorithm> cgnsReader(const std::string& file)
{
  requireCgns(file);
  const auto reader = make<vtkCGNSReader>();
  reader->SetFileName(file.c_str());
  reader->SetLoadBndPatch(true);
  reading(file, [&reader] { runInformation(*reader, "readResults"); });
  reader->EnableAllBases();
  reader->EnableAllFamilies();
  reader->EnableAllPointArrays();
  reader->EnableAllCellArrays();
  return reader;
}

template <class Reader>
Ptr<vtkAlgorithm> plainReader(const std::string& file)
{
  const auto reader = make<Reader>();
  reader->SetFileName(file.c_str());
  return reader;
}

Ptr<vtkAlgorithm> legacyReader(const std::string& file)
{
  const auto reader = make<vtkGenericDataObjectReader>();
  reader->SetFileName(file.c_str());
  reader->ReadAllScalarsOn();
  reader->ReadAllVectorsOn();
  reader->ReadAllFieldsOn();
  return reader;
}

Ptr<vtkAlgorithm> readerOf(const ReadOptions& options)
{
  const std::string& file = options.file;
  requireFile(file);
  const std::string ending = endingOf(file);
  if (isOpenFoam(file)) {
    RegionChoice all;
    return foamReader(options, all);
  }
  if (ending == ".cgns")
    return cgnsReader(file);
  if (ending == ".vtk")
    return legacyReader(file);
  if (ending == ".stl")
    return plainReader<vtkSTLReader>(file);
  if (ending == ".ply")
    return plainReader<vtkPLYReader>(file);
  if (ending == ".case" || ending == ".encas") {
    const auto reader = make<vtkGenericEnSightReader>();
    reader->SetCaseFileName(file.c_str());
    return reader;
  }
  const std::set<std::string> xml{".vtu",  ".vtp",  ".vts",  ".vti",  ".vtr", ".vtm",
                                  ".pvtu", ".pvtp", ".pvts", ".pvti", ".pvtr"};
  if (xml.contains(ending))
    return plainReader<vtkXMLGenericDataObjectReader>(file);
  fail("readResults", orv::_("Results file '%s' is of no kind that is known: %s.", file, kinds));
}

// A collection of files, each with a time.
struct Listed {
  double time;
  std::string file;
};
std::vector<Listed> readCollection(const std::string& file)
{
  requireFile(file);
  const auto root = Ptr<vtkXMLDataElement>::Take(vtkXMLUtilities::ReadElementFromFile(file.c_str()));
  vtkXMLDataElement* const collection = root ? root->FindNestedElementWithName("Collection") : nullptr;
  if (!collection)
    fail("readResults", orv::_("Results file '%s' is no collection of results.", file));
  std::vector<Listed> listed;
  for (int i = 0; i < collection->GetNumberOfNestedElements(); ++i) {
    vtkXMLDataElement* const entry = collection->GetNestedElement(i);
    double time = 0;
    entry->GetScalarAttribute("timestep", time);
    if (const char* name = entry->GetAttribute("file"))
      listed.push_back({time, (fs::path(file).parent_path() / name).string()});
  }
  return listed;
}

std::vector<double> timesOf(const std::string& file, vtkAlgorithm& reader)
{
  reading(file, [&reader] { runInformation(reader, "readResults"); });
  vtkInformation* const information = reader.GetOutputInformation(0);
  auto* const key = vtkStreamingDemandDrivenPipeline::TIME_STEPS();
  if (!information || !information->Has(key))
    return {};
  const double* const times = information->Get(key);
  return {times, times + information->Length(key)};
}

// All read one case. Who has no part of it knows no times.
std::vector<double> sameForAll(const std::vector<double>& times, const std::string& file)
{
  for (const std::string& each : exchanged("times", bytesOf(times))) {
    const std::vector<double> theirs = valuesOf<double>(each);
    if (!times.empty() && !theirs.empty() && theirs != times)
      fail("readResults",
           orv::_("Results file '%s' has other times in the pieces of other processes.", file));
    if (times.empty() && !theirs.empty())
      return theirs;
  }
  return times;
}

// A field that the reader left out, because its file is damaged; or took from a copy.
void requireFields(const Mesh& mesh, const FoamFields& fields, const ReadOptions& options, double time)
{
  for (const auto& [file, field] : fields.copies)
    fail("readResults", orv::_("File '%s' of '%s' at time %s says that it is the field '%s'.", file,
                               options.file, readable(time, 10), field));
  for (const std::string& name : fields.names) {
    if (!mesh.cells->GetCellData()->GetArray(name.c_str()))
      fail("readResults",
           orv::_(
               "Field '%s' of '%s' at time %s cannot be read: its file is damaged or not of the mesh's size.",
               name, options.file, readable(time, 10)));
  }
}

// Whether a file tells of pieces that processes can read one by one.
bool isOfPieces(const std::string& file)
{
  return endingOf(file) == ".pvtu" || endingOf(file) == ".pvtp";
}

bool isOfCommonFiles(const ReadOptions& options)
{
  return options.isDecomposed && isOpenFoam(options.file) && isCollated(foamRoot(options.file));
}

vtkIdType piecesIn(vtkXMLDataElement* element)
{
  vtkIdType count = element && std::string_view(element->GetName()) == "Piece";
  for (int i = 0; element && i < element->GetNumberOfNestedElements(); ++i)
    count += piecesIn(element->GetNestedElement(i));
  return count;
}

// Whether VTK has put several parts together here, each with all its points.
bool hasSeams(const ReadOptions& options, bool isPiece)
{
  vtkIdType parts = 0;
  if (isOpenFoam(options.file))
    parts = options.isDecomposed
                ? static_cast<vtkIdType>(processorsOf(foamRoot(options.file).string()).size())
                : 0;
  else if (endingOf(options.file) == ".pvtu")
    parts =
        piecesIn(Ptr<vtkXMLDataElement>::Take(vtkXMLUtilities::ReadElementFromFile(options.file.c_str())));
  const Share share = Share::of(parts);
  return (isPiece ? share.end - share.first : parts) > 1;
}

// Whether each of several processes reads a part of its own; else all read everything.
bool isInPieces(const ReadOptions& options)
{
  if (isOpenFoam(options.file))
    return options.isDecomposed
           && (isOfCommonFiles(options) || !processorsOf(foamRoot(options.file).string()).empty());
  if (endingOf(options.file) != ".pvd")
    return isOfPieces(options.file);
  const std::vector<Listed> listed = readCollection(options.file);
  return std::all_of(listed.begin(), listed.end(), [](const Listed& each) { return isOfPieces(each.file); });
}

// The same for all, whatever each finds in the files that it sees.
bool areInPieces(const ReadOptions& options)
{
  const std::vector<char> all = ofAll("in pieces", static_cast<char>(isInPieces(options)));
  if (std::find(all.begin(), all.end(), !all.front()) != all.end())
    fail("readResults",
         orv::_("Results file '%s' is in pieces for some processes, and whole for others.", options.file));
  return all.front() != 0;
}

Ptr<vtkDataObject> readAt(const ReadOptions& options, vtkAlgorithm& reader, double time, bool isPiece)
{
  const bool hasTimes = !timesOf(options.file, reader).empty();
  vtkInformation& wanted = *reader.GetOutputInformation(0);
  if (hasTimes)
    wanted.Set(vtkStreamingDemandDrivenPipeline::UPDATE_TIME_STEP(), time);
  if (isPiece && isOfPieces(options.file)) {
    wanted.Set(vtkStreamingDemandDrivenPipeline::UPDATE_PIECE_NUMBER(), Communicator::instance().rank());
    wanted.Set(vtkStreamingDemandDrivenPipeline::UPDATE_NUMBER_OF_PIECES(), Communicator::instance().size());
  }
  reading(options.file, [&reader] { run(reader, "readResults"); });
  if (vtkGenericEnSightReader::SafeDownCast(&reader))
    requireEnsightValues(options.file, *reader.GetOutputDataObject(0));
  return reader.GetOutputDataObject(0);
}

Ptr<vtkDataObject> readCollected(const ReadOptions& options, double time, bool isPiece)
{
  const auto all = make<vtkMultiBlockDataSet>();
  for (const Listed& listed : readCollection(options.file)) {
    if (listed.time != time)
      continue;
    ReadOptions part = options;
    part.file = listed.file;
    all->SetBlock(all->GetNumberOfBlocks(), readAt(part, *readerOf(part), 0, isPiece));
  }
  return all;
}

// Null without cells.
std::shared_ptr<Mesh> assembled(const Ptr<vtkDataObject>& data, bool hasSeams, RegionChoice& choice)
{
  const std::shared_ptr<Mesh> mesh = data ? assemble(*data, hasSeams, choice) : nullptr;
  return mesh && mesh->cells->GetNumberOfCells() > 0 ? mesh : nullptr;
}

// Null where this process has no part of it.
std::shared_ptr<Mesh> readFoam(const ReadOptions& options, double time, RegionChoice& choice)
{
  ReadOptions present = options;
  std::optional<ScratchFolder> apart;
  if (isOfCommonFiles(options))
    reading(options.file, [&] { present.file = writeApart(foamRoot(options.file), time, apart.emplace()); });
  requireFile(options.file);
  const OwnPart own(present);
  std::shared_ptr<Mesh> mesh;
  if (own.isEmpty())
    return mesh;
  own.told([&] {
    const std::string control = controlDictOf(own.options().file);
    const Ptr<vtkAlgorithm> reader = foamReader(options, choice, control);
    mesh = assembled(readAt(options, *reader, time, true), hasSeams(present, true), choice);
    if (!mesh)
      return;
    const FoamFields fields = foamFields(control, time, options.isDecomposed);
    requireFields(*mesh, fields, options, time);
    mesh->units = fields.units;
  });
  return mesh;
}

// Each process may have some of them.
void requireRegions(const ReadOptions& options, const RegionChoice& choice)
{
  if (options.regions.empty())
    return;
  std::set<std::string> there;
  for (const std::string& each : exchanged("regions", join({choice.there.begin(), choice.there.end()}, "\n")))
    for (const std::string& name : orv::StringUtilities::stringToVector(each, '\n'))
      there.insert(name);
  there.erase("");
  for (const std::string& name : options.regions) {
    if (there.empty())
      fail("readResults",
           orv::_("Region '%s' is not in results file '%s': it has no regions.", name, options.file));
    if (!there.contains(name))
      fail("readResults", orv::_("Region '%s' is not in results file '%s': there are %s.", name, options.file,
                                 join({there.begin(), there.end()})));
  }
}

std::shared_ptr<Mesh> readNew(const ReadOptions& options, double time)
{
  const bool isPiece = areInPieces(options);
  RegionChoice choice{options.regions, {}};
  std::shared_ptr<Mesh> mesh;
  if (isOpenFoam(options.file))
    mesh = readFoam(options, time, choice);
  else if (endingOf(options.file) == ".pvd")
    mesh = assembled(readCollected(options, time, isPiece), hasSeams(options, isPiece), choice);
  else
    mesh = assembled(readAt(options, *readerOf(options), time, isPiece), hasSeams(options, isPiece), choice);
  requireRegions(options, choice);
  mesh = shared(mesh, isPiece);
  if (!mesh)
    fail("readResults", orv::_("Results file '%s' holds no cells.", options.file));
  mesh->time = time;
  mesh->times = timesIn(options);
  for (const auto& [name, units] : options.units)
    mesh->units[name] = units;
  scaleLengths(*mesh, options.scale);
  return mesh;
}

// "flow.****.p" is any file with a number in place of the asterisks.
std::vector<fs::path> filesLike(const fs::path& pattern)
{
  const std::string wanted = pattern.filename().string();
  const std::string before = wanted.substr(0, wanted.find('*'));
  const std::string after = wanted.substr(wanted.rfind('*') + 1);
  std::vector<fs::path> files;
  std::error_code failure;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(fs::absolute(pattern).parent_path(), failure)) {
    const std::string name = entry.path().filename().string();
    if (name.size() <= before.size() + after.size() || !name.starts_with(before) || !name.ends_with(after))
      continue;
    const std::string number = name.substr(before.size(), name.size() - before.size() - after.size());
    if (number.find_first_not_of("0123456789") == std::string::npos)
      files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// The files that one of several files names, "<Piece Source='a.vtu'/>" or "model: a.geo": those of its words that are files.
std::vector<fs::path> namedIn(const fs::path& file)
{
  static const std::set<std::string> ofSeveral{".pvtu", ".pvtp", ".pvts", ".pvti", ".pvtr",
                                               ".vtm",  ".pvd",  ".case", ".encas"};
  std::vector<fs::path> files;
  if (!ofSeveral.contains(endingOf(file.string())))
    return files;
  std::string text = readFile(file.string());
  std::replace_if(
      text.begin(), text.end(), [](char c) { return std::strchr("\"'<>=\t\r\n", c) != nullptr; }, ' ');
  std::error_code failure;
  for (const std::string& word : orv::StringUtilities::stringToVector(text, ' ')) {
    const fs::path named = file.parent_path() / word;
    if (named.filename().string().find('*') != std::string::npos) {
      const std::vector<fs::path> like = filesLike(named);
      files.insert(files.end(), like.begin(), like.end());
    } else if (!word.empty() && fs::is_regular_file(named, failure)) {
      files.push_back(named);
    }
  }
  return files;
}

void addFiles(orv::ResultKey& key, const fs::path& file)
{
  std::set<fs::path> known{file};
  std::vector<fs::path> waiting{file};
  while (!waiting.empty()) {
    const fs::path next = waiting.back();
    waiting.pop_back();
    key.addFile(next.string());
    for (const fs::path& named : namedIn(next)) {
      if (known.insert(named).second)
        waiting.push_back(named);
    }
  }
}

// What is there to be read: all, or at a time. Of several processes each has a piece of its own, and a file that one of them
// sees change has changed for all.
orv::ResultKey keyOf(const ReadOptions& options, const char* function, std::optional<double> time)
{
  orv::ResultKey key(function);
  key.addAll(options.file, options.isDecomposed);
  if (isOpenFoam(options.file)) {
    for (const std::string& file : foamFiles(foamRoot(options.file), time, options.isDecomposed))
      key.addFile(file);
  } else {
    addFiles(key, options.file);
  }
  const Communicator& processes = Communicator::instance();
  if (processes.isAlone())
    return key;
  orv::ResultKey piece(function);
  for (const std::string& each : exchanged("files", key.toString()))
    piece.add(each);
  return piece.addAll(processes.rank(), processes.size());
}

}  // namespace

bool isOpenFoam(const std::string& file)
{
  std::error_code failure;
  return endingOf(file) == ".foam" || fs::path(file).filename() == "controlDict"
         || (fs::is_directory(file, failure)
             && fs::exists(fs::path(file) / "system" / "controlDict", failure));
}

std::vector<double> timesIn(const ReadOptions& options)
{
  const auto find = [&](Making&) {
    auto times = std::make_shared<std::vector<double>>();
    if (endingOf(options.file) == ".pvd") {
      for (const Listed& listed : readCollection(options.file))
        times->push_back(listed.time);
    } else if (isOfCommonFiles(options)) {
      *times = collatedTimes(foamRoot(options.file));
    } else {
      const OwnPart own(options);
      if (!own.isEmpty())
        own.told([&] { *times = timesOf(options.file, *readerOf(own.options())); });
    }
    std::sort(times->begin(), times->end());
    times->erase(std::unique(times->begin(), times->end()), times->end());
    *times = sameForAll(*times, options.file);
    return times;
  };
  return *remembered<std::vector<double>>(keyOf(options, "timesIn", {}), "timesIn", options.file, find);
}

std::shared_ptr<const Mesh> readMesh(const ReadOptions& options, double time)
{
  orv::ResultKey key = keyOf(options, "readMesh", time);
  key.addAll(time, options.scale, options.regions.size());
  for (const std::string& name : options.regions)
    key.add(name);
  for (const auto& [name, units] : options.units)
    key.addAll(name, units);
  return remembered<Mesh>(key, "readMesh", options.file, [&](Making& making) {
    const std::shared_ptr<Mesh> mesh = readNew(options, time);
    mesh->key = key;
    std::size_t bytes = memoryOf(*mesh->cells);
    for (const Region& region : mesh->regions)
      bytes += memoryOf(*region.faces);
    making.takes(bytes);
    return mesh;
  });
}

}  // namespace results
