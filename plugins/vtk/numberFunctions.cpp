// Numbers: values at points, and sums over places.
#include "platform/ORVError.h"
#include "platform/ORVUnits.h"
#include "Communicator.h"
#include "Data.h"
#include "Memory.h"
#include "Numbers.h"
#include "Pieces.h"
#include "Surface.h"
#include "functions.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <vtkPointData.h>

namespace results {

using orv::KSLObject;

// ---- Probes

namespace {

std::vector<Vec> probePoints(const KSLObject& probe)
{
  const std::string option = text(probe, "Option");
  if (option == "Single Point")
    return {point(probe, "Point")};
  if (option != "Line")
    return {};
  const Vec from = point(probe, "Point 1");
  const Vec along = point(probe, "Point 2") - from;
  const int samples = count(probe, "Samples", 1000000);
  std::vector<Vec> points;
  for (int i = 0; i < samples; ++i)
    points.push_back(from + (samples == 1 ? 0.5 : static_cast<double>(i) / (samples - 1)) * along);
  return points;
}

// Where a path has come at each of its points.
std::vector<double> pathOf(vtkDataSet& data)
{
  std::vector<double> path;
  Vec before{};
  for (vtkIdType i = 0; i < data.GetNumberOfPoints(); ++i) {
    Vec at;
    data.GetPoint(i, at.data());
    path.push_back(i == 0 ? 0 : path.back() + length(at - before));
    before = at;
  }
  return path;
}

// Those of a list are there already.
Ptr<vtkDataSet> pointsAtFirst(const Place& place)
{
  if (Communicator::instance().isAlone() || place.isAtFirst)
    return place.data;
  return gatheredPoints(*place.data);
}

struct ProbeMaker {
  std::string path;
  std::vector<std::string> variables;

  Numbers operator()(const Place& place) const
  {
    Place whole = place;
    whole.data = pointsAtFirst(place);
    Numbers numbers = numbersOf(whole);
    for (Column& column : numbers.columns)
      column.values = valuesOf<double>(ofFirst(bytesOf(column.values)));
    return numbers;
  }

 private:
  Numbers numbersOf(const Place& place) const
  {
    Numbers numbers;
    numbers.columns.push_back({"Distance", "m", pathOf(*place.data)});
    for (std::size_t axis = 0; axis < 3; ++axis) {
      Column column{std::string(1, static_cast<char>('X' + axis)), "m", {}};
      for (vtkIdType i = 0; i < place.data->GetNumberOfPoints(); ++i)
        column.values.push_back(place.data->GetPoint(i)[axis]);
      numbers.columns.push_back(std::move(column));
    }
    for (const std::string& name : variables) {
      const Variable variable = findVariable(path, name, *place.data, place.units);
      if (!variable.onPoints)
        fail("probeResults", orv::_("Variable '%s' has no values on points.", name));
      Column column{name, variable.units, {}};
      for (vtkIdType i = 0; i < place.data->GetNumberOfPoints(); ++i)
        column.values.push_back(variable.value(*variable.onPoints, i));
      numbers.columns.push_back(std::move(column));
    }
    return numbers;
  }
};

void tellProbe(KSLObject& object, const Numbers& numbers, std::size_t variables)
{
  const std::size_t samples = numbers.rows();
  std::vector<std::string> positions;
  std::vector<std::string> values;
  for (std::size_t i = 0; i < samples && samples <= 1000; ++i) {
    for (std::size_t k = 1; k < 4; ++k)
      positions.push_back(withUnits(numbers.columns[k].values[i], "m"));
    for (std::size_t k = 4; k < 4 + variables; ++k)
      values.push_back(withUnits(numbers.columns[k].values[i], unitsToShow(numbers.columns[k].units)));
  }
  const bool isOne = text(object, "Option") == "Single Point" && values.size() == 1;
  setResult(object, "Value", isOne ? values.front() : std::string());
  setResult(object, "Positions", join(positions));
  setResult(object, "Results", join(values));
}

// The points of a probe as a place of its own, with the fields of the mesh there.
Kept<Place>::Recipe probePlace(const KSLObject& object,
                               const std::vector<std::shared_ptr<const Field>>& fields)
{
  if (text(object, "Option") == "Place") {
    const auto* kept = keptBy<Place>(namedOne(object, "Location"), "Geometry");
    if (!kept || !kept->now)
      return {};
    return [source = sourceOf(*kept), fields](const Request& request) {
      Request all = request;
      all.fields.insert(all.fields.end(), fields.begin(), fields.end());
      return source(all);
    };
  }
  const auto* kept = keptBy<Mesh>(namedOne(object, "Reader"), "Data");
  if (!kept || !kept->now)
    return {};
  return [source = sourceOf(*kept), fields, points = probePoints(object), path = object.getPath(),
          own = dynamic_cast<const orv::GenericKSLObject&>(object).ownResultKey("Geometry")](
             const Request& request) {
    Request all = request;
    all.fields.insert(all.fields.end(), fields.begin(), fields.end());
    const std::shared_ptr<const Mesh> mesh = source(all);
    const orv::ResultKey key = orv::ResultKey(own).add(mesh->key);
    return remembered<Place>(key, "placeProbe", path, [&](Making& making) {
      auto place = std::make_shared<Place>();
      place->data = sampled(*mesh, points);
      place->isAtFirst = true;
      if (countPoints(*place->data) == 0)
        fail("probeResults",
             orv::_("%s lies outside the results, which extend over %s.", path, extentText(*mesh->cells)));
      return completed(place, mesh, key, making);
    });
  };
}

}  // namespace

void placeProbe(KSLObject& object)
{
  const Kept<Place>::Recipe place = probePlace(object, fieldsOf(object, "Variable List"));
  setResult(object, "Sample Count", "");
  if (!place)
    return;
  keep<Place>(object, "Geometry", place);
  setResult(object, "Sample Count",
            static_cast<double>(countPoints(*pointsAtFirst(*keptBy<Place>(&object, "Geometry")->now))));
}

void readProbe(KSLObject& object)
{
  const auto* kept = keptBy<Place>(&object, "Geometry");
  for (const char* name : {"Positions", "Results", "Value"})
    setResult(object, name, "");
  if (!kept || !kept->now)
    return;
  const ProbeMaker maker{object.getPath(), variablesOf(object, "Variable List")};
  keepNumbers(object, kept->now->mesh->times,
              [place = sourceOf(*kept), maker](const Request& request) { return maker(*place(request)); });
  tellProbe(object, maker(*kept->now), maker.variables.size());
}

}  // namespace results
