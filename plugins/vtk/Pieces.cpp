#include "Pieces.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "Communicator.h"
#include "Seams.h"
#include "running.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <tuple>
#include <vtkAppendPolyData.h>
#include <vtkCellData.h>
#include <vtkCharArray.h>
#include <vtkCommunicator.h>
#include <vtkDataArray.h>
#include <vtkDoubleArray.h>
#include <vtkExtractCells.h>
#include <vtkIdList.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkStaticCleanPolyData.h>
#include <vtkUnstructuredGrid.h>

namespace results {

namespace {

bool isAlone()
{
  return Communicator::instance().isAlone();
}

}  // namespace

std::vector<std::string> exchanged(const char* what, const std::string& mine)
{
  return Communicator::instance().exchange(what, mine);
}

// ------------------------------------------------------------------------------------------------------------- numbers

std::vector<double> totals(const std::vector<double>& mine)
{
  if (isAlone())
    return mine;
  std::vector<double> sums(mine.size());
  for (const std::string& each : exchanged("totals", bytesOf(mine))) {
    const std::vector<double> values = valuesOf<double>(each);
    for (std::size_t i = 0; i < sums.size(); ++i)
      sums[i] += values.at(i);
  }
  return sums;
}

double total(double mine)
{
  return totals({mine}).front();
}

Vec total(const Vec& mine)
{
  const std::vector<double> sums = totals({mine[0], mine[1], mine[2]});
  return {sums[0], sums[1], sums[2]};
}

vtkIdType countCells(vtkDataSet& data)
{
  return static_cast<vtkIdType>(total(static_cast<double>(data.GetNumberOfCells())));
}

vtkIdType countPoints(vtkDataSet& data)
{
  return static_cast<vtkIdType>(total(static_cast<double>(data.GetNumberOfPoints())));
}

std::string ofFirst(const std::string& mine)
{
  return exchanged("of the first", Communicator::instance().isFirst() ? mine : std::string()).front();
}

// -------------------------------------------------------------------------------------------------------------- fields

namespace {

struct FieldKind {
  std::string name;
  int components = 1;
  bool isOnCells = false;
  bool operator<(const FieldKind& other) const
  {
    return std::tie(name, components, isOnCells) < std::tie(other.name, other.components, other.isOnCells);
  }
};

vtkDataSetAttributes& fieldsIn(vtkDataSet& data, bool onCells)
{
  return onCells ? static_cast<vtkDataSetAttributes&>(*data.GetCellData()) : *data.GetPointData();
}

std::set<FieldKind> fieldsIn(vtkDataSet& data)
{
  std::set<FieldKind> kinds;
  for (const bool onCells : {false, true}) {
    vtkDataSetAttributes& fields = fieldsIn(data, onCells);
    for (int i = 0; i < fields.GetNumberOfArrays(); ++i) {
      vtkDataArray* const array = fields.GetArray(i);
      if (array && array->GetName())
        kinds.insert({array->GetName(), array->GetNumberOfComponents(), onCells});
    }
  }
  return kinds;
}

void addFields(vtkDataSet& data, const std::set<FieldKind>& kinds)
{
  for (const FieldKind& kind : kinds) {
    vtkDataSetAttributes& fields = fieldsIn(data, kind.isOnCells);
    if (fields.HasArray(kind.name.c_str()))
      continue;
    const auto array = make<vtkDoubleArray>();
    array->SetName(kind.name.c_str());
    array->SetNumberOfComponents(kind.components);
    fields.AddArray(array);
  }
}

}  // namespace

void takeFields(vtkDataSet& data, vtkDataSet& like)
{
  if (!isAlone() && data.GetNumberOfPoints() == 0)
    addFields(data, fieldsIn(like));
}

// -------------------------------------------------------------------------------------------------------------- shares

Share Share::of(vtkIdType count)
{
  const Communicator& all = Communicator::instance();
  return {count * all.rank() / all.size(), count * (all.rank() + 1) / all.size()};
}

namespace {

Ptr<vtkDataSet> shareOf(vtkDataSet& data)
{
  const Share share = Share::of(data.GetNumberOfCells());
  Ptr<vtkDataSet> part;
  if (auto* const surface = vtkPolyData::SafeDownCast(&data)) {
    part = facesWhere(*surface, [&share](vtkIdType cell) { return cell >= share.first && cell < share.end; });
  } else {
    const auto wanted = make<vtkIdList>();
    wanted->SetNumberOfIds(share.end - share.first);
    std::iota(wanted->begin(), wanted->end(), share.first);
    const auto extract = make<vtkExtractCells>();
    extract->SetInputData(&data);
    extract->SetCellList(wanted);
    run(*extract, "readResults");
    part = extract->GetOutput();
    part->GetCellData()->RemoveArray("vtkOriginalCellIds");
  }
  takeFields(*part, data);
  return part;
}

// ------------------------------------------------------------------------------------------------ what pieces are like

// A mesh without its values, as text.
std::string kindOf(vtkDataSet& data)
{
  std::string text = vtkPolyData::SafeDownCast(&data) ? "surface\n" : "volume\n";
  for (const FieldKind& kind : fieldsIn(data))
    text.append(kind.isOnCells ? "C " : "P ")
        .append(std::to_string(kind.components))
        .append(" ")
        .append(kind.name)
        .append("\n");
  return text;
}

std::set<FieldKind> fieldsOfKind(const std::string& kind)
{
  std::set<FieldKind> kinds;
  for (const std::string& line : orv::StringUtilities::stringToVector(kind, '\n')) {
    const std::size_t name = line.find(' ', 2);
    if (line.size() > 2 && line[1] == ' ' && name != std::string::npos)
      kinds.insert({line.substr(name + 1), std::stoi(line.substr(2)), line[0] == 'C'});
  }
  return kinds;
}

Ptr<vtkDataSet> emptyOf(const std::string& kind)
{
  Ptr<vtkDataSet> data;
  if (kind.starts_with("surface"))
    data = make<vtkPolyData>();
  else
    data = make<vtkUnstructuredGrid>();
  if (auto* points = vtkPointSet::SafeDownCast(data))
    points->SetPoints(make<vtkPoints>());
  addFields(*data, fieldsOfKind(kind));
  return data;
}

constexpr char partMark = '\1';

// Of the cells first, then name and kind of each region.
std::string kindsOf(const Mesh* mesh)
{
  if (!mesh)
    return {};
  std::vector<std::string> parts{kindOf(*mesh->cells)};
  for (const Region& region : mesh->regions) {
    parts.push_back(region.name);
    parts.push_back(kindOf(*region.faces));
  }
  for (const auto& [name, units] : mesh->units) {
    parts.push_back("");
    parts.push_back(name + "=" + units);
  }
  return orv::StringUtilities::vectorToString(parts, std::string_view(&partMark, 1));
}

// What the pieces of all have.
struct CommonKinds {
  std::string cells;
  std::vector<std::pair<std::string, std::string>> regions;
  Units units;
};

CommonKinds commonOf(const std::vector<std::string>& all)
{
  CommonKinds common;
  for (const std::string& kinds : all) {
    const std::vector<std::string> parts = orv::StringUtilities::stringToVector(kinds, partMark);
    if (kinds.empty() || parts.empty())
      continue;
    if (common.cells.empty())
      common.cells = parts[0];
    for (std::size_t i = 1; i + 1 < parts.size(); i += 2) {
      const auto isIt = [&](const auto& region) { return region.first == parts[i]; };
      if (parts[i].empty()) {
        const std::size_t equals = parts[i + 1].rfind('=');
        common.units.emplace(parts[i + 1].substr(0, equals), parts[i + 1].substr(equals + 1));
      } else if (std::none_of(common.regions.begin(), common.regions.end(), isIt)) {
        common.regions.emplace_back(parts[i], parts[i + 1]);
      }
    }
  }
  return common;
}

// A piece that has cells has the fields that all others have.
void requireAll(const Mesh& mesh, const std::vector<std::string>& all)
{
  const std::set<FieldKind> mine = fieldsIn(*mesh.cells);
  for (const std::string& kinds : all) {
    if (kinds.empty())
      continue;
    for (const FieldKind& field : fieldsOfKind(orv::StringUtilities::stringToVector(kinds, partMark)[0])) {
      if (!mine.contains(field))
        fail("readResults",
             orv::_("Field '%s' is in the pieces of other processes, but not in that of this one.",
                    field.name));
    }
  }
}

void completeRegions(Mesh& mesh, const CommonKinds& common)
{
  std::vector<Region> regions;
  for (const auto& [name, kind] : common.regions) {
    const auto own = std::find_if(mesh.regions.begin(), mesh.regions.end(),
                                  [&name = name](const Region& region) { return region.name == name; });
    if (own == mesh.regions.end())
      regions.push_back({name, vtkPolyData::SafeDownCast(emptyOf(kind))});
    else
      regions.push_back(*own);
  }
  mesh.regions = std::move(regions);
}

std::vector<vtkDataArray*> madeOfCells(vtkDataSet& data)
{
  std::vector<vtkDataArray*> arrays;
  for (const FieldKind& kind : fieldsIn(data))
    if (kind.isOnCells && data.GetPointData()->GetArray(kind.name.c_str()))
      arrays.push_back(data.GetPointData()->GetArray(kind.name.c_str()));
  return arrays;
}

// What all have read, each its share of it.
void split(Mesh& mesh)
{
  mesh.cells = shareOf(*mesh.cells);
  for (Region& region : mesh.regions)
    region.faces = vtkPolyData::SafeDownCast(shareOf(*region.faces));
}

}  // namespace

std::shared_ptr<Mesh> shared(std::shared_ptr<Mesh> mesh, bool isPiece)
{
  if (isAlone())
    return mesh;
  if (mesh && !isPiece)
    split(*mesh);
  const std::vector<std::string> all = exchanged("pieces", kindsOf(mesh.get()));
  const CommonKinds common = commonOf(all);
  if (common.cells.empty())
    return nullptr;
  if (mesh) {
    requireAll(*mesh, all);
  } else {
    mesh = std::make_shared<Mesh>();
    mesh->cells = emptyOf(common.cells);
  }
  completeRegions(*mesh, common);
  mesh->units = common.units;
  if (isPiece)
    mendSeams(*mesh->cells, madeOfCells(*mesh->cells));
  return mesh;
}

// ------------------------------------------------------------------------------------------------------------- gathered

std::string marshalled(vtkDataObject& data)
{
  const auto buffer = make<vtkCharArray>();
  if (!vtkCommunicator::MarshalDataObject(&data, buffer))
    fail("gather", "The data of a process cannot be sent.");
  return {buffer->GetPointer(0), static_cast<std::size_t>(buffer->GetNumberOfTuples())};
}

void unmarshal(const std::string& bytes, vtkDataObject& data)
{
  const auto buffer = make<vtkCharArray>();
  buffer->SetNumberOfTuples(static_cast<vtkIdType>(bytes.size()));
  std::copy(bytes.begin(), bytes.end(), buffer->GetPointer(0));
  if (!vtkCommunicator::UnMarshalDataObject(buffer, &data))
    fail("gather", "The data of a process cannot be understood.");
}

Ptr<vtkPolyData> gathered(const Ptr<vtkPolyData>& surface, bool isMerged)
{
  if (isAlone())
    return surface;
  const std::string mine = surface->GetNumberOfPoints() > 0 ? marshalled(*surface) : std::string();
  const std::vector<std::string> all = Communicator::instance().gather("geometry", mine);
  const auto append = make<vtkAppendPolyData>();
  bool isEmpty = true;
  for (const std::string& piece : all) {
    if (piece.empty())
      continue;
    const auto data = make<vtkPolyData>();
    unmarshal(piece, *data);
    append->AddInputData(data);
    isEmpty = false;
  }
  Ptr<vtkPolyData> whole = make<vtkPolyData>();
  if (!isEmpty && !isMerged) {
    run(*append, "gather");
    whole = append->GetOutput();
  } else if (!isEmpty) {
    const auto clean = make<vtkStaticCleanPolyData>();
    clean->SetInputConnection(append->GetOutputPort());
    clean->ConvertLinesToPointsOff();
    clean->ConvertPolysToLinesOff();
    clean->ConvertStripsToPolysOff();
    run(*clean, "gather");
    whole = clean->GetOutput();
  }
  if (whole->GetNumberOfPoints() == 0)
    whole->SetPoints(make<vtkPoints>());
  takeFields(*whole, *surface);
  return whole;
}

Place gatheredPlace(const Place& place)
{
  if (isAlone())
    return place;
  Place whole = place;
  whole.data = gathered(outerSurface(*place.data));
  return whole;
}

Ptr<vtkPolyData> gatheredPoints(vtkDataSet& data)
{
  std::vector<vtkIdType> all(static_cast<std::size_t>(data.GetNumberOfPoints()));
  std::iota(all.begin(), all.end(), 0);
  return gathered(verticesAt(data, all));
}

}  // namespace results
