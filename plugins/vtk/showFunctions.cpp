// What is shown on places: colours of a variable, arrows, streamlines, the mesh and its edges.
#include "platform/ORVError.h"
#include "Colouring.h"
#include "Data.h"
#include "functions.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkContourFilter.h>
#include <vtkDoubleArray.h>
#include <vtkFeatureEdges.h>
#include <vtkOutlineFilter.h>
#include <vtkPointData.h>
#include <vtkPolygon.h>

namespace results {

using orv::KSLObject;

namespace {

void tellRange(KSLObject& object)
{
  const Show* const show = presentShow(object);
  const double* const range = show && show->legend.colours ? show->legend.colours->GetTableRange() : nullptr;
  for (const int i : {0, 1}) {
    const char* const name = i == 0 ? "Minimum" : "Maximum";
    if (range)
      setResult(object, name, range[i], show->legend.units);
    else
      setResult(object, name, "");
  }
}

// The places where one band ends and the next begins, as lines.
Ptr<vtkPolyData> levelLines(vtkPolyData& body, vtkLookupTable& table)
{
  const auto contour = make<vtkContourFilter>();
  contour->SetInputData(&body);
  contour->SetInputArrayToProcess(0, 0, 0, vtkDataObject::FIELD_ASSOCIATION_POINTS, colourArray);
  const double* const range = table.GetTableRange();
  for (int i = 1; i < table.GetNumberOfTableValues(); ++i)
    contour->SetValue(
        i - 1, range[0] + (range[1] - range[0]) * i / static_cast<double>(table.GetNumberOfTableValues()));
  run(*contour, "paintBands");
  return contour->GetOutput();
}

}  // namespace

void paintBands(KSLObject& object)
{
  if (!isGiven(object, "Variable"))
    return tellRange(object);
  Colouring colouring = colouringOf(object, "Variable");
  colouring.count = count(object, "Band Count", 1000);
  colouring.isStepped = true;
  keepShow(
      object,
      [colouring, hasOutline = isOn(object, "Outline"),
       width = number(object, "Outline Width", "")](const Place& place) {
        const auto show = coloured(colouring, place, surfaceOf(*place.data), length(place.normal) == 0);
        if (hasOutline) {
          show->lines = levelLines(*show->body, *show->legend.colours);
          show->lineWidth = width;
        }
        return show;
      },
      fieldsOf(object, "Variable"));
  tellRange(object);
}

void paintColours(KSLObject& object)
{
  if (!isGiven(object, "Variable"))
    return tellRange(object);
  keepShow(
      object,
      [colouring = colouringOf(object, "Variable")](const Place& place) {
        return coloured(colouring, place, surfaceOf(*place.data), length(place.normal) == 0);
      },
      fieldsOf(object, "Variable"));
  tellRange(object);
}

namespace {

// One side of a face: where it is, and of which cell.
struct Side {
  vtkIdType face;
  int cell;
  bool isAlone = true;
};

// Whether two faces that meet are pieces of one face of a cell.
bool isOneFace(vtkPolyData& surface, vtkIdType a, vtkIdType b)
{
  std::array<Vec, 2> normals{};
  for (std::size_t i = 0; i < 2; ++i) {
    const vtkIdType* points = nullptr;
    vtkIdType count = 0;
    surface.GetCellPoints(i == 0 ? a : b, count, points);
    vtkPolygon::ComputeNormal(surface.GetPoints(), static_cast<int>(count), points, normals.at(i).data());
  }
  return std::abs(dot(normals[0], normals[1])) > 0.9;
}

// The edges of a surface, without those that only part a cell's face into triangles.
Ptr<vtkPolyData> cellEdges(vtkPolyData& surface)
{
  vtkDataArray* const numbers =
      surface.GetCellData()->GetArray(cellNumbers);  // filters may have made it one of doubles
  std::map<std::pair<vtkIdType, vtkIdType>, Side> edges;
  surface.BuildCells();
  for (vtkIdType face = 0; face < surface.GetNumberOfCells(); ++face) {
    const vtkIdType* points = nullptr;
    vtkIdType count = 0;
    surface.GetCellPoints(face, count, points);
    const int cell = static_cast<int>(numbers ? numbers->GetComponent(face, 0) : static_cast<double>(face));
    for (vtkIdType i = 0; i < count; ++i) {
      const auto [known, isNew] =
          edges.try_emplace(std::minmax(points[i], points[(i + 1) % count]), face, cell);
      Side& other = known->second;
      other.isAlone = isNew || other.cell != cell || !isOneFace(surface, other.face, face);
    }
  }
  const auto lines = make<vtkCellArray>();
  for (const auto& [ends, side] : edges) {
    if (side.isAlone)
      lines->InsertNextCell({ends.first, ends.second});
  }
  const auto result = make<vtkPolyData>();
  result->SetPoints(surface.GetPoints());
  result->SetLines(lines);
  return result;
}

}  // namespace

void drawMesh(KSLObject& object)
{
  keepShow(object, [width = number(object, "Line Width", "")](const Place& place) {
    auto show = std::make_shared<Show>();
    show->body = cellEdges(*surfaceOf(*place.data));
    show->isLit = false;
    show->lineWidth = width;
    return show;
  });
}

void drawOutline(KSLObject& object)
{
  keepShow(object,
           [isBox = text(object, "Option") == "Box", angle = number(object, "Feature Angle", "degree"),
            width = number(object, "Line Width", "")](const Place& place) {
             auto show = std::make_shared<Show>();
             show->isLit = false;
             show->lineWidth = width;
             if (isBox) {
               const auto outline = make<vtkOutlineFilter>();
               outline->SetInputData(place.data);
               run(*outline, "drawOutline");
               show->body = outline->GetOutput();
             } else {
               const auto edges = make<vtkFeatureEdges>();
               edges->SetInputData(surfaceOf(*place.data));
               edges->SetFeatureAngle(angle);
               edges->SetFeatureEdges(length(place.normal) == 0);  // the triangles of a plane face either way
               edges->NonManifoldEdgesOff();
               edges->ColoringOff();
               run(*edges, "drawOutline");
               show->body = edges->GetOutput();
             }
             return show;
           });
}

}  // namespace results
