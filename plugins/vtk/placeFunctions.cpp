// Places in the results: cuts, patches of the boundary, level surfaces, parts of the volume, points.
#include "platform/ORVError.h"
#include "Data.h"
#include "Memory.h"
#include "Pieces.h"
#include "Seams.h"
#include "Surface.h"
#include "functions.h"
#include "running.h"

#include <algorithm>
#include <limits>
#include <set>
#include <vtkAppendPolyData.h>
#include <vtkBox.h>
#include <vtkClipDataSet.h>
#include <vtkContourFilter.h>
#include <vtkCutter.h>
#include <vtkDoubleArray.h>
#include <vtkExtractGeometry.h>
#include <vtkPlane.h>
#include <vtkPlanes.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkSphere.h>
#include <vtkStaticCleanPolyData.h>
#include <vtkTableBasedClipDataSet.h>
#include <vtkThreshold.h>
#include <vtkUnstructuredGrid.h>

namespace results {

using orv::KSLObject;

namespace {

using PlaceMaker = std::function<std::shared_ptr<Place>(const std::shared_ptr<const Mesh>&)>;

// The results that the object lies in; without any, or without the variable that it asks for, null, and nothing is told of it.
const Kept<Mesh>* resultsFor(KSLObject& object, bool needsVariable = false)
{
  const auto* kept = keptBy<Mesh>(namedOne(object, "Reader"), "Data");
  if (kept && kept->now && !(needsVariable && !isGiven(object, "Variable")))
    return kept;
  for (const char* name : {"Triangle Count", "Cell Count", "Point Count", "Area", "Volume", "Level"})
    setResult(object, name, "");
  return nullptr;
}

// Keeps the place that `maker` finds in the results, by what the object's own parameters say. `fields` come with the place
// whatever is wanted of it.
void keepPlace(KSLObject& object, const Kept<Mesh>& results, const char* function, PlaceMaker maker,
               std::vector<std::shared_ptr<const Field>> fields = {})
{
  keep<Place>(
      object, "Geometry",
      [source = sourceOf(results), maker = std::move(maker), fields = std::move(fields), function,
       path = object.getPath(),
       own = dynamic_cast<orv::GenericKSLObject&>(object).ownResultKey("Geometry")](const Request& request) {
        Request all = request;
        all.fields.insert(all.fields.end(), fields.begin(), fields.end());
        const std::shared_ptr<const Mesh> mesh = source(all);
        const orv::ResultKey key = orv::ResultKey(own).add(mesh->key);
        return remembered<Place>(key, function, path, [&](Making& making) {
          std::shared_ptr<Place> place = maker(mesh);
          takeFields(*place->data, *mesh->cells);
          auto* const surface = vtkPolyData::SafeDownCast(place->data);
          place->size = surface ? areaOf(*surface) : volumeOf(*place->data);
          return completed(place, mesh, key, making);
        });
      });
}

const Place* present(const KSLObject& object)
{
  const auto* kept = keptBy<Place>(&object, "Geometry");
  return kept ? kept->now.get() : nullptr;
}

void tellSurface(KSLObject& object)
{
  const Place* const place = present(object);
  if (!place)
    return;
  setResult(object, "Triangle Count", static_cast<double>(countCells(*place->data)));
  setResult(object, "Area", place->size, "m^2");
}

[[noreturn]] void failEmpty(const std::string& path, const Mesh& mesh)
{
  fail("findPlace",
       orv::_("%s holds nothing of the results, which extend over %s.", path, extentText(*mesh.cells)));
}

// ---- Planes

struct Plane {
  Vec origin;
  Vec normal;
};

Plane planeOf(const KSLObject& cut)
{
  const std::string option = text(cut, "Option");
  Plane plane{};
  if (option == "Axis Plane") {
    const auto axis = static_cast<std::size_t>(text(cut, "Axis").at(0) - 'X');
    plane.normal.at(axis) = 1;
    plane.origin.at(axis) = number(cut, "Offset", "m");
  } else if (option == "Point and Normal") {
    plane = {point(cut, "Point"), unit(cut, "Normal")};
  } else {
    plane.origin = point(cut, "Point 1");
    plane.normal = cross(point(cut, "Point 2") - plane.origin, point(cut, "Point 3") - plane.origin);
    const double size = length(plane.normal);
    if (size == 0)
      fail("cutResults", orv::_("Cut '%s' has no plane: its points lie on a line.", cut.getPath()));
    plane.normal = (1 / size) * plane.normal;
  }
  return plane;
}

// What a cut keeps of its plane, round its origin.
Ptr<vtkImplicitFunction> clipShape(const KSLObject& cut, const Plane& plane)
{
  const std::string shape = text(cut, "Clip Shape");
  const double radius = shape == "None" || shape.empty() ? 0 : number(cut, "Clip Radius", "m");
  if (radius == 0)
    return nullptr;
  if (shape == "Circle") {
    const auto sphere = make<vtkSphere>();
    sphere->SetCenter(plane.origin.data());
    sphere->SetRadius(radius);
    return sphere;
  }
  const auto box = make<vtkBox>();
  Vec low = plane.origin;
  Vec high = plane.origin;
  for (std::size_t i = 0; i < 3; ++i) {
    low.at(i) -= radius;
    high.at(i) += radius;
  }
  box->SetXMin(low.data());
  box->SetXMax(high.data());
  return box;
}

Ptr<vtkPolyData> clippedSurface(const Ptr<vtkPolyData>& surface, vtkImplicitFunction* shape)
{
  if (!shape)
    return surface;
  const auto clip = make<vtkTableBasedClipDataSet>();
  clip->SetInputData(surface);
  clip->SetClipFunction(shape);
  clip->InsideOutOn();
  run(*clip, "cutResults");
  return surfaceOf(*clip->GetOutput());
}

}  // namespace

void cutResults(KSLObject& object)
{
  const auto* results = resultsFor(object);
  if (!results)
    return;
  const Plane plane = planeOf(object);
  const Ptr<vtkImplicitFunction> shape = clipShape(object, plane);
  keepPlace(object, *results, "cutResults",
            [plane, shape, path = object.getPath()](const std::shared_ptr<const Mesh>& mesh) {
              const auto function = make<vtkPlane>();
              function->SetOrigin(plane.origin.data());
              function->SetNormal(plane.normal.data());
              const auto cutter = make<vtkCutter>();
              cutter->SetInputData(mesh->cells);
              cutter->SetCutFunction(function);
              cutter->SetOutputPointsPrecision(vtkAlgorithm::DOUBLE_PRECISION);
              run(*cutter, "cutResults");
              const auto clean =
                  make<vtkStaticCleanPolyData>();  // each triangle may have come with points of its own
              clean->SetInputData(cutter->GetOutput());
              run(*clean, "cutResults");
              auto place = std::make_shared<Place>();
              place->normal = plane.normal;
              place->data = clippedSurface(clean->GetOutput(), shape);
              if (countCells(*place->data) == 0)
                failEmpty(path, *mesh);
              return place;
            });
  tellSurface(object);
}

// ---- The boundary

namespace {

// The faces of a region; null for one that is not there.
Ptr<vtkPolyData> facesOf(const Mesh& mesh, const std::string& name)
{
  for (const Region& region : mesh.regions) {
    if (region.name == name)
      return region.faces;
  }
  return name == "Boundary" ? outerSurface(*mesh.cells) : nullptr;
}

std::string regionNames(const Mesh& mesh)
{
  std::string names = "Boundary";
  for (const Region& region : mesh.regions)
    names += ", " + region.name;
  return names;
}

}  // namespace

void findPatch(KSLObject& object)
{
  const auto* results = resultsFor(object);
  if (!results)
    return;
  keepPlace(
      object, *results, "findPatch",
      [wanted = items(object, "Regions"), path = object.getPath()](const std::shared_ptr<const Mesh>& mesh) {
        const auto append = make<vtkAppendPolyData>();
        for (const std::string& name : wanted) {
          const Ptr<vtkPolyData> faces = facesOf(*mesh, name);
          if (!faces)
            fail("findPatch", orv::_("Region '%s' is not in the results of %s: there are %s.", name, path,
                                     regionNames(*mesh)));
          append->AddInputData(faces);
        }
        auto place = std::make_shared<Place>();
        if (!wanted.empty())
          run(*append, "findPatch");
        place->data = append->GetOutput() ? append->GetOutput() : make<vtkPolyData>().Get();
        return place;
      });
  tellSurface(object);
}

// ---- Levels

namespace {

// A number at each point, under a name of its own.
const char* addNumbers(vtkDataSet& data, const Variable& variable)
{
  if (!variable.onPoints)
    fail("findVariable", orv::_("Variable '%s' has no values on points.", variable.name));
  const auto numbers = make<vtkDoubleArray>();
  numbers->SetName("results numbers");
  numbers->SetNumberOfTuples(data.GetNumberOfPoints());
  for (vtkIdType i = 0; i < data.GetNumberOfPoints(); ++i)
    numbers->SetValue(i, variable.value(*variable.onPoints, i));
  data.GetPointData()->AddArray(numbers);
  return "results numbers";
}

std::array<double, 2> rangeOf(vtkDataSet& data, const char* array)
{
  constexpr double most = std::numeric_limits<double>::max();
  std::array<double, 2> range{most, -most};
  if (data.GetNumberOfPoints() > 0)
    data.GetPointData()->GetArray(array)->GetRange(range.data());
  for (const std::array<double, 2>& each : ofAll("range", std::array<double, 2>(range)))
    range = {std::min(range[0], each[0]), std::max(range[1], each[1])};
  return range;
}

}  // namespace

void findLevel(KSLObject& object)
{
  const auto* results = resultsFor(object, true);
  if (!results)
    return;
  const std::string name = variableOf(object, "Variable");
  const bool isFraction = text(object, "Option") == "Fraction";
  keepPlace(
      object, *results, "findLevel",
      [name, isFraction, path = object.getPath(),
       value = object.getQuantityValue(isFraction ? "Fraction" : "Value")](
          const std::shared_ptr<const Mesh>& mesh) {
        const Ptr<vtkDataSet> data = copyOf(*mesh->cells);
        const Variable variable = findVariable(path, name, *data, mesh->units);
        const char* const numbers = addNumbers(*data, variable);
        const auto [low, high] = rangeOf(*data, numbers);
        const double level =
            isFraction ? low + value.getValue() * (high - low) : inUnits(value, variable.units);
        const auto contour = make<vtkContourFilter>();
        contour->SetInputData(data);
        contour->SetInputArrayToProcess(0, 0, 0, vtkDataObject::FIELD_ASSOCIATION_POINTS, numbers);
        contour->SetValue(0, level);
        contour->SetOutputPointsPrecision(vtkAlgorithm::DOUBLE_PRECISION);
        contour->ComputeNormalsOff();
        contour->ComputeScalarsOff();
        run(*contour, "findLevel");
        auto place = std::make_shared<Place>();
        place->level = level;
        place->levelUnits = variable.units;
        place->data = contour->GetOutput();
        place->data->GetPointData()->RemoveArray(numbers);
        if (countCells(*place->data) == 0)
          fail("findLevel", orv::_("%s is empty: '%s' goes from %s to %s, which does not hold %s.", path,
                                   name, withUnits(low, variable.units), withUnits(high, variable.units),
                                   withUnits(level, variable.units)));
        return place;
      },
      fieldsOf(object, "Variable"));
  if (const Place* const place = present(object))
    setResult(object, "Level", place->level, place->levelUnits);
  tellSurface(object);
}

// ---- Parts of the volume

namespace {

void tellVolume(KSLObject& object)
{
  const Place* const place = present(object);
  if (!place)
    return;
  setResult(object, "Cell Count", static_cast<double>(countCells(*place->data)));
  setResult(object, "Volume", place->size, "m^3");
}

Ptr<vtkImplicitFunction> shapeOf(const KSLObject& clip)
{
  const std::string option = text(clip, "Option");
  if (option == "Sphere") {
    const auto sphere = make<vtkSphere>();
    sphere->SetCenter(point(clip, "Point").data());
    sphere->SetRadius(number(clip, "Radius", "m"));
    return sphere;
  }
  if (option == "Box") {
    const auto box = make<vtkBox>();
    const Vec a = point(clip, "Point 1");
    const Vec b = point(clip, "Point 2");
    box->SetBounds(std::min(a[0], b[0]), std::max(a[0], b[0]), std::min(a[1], b[1]), std::max(a[1], b[1]),
                   std::min(a[2], b[2]), std::max(a[2], b[2]));
    return box;
  }
  const Plane plane = planeOf(clip);
  const auto function = make<vtkPlane>();
  function->SetOrigin(plane.origin.data());
  function->SetNormal(plane.normal.data());
  return function;
}

}  // namespace

// Keeps what is behind the plane, or inside the box or sphere; the other side when it is reversed.
void clipResults(KSLObject& object)
{
  const auto* results = resultsFor(object);
  if (!results)
    return;
  const bool keepsOutside = isOn(object, "Reversed");
  keepPlace(object, *results, "clipResults",
            [keepsOutside, shape = shapeOf(object),
             path = object.getPath()](const std::shared_ptr<const Mesh>& mesh) {
              const auto clip = make<vtkTableBasedClipDataSet>();
              clip->SetInputData(mesh->cells);
              clip->SetClipFunction(shape);
              clip->SetOutputPointsPrecision(vtkAlgorithm::DOUBLE_PRECISION);
              clip->SetInsideOut(!keepsOutside);
              run(*clip, "clipResults");
              auto place = std::make_shared<Place>();
              place->data = clip->GetOutput();
              if (countCells(*place->data) == 0)
                failEmpty(path, *mesh);
              return place;
            });
  tellVolume(object);
}

void thresholdResults(KSLObject& object)
{
  const auto* results = resultsFor(object, true);
  if (!results)
    return;
  keepPlace(
      object, *results, "thresholdResults",
      [low = given(object, "Min"), high = given(object, "Max"), name = variableOf(object, "Variable"),
       path = object.getPath()](const std::shared_ptr<const Mesh>& mesh) {
        const Ptr<vtkDataSet> data = copyOf(*mesh->cells);
        const Variable variable = findVariable(path, name, *data, mesh->units);
        const char* const numbers = addNumbers(*data, variable);
        constexpr double most = std::numeric_limits<double>::max();
        const auto threshold = make<vtkThreshold>();
        threshold->SetInputData(data);
        threshold->SetInputArrayToProcess(0, 0, 0, vtkDataObject::FIELD_ASSOCIATION_POINTS, numbers);
        threshold->SetLowerThreshold(low ? inUnits(*low, variable.units) : -most);
        threshold->SetUpperThreshold(high ? inUnits(*high, variable.units) : most);
        run(*threshold, "thresholdResults");
        auto place = std::make_shared<Place>();
        place->data = threshold->GetOutput();
        place->data->GetPointData()->RemoveArray(numbers);
        if (countCells(*place->data) == 0)
          fail("thresholdResults", orv::_("%s holds no cells: '%s' goes from %s to %s.", path, name,
                                          withUnits(rangeOf(*data, numbers)[0], variable.units),
                                          withUnits(rangeOf(*data, numbers)[1], variable.units)));
        return place;
      },
      fieldsOf(object, "Variable"));
  tellVolume(object);
}

// ---- Points

namespace {

std::vector<Vec> pointsOf(const KSLObject& object)
{
  const std::vector<double> numbers =
      isGiven(object, "Points") ? object.getRealArray("Points", "m") : std::vector<double>();
  if (numbers.size() % 3 != 0)
    fail("placePoints", orv::_("%s has points with other than three coordinates.", object.getPath()));
  std::vector<Vec> points;
  for (std::size_t i = 0; i < numbers.size(); i += 3)
    points.push_back({numbers[i], numbers[i + 1], numbers[i + 2]});
  return points;
}

}  // namespace

void placePoints(KSLObject& object)
{
  const auto* results = resultsFor(object);
  if (!results)
    return;
  keepPlace(object, *results, "placePoints",
            [points = pointsOf(object), path = object.getPath()](const std::shared_ptr<const Mesh>& mesh) {
              auto place = std::make_shared<Place>();
              place->data = sampled(*mesh, points);
              place->isAtFirst = true;
              if (!points.empty() && countPoints(*place->data) == 0)
                failEmpty(path, *mesh);
              return place;
            });
  if (const Place* const place = present(object))
    setResult(object, "Point Count", static_cast<double>(countPoints(*place->data)));
}

}  // namespace results
