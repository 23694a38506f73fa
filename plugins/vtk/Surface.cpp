#include "Surface.h"

#include "platform/ORVProgress.h"
#include "Communicator.h"
#include "Pieces.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vtkCellData.h>
#include <vtkGenericCell.h>
#include <vtkIdList.h>
#include <vtkIdTypeArray.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkProbeFilter.h>

namespace results {

namespace {

Vec at(vtkDataSet& data, vtkIdType id)
{
  Vec point;
  data.GetPoint(id, point.data());
  return point;
}

void visitTriangle(vtkDataSet& data, vtkIdType cell, const vtkIdType (&ids)[3], const Vec& normal,
                   const std::function<void(const Piece&)>& visit)
{
  const Vec origin = at(data, ids[0]);
  const Vec doubled = cross(at(data, ids[1]) - origin, at(data, ids[2]) - origin);
  const double size = length(doubled);
  const bool isDirected = length(normal) > 0;
  visit({cell, ids, size / 2, isDirected ? normal : size > 0 ? (1 / size) * doubled : Vec{}});
}

void visitSurface(vtkPolyData& surface, const Vec& normal, const std::function<void(const Piece&)>& visit)
{
  surface.BuildCells();
  const auto split = make<vtkIdList>();
  const auto cell = make<vtkGenericCell>();
  const auto unused = make<vtkPoints>();
  const orv::Progress::Steps step;
  for (vtkIdType i = 0; i < surface.GetNumberOfCells(); ++i) {
    step();
    vtkIdType count = 0;
    const vtkIdType* ids = nullptr;
    surface.GetCellPoints(i, count, ids);
    const int type = surface.GetCellType(i);
    if (type == VTK_TRIANGLE || type == VTK_QUAD) {
      for (vtkIdType k = 1; k + 1 < count; ++k)
        visitTriangle(surface, i, {ids[0], ids[k], ids[k + 1]}, normal, visit);
    } else if (type == VTK_POLYGON || type == VTK_TRIANGLE_STRIP) {
      surface.GetCell(i, cell);
      cell->Triangulate(0, split, unused);
      for (vtkIdType k = 0; k + 2 < split->GetNumberOfIds(); k += 3)
        visitTriangle(surface, i, {split->GetId(k), split->GetId(k + 1), split->GetId(k + 2)}, normal, visit);
    }
  }
}

void visitVolume(vtkDataSet& volume, const std::function<void(const Piece&)>& visit)
{
  const auto split = make<vtkIdList>();
  const auto cell = make<vtkGenericCell>();
  const auto unused = make<vtkPoints>();
  const orv::Progress::Steps step;
  for (vtkIdType i = 0; i < volume.GetNumberOfCells(); ++i) {
    step();
    volume.GetCell(i, cell);
    if (cell->GetCellDimension() != 3)
      continue;
    cell->Triangulate(0, split, unused);  // the same wherever the cell stands in a list
    for (vtkIdType k = 0; k + 3 < split->GetNumberOfIds(); k += 4) {
      const vtkIdType ids[4] = {split->GetId(k), split->GetId(k + 1), split->GetId(k + 2),
                                split->GetId(k + 3)};
      const Vec origin = at(volume, ids[0]);
      const double size = std::abs(dot(cross(at(volume, ids[1]) - origin, at(volume, ids[2]) - origin),
                                       at(volume, ids[3]) - origin))
                          / 6;
      visit({i, ids, size, {}});
    }
  }
}

}  // namespace

void forEachPiece(const Place& place, const std::function<void(const Piece&)>& visit)
{
  if (auto* const surface = vtkPolyData::SafeDownCast(place.data))
    visitSurface(*surface, place.normal, visit);
  else
    visitVolume(*place.data, visit);
}

double areaOf(vtkPolyData& surface)
{
  double area = 0;
  visitSurface(surface, {}, [&area](const Piece& piece) { area += piece.size; });
  return total(area);
}

double volumeOf(vtkDataSet& volume)
{
  double sum = 0;
  visitVolume(volume, [&sum](const Piece& piece) { sum += piece.size; });
  return total(sum);
}

namespace {

std::vector<vtkIdType> valuesIn(vtkIdTypeArray& array)
{
  return {array.GetPointer(0), array.GetPointer(0) + array.GetNumberOfTuples()};
}

// Of a point at a seam, which several pieces have, the first of these keeps it.
std::vector<vtkIdType> foundFirst(std::vector<vtkIdType> mine)
{
  if (Communicator::instance().isAlone())
    return mine;
  const std::vector<std::string> all = exchanged("sampled", bytesOf(mine));
  for (int process = 0; process < Communicator::instance().rank(); ++process) {
    const std::vector<vtkIdType> theirs = valuesOf<vtkIdType>(all[static_cast<std::size_t>(process)]);
    std::erase_if(mine, [&](vtkIdType id) { return std::binary_search(theirs.begin(), theirs.end(), id); });
  }
  return mine;
}

// In the order of the list that they stand in, whichever process has found them.
Ptr<vtkPolyData> atFirst(const Ptr<vtkPolyData>& mine, const std::vector<vtkIdType>& places, const Mesh& mesh)
{
  if (Communicator::instance().isAlone())
    return mine;
  constexpr const char* name = "place in list";
  const auto numbers = make<vtkIdTypeArray>();
  numbers->SetName(name);
  for (const vtkIdType place : places)
    numbers->InsertNextValue(place);
  mine->GetPointData()->AddArray(numbers);
  const Ptr<vtkPolyData> all = gathered(mine, false);
  std::vector<vtkIdType> order(static_cast<std::size_t>(all->GetNumberOfPoints()));
  std::iota(order.begin(), order.end(), 0);
  vtkDataArray* const found = all->GetPointData()->GetArray(name);
  std::sort(order.begin(), order.end(),
            [found](vtkIdType a, vtkIdType b) { return found->GetTuple1(a) < found->GetTuple1(b); });
  const Ptr<vtkPolyData> sorted = verticesAt(*all, order);
  takeFields(*sorted, *mesh.cells);
  sorted->GetPointData()->RemoveArray(name);
  sorted->GetCellData()->Initialize();
  return sorted;
}

}  // namespace

Ptr<vtkPolyData> sampled(const Mesh& mesh, const std::vector<Vec>& points)
{
  const auto probe = make<vtkProbeFilter>();
  probe->SetInputData(pointsAt(points));
  probe->SetSourceData(mesh.cells);
  if (mesh.cells->GetNumberOfCells() > 0)
    run(*probe, "sample");
  const std::vector<vtkIdType> valid = foundFirst(valuesIn(*probe->GetValidPoints()));
  const Ptr<vtkPolyData> found = verticesAt(*probe->GetOutput(), valid);
  found->GetPointData()->RemoveArray("vtkValidPointMask");
  return atFirst(found, valid, mesh);
}

}  // namespace results
