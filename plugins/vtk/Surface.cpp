#include "Surface.h"

#include "running.h"

#include <cmath>
#include <vtkCellArray.h>
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
  for (vtkIdType i = 0; i < surface.GetNumberOfCells(); ++i) {
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
  for (vtkIdType i = 0; i < volume.GetNumberOfCells(); ++i) {
    volume.GetCell(i, cell);
    if (cell->GetCellDimension() != 3)
      continue;
    cell->Triangulate(static_cast<int>(i % 2), split, unused);
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
  return area;
}

double volumeOf(vtkDataSet& volume)
{
  double sum = 0;
  visitVolume(volume, [&sum](const Piece& piece) { sum += piece.size; });
  return sum;
}

Ptr<vtkPolyData> sampled(const Mesh& mesh, const std::vector<Vec>& points)
{
  const auto where = make<vtkPoints>();
  where->SetDataTypeToDouble();
  for (const Vec& point : points)
    where->InsertNextPoint(point.data());
  const auto input = make<vtkPolyData>();
  input->SetPoints(where);
  const auto probe = make<vtkProbeFilter>();
  probe->SetInputData(input);
  probe->SetSourceData(mesh.cells);
  run(*probe, "sample");
  vtkDataSet* const found = probe->GetOutput();
  vtkIdTypeArray* const valid = probe->GetValidPoints();
  const auto result = make<vtkPolyData>();
  const auto kept = make<vtkPoints>();
  kept->SetDataTypeToDouble();
  const auto vertices = make<vtkCellArray>();
  result->GetPointData()->CopyAllocate(found->GetPointData());
  for (vtkIdType i = 0; i < valid->GetNumberOfTuples(); ++i) {
    const vtkIdType from = valid->GetValue(i);
    const vtkIdType to = kept->InsertNextPoint(found->GetPoint(from));
    result->GetPointData()->CopyData(found->GetPointData(), from, to);
    vertices->InsertNextCell(1, &to);
  }
  result->SetPoints(kept);
  result->SetVerts(vertices);
  result->GetPointData()->RemoveArray("vtkValidPointMask");
  return result;
}

}  // namespace results
