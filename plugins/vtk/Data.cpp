#include "Data.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUnits.h"
#include "Pieces.h"
#include "Seams.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkDataArray.h>
#include <vtkDataSetSurfaceFilter.h>
#include <vtkPointData.h>
#include <vtkPoints.h>

namespace results {

using orv::KSLObject;

bool Legend::isSame(const Legend& other) const
{
  if (title != other.title || units != other.units || isStepped != other.isStepped)
    return false;
  const vtkIdType count = colours->GetNumberOfTableValues();
  if (count != other.colours->GetNumberOfTableValues()
      || !std::equal(colours->GetTableRange(), colours->GetTableRange() + 2, other.colours->GetTableRange()))
    return false;
  return std::equal(colours->GetPointer(0), colours->GetPointer(0) + 4 * count, other.colours->GetPointer(0));
}

std::vector<const KSLObject*> named(const KSLObject& object, const std::string& param)
{
  const orv::ParamDefinition* reference = object.lookUpParam(param);
  std::vector<const KSLObject*> objects =
      reference ? object.namedObjects(*reference) : std::vector<const KSLObject*>();
  std::erase(objects, nullptr);
  return objects;
}

const KSLObject* namedOne(const KSLObject& object, const std::string& param)
{
  const std::vector<const KSLObject*> objects = named(object, param);
  return objects.empty() ? nullptr : objects.front();
}

// --------------------------------------------------------------------------------------------------------- variables

int Variable::components() const
{
  const vtkDataArray* array = onPoints ? onPoints : onCells;
  return component >= 0 || isLength || !array ? 1 : const_cast<vtkDataArray*>(array)->GetNumberOfComponents();
}

double Variable::value(vtkDataArray& array, vtkIdType at) const
{
  if (component >= 0)
    return array.GetComponent(at, component);
  const int count = array.GetNumberOfComponents();
  if (count == 1)
    return array.GetComponent(at, 0);
  double sum = 0;
  for (int i = 0; i < count; ++i)
    sum += array.GetComponent(at, i) * array.GetComponent(at, i);
  return std::sqrt(sum);
}

Vec Variable::vector(vtkDataArray& array, vtkIdType at) const
{
  if (components() != 3)
    return {value(array, at), 0, 0};
  return {array.GetComponent(at, 0), array.GetComponent(at, 1), array.GetComponent(at, 2)};
}

std::vector<std::string> variableNames(vtkDataSet& data)
{
  std::vector<std::string> names;
  for (vtkFieldData* fields :
       {static_cast<vtkFieldData*>(data.GetPointData()), static_cast<vtkFieldData*>(data.GetCellData())}) {
    for (int i = 0; i < fields->GetNumberOfArrays(); ++i) {
      const char* name = fields->GetArray(i) ? fields->GetArray(i)->GetName() : nullptr;
      if (name && std::string_view(name).substr(0, 3) != "vtk"
          && std::find(names.begin(), names.end(), name) == names.end())
        names.emplace_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

namespace {

bool take(Variable& variable, const std::string& field, vtkDataSet& data, const Units& units)
{
  variable.field = field;
  variable.onPoints = data.GetPointData()->GetArray(field.c_str());
  variable.onCells = data.GetCellData()->GetArray(field.c_str());
  if (const auto known = units.find(field); known != units.end())
    variable.units = known->second;
  return variable.onPoints || variable.onCells;
}

// "U.x": what stands behind the dot, when it fits the field.
bool takeComponent(Variable& variable, vtkDataSet& data, const Units& units)
{
  const std::size_t dot = variable.name.rfind('.');
  if (dot == std::string::npos || !take(variable, variable.name.substr(0, dot), data, units))
    return false;
  const std::string part = variable.name.substr(dot + 1);
  const int count = variable.components();
  variable.isLength = part == "mag";
  if (part.size() == 1 && part[0] >= 'x' && part[0] <= 'z' && count >= part[0] - 'x' + 1)
    variable.component = part[0] - 'x';
  return variable.isLength || variable.component >= 0;
}

}  // namespace

Variable findVariable(const std::string& path, const std::string& name, vtkDataSet& data, const Units& units)
{
  Variable variable;
  variable.name = name;
  if (take(variable, name, data, units) || takeComponent(variable, data, units))
    return variable;
  orv::data::invalid error("Results", "findVariable",
                           orv::_("Variable '%s' is not in the results of %s: there are %s.", name, path,
                                  join(variableNames(data))));
  throw diagnosed(std::move(error), {.object = path, .subject = name, .valid = variableNames(data)});
}

std::vector<std::string> variablesOf(const KSLObject& object, const std::string& param)
{
  std::vector<std::string> names = items(object, param);
  const orv::ParamDefinition* reference = object.lookUpParam(param);
  const std::vector<const KSLObject*> objects =
      reference ? object.namedObjects(*reference) : std::vector<const KSLObject*>();
  for (std::size_t i = 0; i < objects.size() && objects.size() == names.size(); ++i)
    if (objects[i])
      names[i] = objects[i]->getName();
  return names;
}

std::string variableOf(const KSLObject& object, const std::string& param)
{
  const KSLObject* const definition = namedOne(object, param);
  return definition ? definition->getName() : text(object, param);
}

std::vector<std::shared_ptr<const Field>> fieldsOf(const KSLObject& object, const std::string& param)
{
  std::vector<std::shared_ptr<const Field>> fields;
  for (const KSLObject* definition : named(object, param)) {
    if (const auto* kept = keptBy<Field>(definition, "Field"); kept && kept->now)
      fields.push_back(kept->now);
  }
  return fields;
}

double inUnits(const orv::Quantity& value, const std::string& units)
{
  return value.convertTo(units == "1" ? std::string() : units);
}

std::optional<orv::Quantity> given(const KSLObject& object, const std::string& param)
{
  if (!isGiven(object, param))
    return std::nullopt;
  return object.getQuantityValue(param);
}

double converted(double value, const std::string& from, const std::string& to)
{
  return orv::Quantity(value, from).convertTo(to);
}

std::string product(const std::string& a, const std::string& b)
{
  return a.empty() || b.empty() ? std::string() : a == "1" ? b : b == "1" ? a : a + " " + b;
}

// ------------------------------------------------------------------------------------------------------------- shapes

Ptr<vtkPolyData> pointsAt(const std::vector<Vec>& points)
{
  const auto where = make<vtkPoints>();
  where->SetDataTypeToDouble();
  for (const Vec& point : points)
    where->InsertNextPoint(point.data());
  auto data = make<vtkPolyData>();
  data->SetPoints(where);
  return data;
}

Ptr<vtkPolyData> verticesAt(vtkDataSet& data, const std::vector<vtkIdType>& points)
{
  const auto where = make<vtkPoints>();
  where->SetDataTypeToDouble();
  const auto vertices = make<vtkCellArray>();
  auto result = make<vtkPolyData>();
  result->GetPointData()->CopyAllocate(data.GetPointData());
  for (const vtkIdType from : points) {
    const vtkIdType to = where->InsertNextPoint(data.GetPoint(from));
    result->GetPointData()->CopyData(data.GetPointData(), from, to);
    vertices->InsertNextCell(1, &to);
  }
  result->SetPoints(where);
  result->SetVerts(vertices);
  return result;
}

Ptr<vtkPolyData> surfaceOf(vtkDataSet& data)
{
  if (auto* surface = vtkPolyData::SafeDownCast(&data))
    return surface;
  const auto filter = make<vtkDataSetSurfaceFilter>();
  filter->SetInputData(&data);
  run(*filter, "surfaceOf");
  return filter->GetOutput();
}

Ptr<vtkDataSet> copyOf(vtkDataSet& data)
{
  const auto copy = Ptr<vtkDataSet>::Take(data.NewInstance());
  copy->ShallowCopy(&data);
  return copy;
}

std::string extentText(vtkDataSet& data)
{
  std::array<double, 6> bounds{};
  if (countPoints(data) > 0)
    bounds = boundsOfAll(data);
  std::vector<std::string> texts;
  for (const double bound : bounds)
    texts.push_back(readable(bound, 6) + " [m]");
  return join(texts);
}

}  // namespace results
