// Arrows and streamlines: how vectors are shown.
#include "platform/ORVError.h"
#include "Colouring.h"
#include "Communicator.h"
#include "Memory.h"
#include "Streams.h"
#include "functions.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <vtkArrowSource.h>
#include <vtkCellData.h>
#include <vtkDoubleArray.h>
#include <vtkGlyph3D.h>
#include <vtkPointData.h>
#include <vtkPoints.h>

namespace results {

using orv::KSLObject;

namespace {

Variable vectorIn(const std::string& path, const std::string& name, vtkDataSet& data, const Units& units)
{
  Variable variable = findVariable(path, name, data, units);
  if (variable.components() != 3 || !variable.onPoints)
    fail("findVariable", orv::_("Variable '%s' of %s is no vector.", name, path));
  return variable;
}

// Of each cube of that size which has points, the one next to its middle.
std::vector<vtkIdType> spread(vtkDataSet& data, double spacing)
{
  struct Chosen {
    vtkIdType point;
    double distance;
  };
  std::map<std::array<long long, 3>, Chosen> cubes;
  for (vtkIdType i = 0; i < data.GetNumberOfPoints(); ++i) {
    Vec at;
    data.GetPoint(i, at.data());
    std::array<long long, 3> cube{};
    Vec off{};
    for (std::size_t k = 0; k < 3; ++k) {
      cube.at(k) = std::llround(at.at(k) / spacing);
      off.at(k) = at.at(k) - spacing * static_cast<double>(cube.at(k));
    }
    const double distance = length(off);
    Chosen& chosen = cubes.try_emplace(cube, Chosen{i, distance}).first->second;
    if (distance < chosen.distance)
      chosen = {i, distance};
  }
  std::vector<vtkIdType> points;
  for (const auto& [cube, chosen] : cubes)
    points.push_back(chosen.point);
  return points;
}

struct Arrows {
  std::string path;
  std::string variable;
  double spacing;
  double factor;
};

double longest(const Variable& variable, const std::vector<vtkIdType>& at)
{
  double most = 0;
  for (const vtkIdType i : at)
    most = std::max(most, length(variable.vector(*variable.onPoints, i)));
  return most;
}

Ptr<vtkPolyData> arrowsOn(const Arrows& arrows, const Place& place, double& scale)
{
  const Variable variable = vectorIn(arrows.path, arrows.variable, *place.data, place.units);
  const double reach = arrows.spacing > 0 ? arrows.spacing : std::max(1e-12, place.data->GetLength() / 40);
  const std::vector<vtkIdType> at = spread(*place.data, reach);
  const double most = longest(variable, at);
  scale = most > 0 ? arrows.factor * reach / most : 0;
  const auto points = make<vtkPoints>();
  const auto vectors = make<vtkDoubleArray>();
  const auto input = make<vtkPolyData>();
  vectors->SetName("arrow");
  vectors->SetNumberOfComponents(3);
  input->GetPointData()->CopyAllocate(place.data->GetPointData());
  for (const vtkIdType i : at) {
    const vtkIdType to = points->InsertNextPoint(place.data->GetPoint(i));
    const Vec vector = variable.vector(*variable.onPoints, i);
    vectors->InsertNextTuple(vector.data());
    input->GetPointData()->CopyData(place.data->GetPointData(), i, to);
  }
  input->SetPoints(points);
  input->GetPointData()->AddArray(vectors);
  const auto shape = make<vtkArrowSource>();
  shape->SetTipResolution(12);
  shape->SetTipLength(0.3);
  shape->SetTipRadius(0.085);
  shape->SetShaftRadius(0.022);
  shape->SetShaftResolution(8);
  const auto glyph = make<vtkGlyph3D>();
  glyph->SetInputData(input);
  glyph->SetSourceConnection(shape->GetOutputPort());
  glyph->SetInputArrayToProcess(1, 0, 0, vtkDataObject::FIELD_ASSOCIATION_POINTS, "arrow");
  glyph->SetVectorModeToUseVector();
  glyph->SetScaleModeToScaleByVector();
  glyph->SetScaleFactor(scale);
  if (points->GetNumberOfPoints() > 0)
    run(*glyph, "placeArrows");
  takeFields(*glyph->GetOutput(), *place.data);
  return glyph->GetOutput();
}

// Of each piece the points that arrows may stand on, at the first process.
Place gatheredSpread(const Place& place, double spacing)
{
  if (Communicator::instance().isAlone())
    return place;
  const Ptr<vtkPolyData> points = verticesAt(*place.data, spread(*place.data, spacing));
  takeFields(*points, *place.data);
  Place all = place;
  all.data = gathered(points);
  all.data->GetCellData()->Initialize();
  return all;
}

}  // namespace

void placeArrows(KSLObject& object)
{
  if (!isGiven(object, "Variable"))
    return setResult(object, "Arrow Scale", "");
  const Arrows arrows{object.getPath(), variableOf(object, "Variable"), number(object, "Spacing", "m"),
                      number(object, "Length Factor", "")};
  const auto scale = std::make_shared<double>(0);
  const bool isColoured = text(object, "Colour Mode") != "Constant";
  std::vector<std::shared_ptr<const Field>> fields = fieldsOf(object, "Variable");
  Colouring colouring;
  if (isColoured) {
    colouring =
        colouringOf(object, text(object, "Colour Mode") == "Variable" ? "Colour Variable" : "Variable");
    for (const auto& field : fieldsOf(object, "Colour Variable"))
      fields.push_back(field);
  }
  keepShow(
      object,
      [arrows, scale, isColoured, colouring](const Place& place) {
        const Ptr<vtkPolyData> body = arrowsOn(arrows, place, *scale);
        if (isColoured)
          return coloured(colouring, place, body, true);
        auto show = std::make_shared<Show>();
        show->body = body;
        return show;
      },
      fields, [spacing = arrows.spacing](const Place& place) { return gatheredSpread(place, spacing); });
  setResult(object, "Arrow Scale", valuesOf<double>(ofFirst(bytesOf(std::vector<double>{*scale}))).at(0));
}

namespace {

std::shared_ptr<const Place> linesIn(const Streams& streams, const std::shared_ptr<const Mesh>& mesh,
                                     const std::shared_ptr<const Place>& seeds, const std::string& path)
{
  const orv::ResultKey key = streams.keyFor(*mesh, seeds.get());
  return remembered<Place>(key, "followStreams", path, [&](Making& making) {
    auto place = std::make_shared<Place>();
    place->data = streams.follow(*mesh, seeds.get());
    return completed(place, mesh, key, making);
  });
}

}  // namespace

void followStreams(KSLObject& object)
{
  const auto* mesh = keptBy<Mesh>(namedOne(object, "Reader"), "Data");
  const auto* location = keptBy<Place>(namedOne(object, "Location"), "Geometry");
  if (!mesh || !mesh->now || !isGiven(object, "Variable"))
    return setResult(object, "Point Count", "");
  const Streams streams(object);
  const bool isColoured = text(object, "Colour Mode") != "Constant";
  const Colouring colouring =
      isColoured
          ? colouringOf(object, text(object, "Colour Mode") == "Variable" ? "Colour Variable" : "Variable")
          : Colouring();
  std::vector<std::shared_ptr<const Field>> fields = fieldsOf(object, "Variable");
  for (const auto& field : fieldsOf(object, "Colour Variable"))
    fields.push_back(field);
  std::function<std::shared_ptr<const Place>(const Request&)> seeds;
  if (location && location->now)
    seeds = sourceOf(*location);
  keep<Show>(object, "Colour",
             [source = sourceOf(*mesh), seeds, streams, fields, isColoured, colouring,
              path = object.getPath(), width = number(object, "Line Width", "")](const Request& request) {
               Request all = request;
               all.fields.insert(all.fields.end(), fields.begin(), fields.end());
               const std::shared_ptr<const Place> place =
                   linesIn(streams, source(all), seeds ? seeds(request) : nullptr, path);
               auto show = std::make_shared<Show>();
               const Ptr<vtkPolyData> lines = vtkPolyData::SafeDownCast(place->data);
               if (isColoured)
                 show = coloured(colouring, *place, lines, false);
               else
                 show->body = lines;
               show->basis = place;
               show->isLit = false;
               show->lineWidth = width;
               return show;
             });
  const auto* kept = keptBy<Show>(&object, "Colour");
  setResult(object, "Point Count", static_cast<double>(countPoints(*kept->now->body)));
}

}  // namespace results
