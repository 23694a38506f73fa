// What is shown on places: colours of a variable, arrows, streamlines, the mesh and its edges.
#include "platform/ORVError.h"
#include "Colouring.h"
#include "Data.h"
#include "functions.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <vtkCellData.h>
#include <vtkContourFilter.h>
#include <vtkDoubleArray.h>
#include <vtkExtractEdges.h>
#include <vtkFeatureEdges.h>
#include <vtkOutlineFilter.h>
#include <vtkPointData.h>

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
  keepShow(
      object,
      [colouring = colouringOf(object, "Variable")](const Place& place) {
        return coloured(colouring, place, surfaceOf(*place.data), length(place.normal) == 0);
      },
      fieldsOf(object, "Variable"));
  tellRange(object);
}

void drawMesh(KSLObject& object)
{
  keepShow(object, [width = number(object, "Line Width", "")](const Place& place) {
    const auto edges = make<vtkExtractEdges>();
    edges->SetInputData(surfaceOf(*place.data));
    run(*edges, "drawMesh");
    auto show = std::make_shared<Show>();
    show->body = edges->GetOutput();
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
