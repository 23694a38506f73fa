#include "Seams.h"

#include "Communicator.h"
#include "Pieces.h"
#include "running.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <vtkAppendFilter.h>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkDataSetSurfaceFilter.h>
#include <vtkExtractCells.h>
#include <vtkIdList.h>
#include <vtkIdTypeArray.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkUnstructuredGrid.h>

namespace results {

namespace {

using Box = std::array<double, 6>;

Box boxOf(vtkDataSet& data)
{
  constexpr double most = std::numeric_limits<double>::max();
  Box box{most, -most, most, -most, most, -most};
  if (data.GetNumberOfPoints() > 0)
    data.GetBounds(box.data());
  return box;
}

bool isIn(const Box& box, const Vec& at)
{
  for (std::size_t i = 0; i < 3; ++i)
    if (at.at(i) < box.at(2 * i) || at.at(i) > box.at(2 * i + 1))
      return false;
  return true;
}

// Those of the other processes, a little larger: only what lies in one of them can be at a seam.
std::vector<Box> boxesOfOthers(vtkDataSet& data)
{
  std::vector<Box> boxes = ofAll("bounds", boxOf(data));
  boxes.erase(boxes.begin() + Communicator::instance().rank());
  for (Box& box : boxes) {
    double size = 0;
    for (std::size_t i = 0; i < 6; i += 2)
      size = std::max(size, box.at(i + 1) - box.at(i));
    for (std::size_t i = 0; i < 6; i += 2) {
      box.at(i) -= 1e-9 * size;
      box.at(i + 1) += 1e-9 * size;
    }
  }
  return boxes;
}

bool isInAny(const std::vector<Box>& boxes, const Vec& at)
{
  return std::any_of(boxes.begin(), boxes.end(), [&at](const Box& box) { return isIn(box, at); });
}

// Points are the same when their coordinates are, to the last bit: pieces come from one mesh.
struct Spot {
  Vec at{};
  bool operator==(const Spot&) const = default;
};

std::uint64_t mixed(std::uint64_t hash)
{
  hash ^= hash >> 31;
  hash *= 0x9e3779b97f4a7c15U;
  return hash ^ (hash >> 29);
}

struct SpotHash {
  std::size_t operator()(const Spot& spot) const
  {
    std::uint64_t hash = 0;
    for (const double c : spot.at)
      hash = mixed(hash ^ std::bit_cast<std::uint64_t>(c)) + 0x632be59bd9b4e019U;
    return hash;
  }
};

Spot spotOf(vtkDataSet& data, vtkIdType point)
{
  Spot spot;
  data.GetPoint(point, spot.at.data());
  for (double& c : spot.at)
    c += 0.0;  // there is one zero
  return spot;
}

// The points of the surface that others may have, too.
std::vector<vtkIdType> candidates(vtkDataSet& data, const std::vector<Box>& boxes)
{
  std::vector<vtkIdType> points;
  if (data.GetNumberOfCells() == 0)
    return points;
  const auto filter = make<vtkDataSetSurfaceFilter>();
  filter->SetInputData(&data);
  filter->PassThroughPointIdsOn();
  run(*filter, "readResults");
  auto* const ids = vtkIdTypeArray::SafeDownCast(
      filter->GetOutput()->GetPointData()->GetArray(filter->GetOriginalPointIdsName()));
  for (vtkIdType i = 0; ids && i < ids->GetNumberOfTuples(); ++i)
    if (isInAny(boxes, spotOf(data, ids->GetValue(i)).at))
      points.push_back(ids->GetValue(i));
  std::sort(points.begin(), points.end());
  points.erase(std::unique(points.begin(), points.end()), points.end());
  return points;
}

std::uint64_t faceHash(vtkPolyData& surface, vtkIdType face, const std::vector<Box>& boxes)
{
  vtkIdType count = 0;
  const vtkIdType* ids = nullptr;
  surface.GetCellPoints(face, count, ids);
  std::uint64_t sum = static_cast<std::uint64_t>(count);
  for (vtkIdType i = 0; i < count; ++i) {
    const Spot spot = spotOf(surface, ids[i]);
    if (!isInAny(boxes, spot.at))
      return 0;
    sum += mixed(SpotHash()(spot));  // whichever point comes first
  }
  return sum == 0 ? 1 : sum;
}

}  // namespace

Ptr<vtkPolyData> facesWhere(vtkPolyData& surface, const std::function<bool(vtkIdType)>& isWanted)
{
  surface.BuildCells();
  auto part = make<vtkPolyData>();
  part->SetPoints(surface.GetPoints());
  part->GetPointData()->ShallowCopy(surface.GetPointData());
  part->AllocateEstimate(surface.GetNumberOfCells(), 4);
  part->GetCellData()->CopyAllocate(surface.GetCellData());
  for (vtkIdType i = 0; i < surface.GetNumberOfCells(); ++i) {
    if (!isWanted(i))
      continue;
    vtkIdType count = 0;
    const vtkIdType* ids = nullptr;
    surface.GetCellPoints(i, count, ids);
    const vtkIdType to = part->InsertNextCell(surface.GetCellType(i), static_cast<int>(count), ids);
    part->GetCellData()->CopyData(surface.GetCellData(), i, to);
  }
  part->Squeeze();
  return part;
}

std::array<double, 6> boundsOfAll(vtkDataSet& data)
{
  Box all = boxOf(data);
  if (Communicator::instance().isAlone())
    return all;
  for (const Box& box : ofAll("bounds", all)) {
    for (std::size_t i = 0; i < 6; i += 2) {
      all.at(i) = std::min(all.at(i), box.at(i));
      all.at(i + 1) = std::max(all.at(i + 1), box.at(i + 1));
    }
  }
  return all;
}

namespace {

std::vector<Spot> spotsOf(vtkDataSet& data, const std::vector<vtkIdType>& points)
{
  std::vector<Spot> spots;
  spots.reserve(points.size());
  for (const vtkIdType point : points)
    spots.push_back(spotOf(data, point));
  return spots;
}

}  // namespace

vtkIdType countDistinctPoints(vtkDataSet& data)
{
  if (Communicator::instance().isAlone())
    return data.GetNumberOfPoints();
  const std::vector<Spot> mine = spotsOf(data, candidates(data, boxesOfOthers(data)));
  std::unordered_set<Spot, SpotHash> distinct;
  std::size_t all = 0;
  for (const std::string& each : exchanged("seam points", bytesOf(mine))) {
    const std::vector<Spot> spots = valuesOf<Spot>(each);
    distinct.insert(spots.begin(), spots.end());
    all += spots.size();
  }
  return countPoints(data) - static_cast<vtkIdType>(all - distinct.size());
}

Ptr<vtkPolyData> outerSurface(vtkDataSet& data)
{
  if (Communicator::instance().isAlone() || vtkPolyData::SafeDownCast(&data))
    return surfaceOf(data);
  const std::vector<Box> boxes = boxesOfOthers(data);
  const Ptr<vtkPolyData> surface = data.GetNumberOfCells() > 0 ? surfaceOf(data) : make<vtkPolyData>();
  surface->BuildCells();
  std::vector<std::uint64_t> mine;
  std::unordered_map<std::uint64_t, vtkIdType> faces;
  for (vtkIdType i = 0; i < surface->GetNumberOfCells(); ++i) {
    if (const std::uint64_t hash = faceHash(*surface, i, boxes)) {
      mine.push_back(hash);
      faces.emplace(hash, i);
    }
  }
  std::unordered_set<vtkIdType> inside;
  const std::vector<std::string> all = exchanged("seam faces", bytesOf(mine));
  for (std::size_t process = 0; process < all.size(); ++process) {
    if (process == static_cast<std::size_t>(Communicator::instance().rank()))
      continue;
    for (const std::uint64_t hash : valuesOf<std::uint64_t>(all[process]))
      if (const auto known = faces.find(hash); known != faces.end())
        inside.insert(known->second);
  }
  Ptr<vtkPolyData> outer =
      inside.empty() ? surface : facesWhere(*surface, [&](vtkIdType face) { return !inside.contains(face); });
  if (!outer->GetPoints())
    outer->SetPoints(make<vtkPoints>());
  takeFields(*outer, data);
  return outer;
}

namespace {

// Of others, where this process has them, too.
std::unordered_set<Spot, SpotHash> sharedSpots(const std::vector<Spot>& mine)
{
  const std::unordered_set<Spot, SpotHash> own(mine.begin(), mine.end());
  const std::vector<std::string> all = exchanged("seam points", bytesOf(mine));
  std::unordered_set<Spot, SpotHash> shared;
  for (std::size_t process = 0; process < all.size(); ++process) {
    if (process == static_cast<std::size_t>(Communicator::instance().rank()))
      continue;
    for (const Spot& spot : valuesOf<Spot>(all[process]))
      if (own.contains(spot))
        shared.insert(spot);
  }
  return shared;
}

// The cells that touch a seam, without what stands on cells.
std::string seamCells(vtkDataSet& data)
{
  const std::vector<vtkIdType> points = candidates(data, boxesOfOthers(data));
  const std::unordered_set<Spot, SpotHash> shared = sharedSpots(spotsOf(data, points));
  std::set<vtkIdType> touching;
  const auto cells = make<vtkIdList>();
  for (const vtkIdType point : points) {
    if (!shared.contains(spotOf(data, point)))
      continue;
    data.GetPointCells(point, cells);
    touching.insert(cells->begin(), cells->end());
  }
  const auto wanted = make<vtkIdList>();
  for (const vtkIdType cell : touching)
    wanted->InsertNextId(cell);
  if (wanted->GetNumberOfIds() == 0)
    return {};
  const Ptr<vtkDataSet> fields = copyOf(data);
  fields->GetCellData()->Initialize();
  const auto extract = make<vtkExtractCells>();
  extract->SetInputData(fields);
  extract->SetCellList(wanted);
  run(*extract, "readResults");
  extract->GetOutput()->GetCellData()->Initialize();
  return marshalled(*extract->GetOutput());
}

}  // namespace

Ptr<vtkDataSet> withNeighbours(vtkDataSet& data)
{
  if (Communicator::instance().isAlone())
    return &data;
  const std::vector<std::string> all = exchanged("seam cells", seamCells(data));
  const auto append = make<vtkAppendFilter>();
  const Ptr<vtkDataSet> own = copyOf(data);
  own->GetCellData()->Initialize();
  if (own->GetNumberOfCells() == 0)
    return own;
  append->AddInputData(own);
  for (std::size_t process = 0; process < all.size(); ++process) {
    if (all[process].empty() || process == static_cast<std::size_t>(Communicator::instance().rank()))
      continue;
    const auto cells = make<vtkUnstructuredGrid>();
    unmarshal(all[process], *cells);
    append->AddInputData(cells);
  }
  run(*append, "readResults");
  return append->GetOutput();
}

CellsOfOthers cellsOfOthers(vtkDataSet& data, const std::vector<Vec>& centres, vtkDataArray& onCells)
{
  CellsOfOthers others;
  if (Communicator::instance().isAlone())
    return others;
  const std::vector<vtkIdType> points = candidates(data, boxesOfOthers(data));
  const auto width = static_cast<std::size_t>(onCells.GetNumberOfComponents());
  std::unordered_map<Spot, vtkIdType, SpotHash> mine;
  std::vector<double> told;  // where the point is, where the cell's centre is, the values
  const auto cells = make<vtkIdList>();
  for (const vtkIdType point : points) {
    const Spot spot = spotOf(data, point);
    mine.emplace(spot, point);
    data.GetPointCells(point, cells);
    for (const vtkIdType cell : *cells) {
      const Vec& centre = centres[static_cast<std::size_t>(cell)];
      told.insert(told.end(), spot.at.begin(), spot.at.end());
      told.insert(told.end(), centre.begin(), centre.end());
      for (int k = 0; k < onCells.GetNumberOfComponents(); ++k)
        told.push_back(onCells.GetComponent(cell, k));
    }
  }
  const std::vector<std::string> all = exchanged("seam values", bytesOf(told));
  for (std::size_t process = 0; process < all.size(); ++process) {
    if (process == static_cast<std::size_t>(Communicator::instance().rank()))
      continue;
    const std::vector<double> theirs = valuesOf<double>(all[process]);
    for (std::size_t at = 0; at + 6 + width <= theirs.size(); at += 6 + width) {
      const double* const from = theirs.data() + at;
      if (const auto known = mine.find(Spot{{from[0], from[1], from[2]}}); known != mine.end())
        others[known->second].push_back({{from[3], from[4], from[5]}, {from + 6, from + 6 + width}});
    }
  }
  return others;
}

namespace {

int widthOf(const std::vector<vtkDataArray*>& arrays)
{
  int width = 0;
  for (vtkDataArray* array : arrays)
    width += array->GetNumberOfComponents();
  return width;
}

// Of each point: where it is, how many cells are round it, and the values there.
std::vector<double> toldOf(vtkDataSet& data, const std::vector<vtkIdType>& points,
                           const std::vector<vtkDataArray*>& arrays)
{
  std::vector<double> told;
  const auto cells = make<vtkIdList>();
  for (const vtkIdType point : points) {
    const Spot spot = spotOf(data, point);
    told.insert(told.end(), spot.at.begin(), spot.at.end());
    data.GetPointCells(point, cells);
    told.push_back(static_cast<double>(cells->GetNumberOfIds()));
    for (vtkDataArray* array : arrays)
      for (int k = 0; k < array->GetNumberOfComponents(); ++k)
        told.push_back(array->GetComponent(point, k));
  }
  return told;
}

// What all tell of a point, each by as many cells as it has there.
struct Mean {
  double weight = 0;
  int shares = 0;
  std::vector<double> sums;
};

}  // namespace

// All add up in one order: the mean is the same everywhere.
void mendSeams(vtkDataSet& data, const std::vector<vtkDataArray*>& onPoints)
{
  if (Communicator::instance().isAlone())
    return;
  const std::vector<vtkIdType> points = candidates(data, boxesOfOthers(data));
  const auto width = static_cast<std::size_t>(widthOf(onPoints));
  std::unordered_map<Spot, Mean, SpotHash> means;
  for (const vtkIdType point : points)
    means[spotOf(data, point)].sums.resize(width);
  for (const std::string& each : exchanged("seams", bytesOf(toldOf(data, points, onPoints)))) {
    const std::vector<double> told = valuesOf<double>(each);
    for (std::size_t at = 0; at + 4 + width <= told.size(); at += 4 + width) {
      const auto known = means.find(Spot{{told[at], told[at + 1], told[at + 2]}});
      if (known == means.end())
        continue;
      Mean& mean = known->second;
      mean.weight += told[at + 3];
      ++mean.shares;
      for (std::size_t k = 0; k < width; ++k)
        mean.sums[k] += told[at + 3] * told[at + 4 + k];
    }
  }
  for (const vtkIdType point : points) {
    const Mean& mean = means[spotOf(data, point)];
    std::size_t place = 0;
    for (vtkDataArray* array : onPoints)
      for (int k = 0; k < array->GetNumberOfComponents(); ++k, ++place)
        if (mean.shares > 1 && mean.weight > 0)
          array->SetComponent(point, k, mean.sums[place] / mean.weight);
  }
}

}  // namespace results
