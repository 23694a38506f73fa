// From what readers give to one mesh.
#include "Reader.h"
#include "running.h"

#include <algorithm>
#include <numeric>
#include <vtkAppendFilter.h>
#include <vtkAppendPolyData.h>
#include <vtkCellData.h>
#include <vtkCellDataToPointData.h>
#include <vtkCellType.h>
#include <vtkCompositeDataSet.h>
#include <vtkDataObjectTreeIterator.h>
#include <vtkDataSetSurfaceFilter.h>
#include <vtkDoubleArray.h>
#include <vtkGenericCell.h>
#include <vtkIdList.h>
#include <vtkImageData.h>
#include <vtkInformation.h>
#include <vtkIntArray.h>
#include <vtkMultiBlockDataSet.h>
#include <vtkPointData.h>
#include <vtkPointSet.h>
#include <vtkPoints.h>
#include <vtkRectilinearGrid.h>
#include <vtkStaticCleanPolyData.h>
#include <vtkUnstructuredGrid.h>

namespace results {

namespace {

struct Leaf {
  std::string name;
  Ptr<vtkDataSet> data;
  int dimension = 0;  // of its cells; 0 without any
};

// Volumes are what they are in the first cell: parts do not mix them with faces.
int dimensionOf(vtkDataSet& data)
{
  const vtkIdType count = data.GetNumberOfCells();
  const auto cell = make<vtkGenericCell>();
  int most = 0;
  for (const vtkIdType at : {vtkIdType(0), count / 2, count - 1}) {
    if (count == 0)
      break;
    data.GetCell(at, cell);
    most = std::max(most, cell->GetCellDimension());
  }
  return most;
}

void addLeaf(std::vector<Leaf>& leaves, vtkDataObject* data, const char* name)
{
  auto* const set = vtkDataSet::SafeDownCast(data);
  if (!set || set->GetNumberOfPoints() == 0)
    return;
  Ptr<vtkDataSet> own = set;
  if (auto* const grid = vtkUnstructuredGrid::SafeDownCast(set); grid && grid->HasAnyGhostCells()) {
    own = copyOf(*set);
    vtkUnstructuredGrid::SafeDownCast(own)->RemoveGhostCells();
  }
  leaves.push_back({name ? name : "", own, dimensionOf(*own)});
}

// Blocks without a name, and what lies between the parts of a case.
bool isOfNobody(const std::string& name)
{
  return name.empty() || name.starts_with("procBoundary");
}

void addLeaf(std::vector<Leaf>& leaves, vtkDataObject* data, const std::vector<std::string>& path,
             RegionChoice& choice)
{
  choice.sees(path);
  if (choice.takes(path))
    addLeaf(leaves, data, path.back().c_str());
}

// The count is protected in VTK, where every kind of block has another name for it.
struct Countable : vtkDataObjectTree {
  static unsigned int childrenOf(vtkDataObjectTree& block)
  {
    return (block.*&Countable::GetNumberOfChildren)();
  }
};

// Blocks within blocks, in their order.
std::vector<Leaf> leavesOf(vtkDataObject& data, RegionChoice& choice)
{
  std::vector<Leaf> leaves;
  auto* const blocks = vtkDataObjectTree::SafeDownCast(&data);
  if (!blocks) {
    addLeaf(leaves, &data, {""}, choice);
    return leaves;
  }
  const auto at = Ptr<vtkDataObjectTreeIterator>::Take(blocks->NewTreeIterator());
  at->VisitOnlyLeavesOff();
  at->SkipEmptyNodesOff();
  std::vector<std::string> path;      // of names
  std::vector<unsigned int> waiting;  // how many blocks of each that is open are still to come
  for (at->InitTraversal(); !at->IsDoneWithTraversal(); at->GoToNextItem()) {
    for (; !waiting.empty() && waiting.back() == 0; waiting.pop_back())
      path.pop_back();
    if (!waiting.empty())
      --waiting.back();
    vtkInformation* const about = at->HasCurrentMetaData() ? at->GetCurrentMetaData() : nullptr;
    const char* const name = about ? about->Get(vtkCompositeDataSet::NAME()) : nullptr;
    path.emplace_back(name ? name : "");
    if (auto* const block = vtkDataObjectTree::SafeDownCast(at->GetCurrentDataObject())) {
      waiting.push_back(Countable::childrenOf(*block));
      continue;
    }
    addLeaf(leaves, at->GetCurrentDataObject(), path, choice);
    path.pop_back();
  }
  return leaves;
}

// The fields that not all have would be lost where parts are joined: they are nothing (0 or blank) elsewhere.
void completeFields(std::vector<Ptr<vtkDataSet>>& parts)
{
  for (const bool onCells : {false, true}) {
    const auto fields = [onCells](vtkDataSet& part) {
      return onCells ? static_cast<vtkDataSetAttributes*>(part.GetCellData()) : part.GetPointData();
    };
    for (std::size_t from = 0; from < parts.size(); ++from) {
      for (int i = 0; i < fields(*parts[from])->GetNumberOfArrays(); ++i) {
        vtkDataArray* const array = fields(*parts[from])->GetArray(i);
        for (Ptr<vtkDataSet>& part : parts) {
          if (!array || !array->GetName() || fields(*part)->HasArray(array->GetName()))
            continue;
          const auto none = Ptr<vtkDataArray>::Take(array->NewInstance());
          none->SetName(array->GetName());
          none->SetNumberOfComponents(array->GetNumberOfComponents());
          none->SetNumberOfTuples(onCells ? part->GetNumberOfCells() : part->GetNumberOfPoints());
          none->Fill(0);
          fields(*part)->AddArray(none);
        }
      }
    }
  }
}

// One of its points, by itself: VTK looks for equal points where there are two parts.
Ptr<vtkDataSet> onePointOf(vtkDataSet& part)
{
  const auto points = make<vtkPoints>();
  points->SetDataTypeToDouble();
  points->InsertNextPoint(part.GetPoint(0));
  const auto one = make<vtkUnstructuredGrid>();
  one->SetPoints(points);
  one->GetPointData()->CopyAllocate(part.GetPointData(), 1);
  one->GetPointData()->CopyData(part.GetPointData(), vtkIdType(0), vtkIdType(0));
  return one;
}

Ptr<vtkPolyData> withoutSeams(vtkPolyData& surface)
{
  const auto clean = make<vtkStaticCleanPolyData>();
  clean->SetInputData(&surface);
  clean->SetTolerance(0);
  clean->ConvertPolysToLinesOff();
  clean->ConvertLinesToPointsOff();
  run(*clean, "assemble");
  return clean->GetOutput();
}

Ptr<vtkDataSet> joined(std::vector<Ptr<vtkDataSet>> parts, bool hasSeams)
{
  if (parts.size() == 1 && !hasSeams)
    return copyOf(*parts.front());
  for (Ptr<vtkDataSet>& part : parts)
    part = copyOf(*part);
  const bool isSurface = std::all_of(parts.begin(), parts.end(),
                                     [](vtkDataSet* part) { return vtkPolyData::SafeDownCast(part); });
  if (!isSurface && parts.size() == 1)
    parts.push_back(onePointOf(*parts.front()));
  completeFields(parts);
  if (isSurface) {
    const auto append = make<vtkAppendPolyData>();
    for (vtkDataSet* part : parts)
      append->AddInputData(vtkPolyData::SafeDownCast(part));
    run(*append, "assemble");
    return hasSeams ? withoutSeams(*append->GetOutput()) : Ptr<vtkPolyData>(append->GetOutput());
  }
  const auto append = make<vtkAppendFilter>();
  append->MergePointsOn();  // of parts that touch: values on points are then those of all cells round them
  for (vtkDataSet* part : parts)
    append->AddInputData(part);
  run(*append, "assemble");
  return append->GetOutput();
}

// VTK leaves their values open.
std::vector<vtkIdType> pointsWithoutCells(vtkDataSet& data)
{
  std::vector<bool> isUsed(static_cast<std::size_t>(data.GetNumberOfPoints()));
  const auto corners = make<vtkIdList>();
  for (vtkIdType i = 0; i < data.GetNumberOfCells(); ++i) {
    data.GetCellPoints(i, corners);
    for (const vtkIdType point : *corners)
      isUsed[static_cast<std::size_t>(point)] = true;
  }
  std::vector<vtkIdType> unused;
  for (std::size_t i = 0; i < isUsed.size(); ++i)
    if (!isUsed[i])
      unused.push_back(static_cast<vtkIdType>(i));
  return unused;
}

// Fields on cells get values on points, too; a point without cells the one of the first, which is some value of the field.
void fillPoints(Mesh& mesh)
{
  bool isMissing = false;
  for (int i = 0; i < mesh.cells->GetCellData()->GetNumberOfArrays(); ++i) {
    vtkDataArray* const array = mesh.cells->GetCellData()->GetArray(i);
    isMissing =
        isMissing || (array && array->GetName() && !mesh.cells->GetPointData()->HasArray(array->GetName()));
  }
  if (!isMissing)
    return;
  const auto filter = make<vtkCellDataToPointData>();
  filter->SetInputData(mesh.cells);
  filter->PassCellDataOn();
  run(*filter, "assemble");
  const std::vector<vtkIdType> unused = pointsWithoutCells(*mesh.cells);
  auto* const points = vtkDataSet::SafeDownCast(filter->GetOutputDataObject(0))->GetPointData();
  for (int i = 0; i < points->GetNumberOfArrays(); ++i) {
    vtkDataArray* const array = points->GetArray(i);
    if (!array || !array->GetName() || mesh.cells->GetPointData()->HasArray(array->GetName()))
      continue;
    for (const vtkIdType point : unused)
      array->SetTuple(point, 0, mesh.cells->GetCellData()->GetArray(array->GetName()));
    mesh.cells->GetPointData()->AddArray(array);
  }
}

// So that pieces of a place know which cell they are of.
void numberCells(vtkDataSet& cells)
{
  const auto numbers = make<vtkIntArray>();
  numbers->SetName(cellNumbers);
  numbers->SetNumberOfTuples(cells.GetNumberOfCells());
  std::iota(numbers->GetPointer(0), numbers->GetPointer(0) + cells.GetNumberOfCells(), 0);
  cells.GetCellData()->AddArray(numbers);
}

void addRegion(Mesh& mesh, const Leaf& leaf)
{
  if (isOfNobody(leaf.name))
    return;
  Ptr<vtkPolyData> faces = surfaceOf(*leaf.data);
  const auto known = std::find_if(mesh.regions.begin(), mesh.regions.end(),
                                  [&leaf](const Region& region) { return region.name == leaf.name; });
  if (known == mesh.regions.end()) {
    mesh.regions.push_back({leaf.name, faces});
    return;
  }
  const auto append = make<vtkAppendPolyData>();  // parts of one patch
  append->AddInputData(known->faces);
  append->AddInputData(faces);
  run(*append, "assemble");
  known->faces = append->GetOutput();
}

}  // namespace

void RegionChoice::sees(const std::vector<std::string>& path)
{
  for (const std::string& name : path)
    if (!isOfNobody(name))
      there.insert(name);
}

bool RegionChoice::takes(const std::vector<std::string>& path) const
{
  return wanted.empty() || std::any_of(path.begin(), path.end(), [this](const std::string& name) {
           return wanted.contains(name);
         });
}

std::shared_ptr<Mesh> assemble(vtkDataObject& data, bool hasSeams, RegionChoice& choice)
{
  const std::vector<Leaf> leaves = leavesOf(data, choice);
  int most = 0;
  for (const Leaf& leaf : leaves)
    most = std::max(most, leaf.dimension);
  auto mesh = std::make_shared<Mesh>();
  std::vector<Ptr<vtkDataSet>> parts;
  for (const Leaf& leaf : leaves) {
    if (leaf.dimension == most)
      parts.push_back(leaf.data);
    if (leaf.dimension == 2 && (most == 3 || leaves.size() > 1))
      addRegion(*mesh, leaf);
  }
  if (parts.empty())
    return nullptr;
  mesh->cells = joined(std::move(parts), hasSeams);
  fillPoints(*mesh);
  numberCells(*mesh->cells);
  return mesh;
}

namespace {

void scalePoints(vtkPointSet& data, double factor)
{
  const auto points = make<vtkPoints>();
  points->SetDataTypeToDouble();
  points->DeepCopy(data.GetPoints());
  for (vtkIdType i = 0; i < points->GetNumberOfPoints(); ++i) {
    double at[3];
    points->GetPoint(i, at);
    points->SetPoint(i, factor * at[0], factor * at[1], factor * at[2]);
  }
  data.SetPoints(points);
}

Ptr<vtkDataArray> scaled(vtkDataArray* coordinates, double factor)
{
  const auto result = make<vtkDoubleArray>();
  result->DeepCopy(coordinates);
  for (vtkIdType i = 0; i < result->GetNumberOfTuples(); ++i)
    result->SetValue(i, factor * result->GetValue(i));
  return result;
}

Ptr<vtkDataSet> scaledSet(vtkDataSet& data, double factor)
{
  const Ptr<vtkDataSet> copy = copyOf(data);
  if (auto* points = vtkPointSet::SafeDownCast(copy)) {
    if (points->GetPoints())
      scalePoints(*points, factor);
  } else if (auto* image = vtkImageData::SafeDownCast(copy)) {
    const double* const spacing = image->GetSpacing();
    image->SetSpacing(factor * spacing[0], factor * spacing[1], factor * spacing[2]);
    const double* const origin = image->GetOrigin();
    image->SetOrigin(factor * origin[0], factor * origin[1], factor * origin[2]);
  } else if (auto* grid = vtkRectilinearGrid::SafeDownCast(copy)) {
    grid->SetXCoordinates(scaled(grid->GetXCoordinates(), factor));
    grid->SetYCoordinates(scaled(grid->GetYCoordinates(), factor));
    grid->SetZCoordinates(scaled(grid->GetZCoordinates(), factor));
  }
  return copy;
}

}  // namespace

void scaleLengths(Mesh& mesh, double factor)
{
  if (factor == 1)
    return;
  mesh.cells = scaledSet(*mesh.cells, factor);
  for (Region& region : mesh.regions)
    region.faces = vtkPolyData::SafeDownCast(scaledSet(*region.faces, factor));
}

}  // namespace results
