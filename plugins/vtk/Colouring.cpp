#include "Colouring.h"

#include "platform/ORVError.h"
#include "Memory.h"
#include "Pieces.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vtkDoubleArray.h>
#include <vtkPointData.h>

namespace results {

using orv::KSLObject;

void keepShow(KSLObject& object, ShowMaker maker, std::vector<std::shared_ptr<const Field>> fields,
              std::function<Place(const Place&)> prepare)
{
  const auto* kept = keptBy<Place>(namedOne(object, "Location"), "Geometry");
  if (!kept || !kept->now)
    return;
  keep<Show>(object, "Colour",
             [source = sourceOf(*kept), maker = std::move(maker), fields = std::move(fields),
              prepare = std::move(prepare)](const Request& request) {
               Request all = request;
               all.fields.insert(all.fields.end(), fields.begin(), fields.end());
               return maker(prepare(*source(all)));
             });
}

const Show* presentShow(const KSLObject& object)
{
  const auto* kept = keptBy<Show>(&object, "Colour");
  return kept ? kept->now.get() : nullptr;
}

namespace {

struct Range {
  double low = std::numeric_limits<double>::max();
  double high = std::numeric_limits<double>::lowest();
  void add(double value)
  {
    if (std::isfinite(value)) {
      low = std::min(low, value);
      high = std::max(high, value);
    }
  }
};

Range rangeIn(const std::string& path, const std::string& name, vtkDataSet& data, const Units& units)
{
  const Variable variable = findVariable(path, name, data, units);
  vtkDataArray* const array = variable.onCells ? variable.onCells : variable.onPoints;
  Range range;
  for (vtkIdType i = 0; i < array->GetNumberOfTuples(); ++i)
    range.add(variable.value(*array, i));
  for (const Range& each : ofAll("range", Range(range))) {
    range.low = std::min(range.low, each.low);
    range.high = std::max(range.high, each.high);
  }
  return range.low <= range.high ? range : Range{0, 1};
}

// Over all of a mesh, for whoever shows the variable.
Range rangeIn(const std::string& path, const std::string& name, const Mesh& mesh)
{
  const orv::ResultKey key = orv::ResultKey("rangeIn").addAll(name, mesh.key);
  return *remembered<Range>(key, "rangeIn", path, [&](Making&) {
    return std::make_shared<Range>(rangeIn(path, name, *mesh.cells, mesh.units));
  });
}

Range rangeOf(const Colouring& colouring, const Place& place, const Variable& variable)
{
  const bool isLocal = colouring.mode == "Local" || !place.mesh;
  const bool isGiven = colouring.low && colouring.high;
  Range range = isGiven   ? Range()
                : isLocal ? rangeIn(colouring.path, colouring.variable, *place.data, place.units)
                          : rangeIn(colouring.path, colouring.variable, *place.mesh);
  if (colouring.low)
    range.low = inUnits(*colouring.low, variable.units);
  if (colouring.high)
    range.high = inUnits(*colouring.high, variable.units);
  if (range.high < range.low)
    std::swap(range.low, range.high);
  return range;
}

// Units that are shown, and how values get there.
struct Shown {
  std::string units;
  double of(double value, const Variable& variable) const
  {
    return units.empty() || units == variable.units || variable.units.empty()
               ? value
               : converted(value, variable.units, units);
  }
};

}  // namespace

std::shared_ptr<Show> coloured(const Colouring& colouring, const Place& place, Ptr<vtkPolyData> body,
                               bool isLit)
{
  auto show = std::make_shared<Show>();
  show->body = make<vtkPolyData>();
  show->body->ShallowCopy(body);
  const Variable variable = findVariable(colouring.path, colouring.variable, *body, place.units);
  if (!variable.onPoints)
    fail("paintBands", orv::_("Variable '%s' has no values on points.", colouring.variable));
  const Shown shown{colouring.units.empty() ? variable.units : colouring.units};
  const auto numbers = make<vtkDoubleArray>();
  numbers->SetName(colourArray);
  numbers->SetNumberOfTuples(body->GetNumberOfPoints());
  for (vtkIdType i = 0; i < body->GetNumberOfPoints(); ++i)
    numbers->SetValue(i, shown.of(variable.value(*variable.onPoints, i), variable));
  show->body->GetPointData()->AddArray(numbers);
  const Range range = rangeOf(colouring, place, variable);
  show->isColoured = true;
  show->isLit = isLit;
  show->legend = {colouring.label.empty() ? colouring.variable : colouring.label,
                  shown.units == "1" ? std::string() : shown.units,
                  tableOf(colouring.palette, colouring.count, shown.of(range.low, variable),
                          shown.of(range.high, variable)),
                  colouring.isStepped};
  return show;
}

Colouring colouringOf(const KSLObject& object, const std::string& variable)
{
  Colouring colouring;
  colouring.path = object.getPath();
  colouring.variable = variableOf(object, variable);
  colouring.label = text(object, "Label");
  colouring.units = text(object, "User Units");
  colouring.mode = object.hasParam("Range Mode") ? text(object, "Range Mode") : "Global";
  const bool hasLimits = !object.hasParam("Range Mode") || colouring.mode == "Fixed";
  colouring.low = hasLimits ? given(object, "Min") : std::nullopt;
  colouring.high = hasLimits ? given(object, "Max") : std::nullopt;
  colouring.palette = paletteOf(object, "Palette");
  return colouring;
}

}  // namespace results
