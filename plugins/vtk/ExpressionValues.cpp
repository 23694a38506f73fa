#include "ExpressionValues.h"

#include "platform/ORVError.h"
#include "Communicator.h"
#include "Pieces.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <vtkCellData.h>
#include <vtkCellDataToPointData.h>
#include <vtkGenericCell.h>
#include <vtkGradientFilter.h>
#include <vtkPointData.h>

namespace results {

namespace {

const std::map<std::string, int>& functions()
{
  static const std::map<std::string, int> all{{"mag", 1},  {"dot", 2},  {"cross", 2}, {"grad", 1}, {"div", 1},
                                              {"curl", 1}, {"sqrt", 1}, {"abs", 1},   {"exp", 1},  {"log", 1},
                                              {"sin", 1},  {"cos", 1},  {"min", 2},   {"max", 2}};
  return all;
}

double at(const Value& value, vtkIdType tuple, int component)
{
  return value.array->GetTypedComponent(value.isConstant ? 0 : tuple, component);
}

}  // namespace

std::string unitsOf(const Value& value)
{
  const std::string units = value.dimensions.toUnits();
  return units.empty() ? "1" : units;
}

int operandsOf(const std::string& function)
{
  const auto known = functions().find(function);
  return known == functions().end() ? 0 : known->second;
}

Evaluation::Evaluation(const std::string& expression, const Units& units, vtkDataSet& data, bool onCells)
    : m_expression(expression),
      m_units(units),
      m_data(data),
      m_onCells(onCells)
{}

void Evaluation::refuse(const std::string& what) const
{
  fail("defineVariable", orv::_("Expression '%s': %s.", m_expression, what));
}

// Whoever has values on cells has them for all fields: those on points alone are the results of others.
bool Evaluation::hasCells() const
{
  for (int i = 0; i < m_data.GetPointData()->GetNumberOfArrays(); ++i) {
    const char* const name = m_data.GetPointData()->GetArrayName(i);
    if (name && m_expression.find(name) != std::string::npos && !m_data.GetCellData()->HasArray(name))
      return false;
  }
  return m_data.GetCellData()->GetNumberOfArrays() > 0;
}

bool Evaluation::hasGradient(const std::string& expression)
{
  return expression.find("grad(") != std::string::npos || expression.find("div(") != std::string::npos
         || expression.find("curl(") != std::string::npos;
}

Value Evaluation::number(double value, const std::string& units) const
{
  Value result;
  result.isConstant = true;
  result.dimensions = orv::UnitDimensions(units);
  result.array = results::make<vtkDoubleArray>();
  result.array->InsertNextValue(units.empty() ? value : converted(value, units, result.dimensions.toUnits()));
  return result;
}

Value Evaluation::variable(const std::string& name) const
{
  std::string field = name;
  int component = -1;
  vtkDataSetAttributes* const fields =
      m_onCells ? static_cast<vtkDataSetAttributes*>(m_data.GetCellData()) : m_data.GetPointData();
  vtkDataArray* source = fields->GetArray(name.c_str());
  if (!source && name.size() > 2 && name[name.size() - 2] == '.' && name.back() >= 'x'
      && name.back() <= 'z') {
    field = name.substr(0, name.size() - 2);
    component = name.back() - 'x';
    source = fields->GetArray(field.c_str());
  }
  if (!source || component >= source->GetNumberOfComponents())
    refuse(orv::_("there is no variable '%s'; there are %s", name, join(variableNames(m_data))));
  Value result;
  const auto known = m_units.find(field);
  result.isKnown = known != m_units.end();
  double factor = 1;
  double shift = 0;
  if (result.isKnown) {
    const std::string& units = known->second;
    result.dimensions = orv::UnitDimensions(units == "1" ? "" : units);
    const std::string base = result.dimensions.toUnits();
    shift = base.empty() ? 0 : converted(0, units, base);
    factor = base.empty() ? 1 : converted(1, units, base) - shift;
  }
  const int count = component >= 0 ? 1 : source->GetNumberOfComponents();
  result.array = results::make<vtkDoubleArray>();
  result.array->SetNumberOfComponents(count);
  result.array->SetNumberOfTuples(source->GetNumberOfTuples());
  for (vtkIdType i = 0; i < source->GetNumberOfTuples(); ++i) {
    for (int k = 0; k < count; ++k)
      result.array->SetTypedComponent(
          i, k, factor * source->GetComponent(i, component >= 0 ? component : k) + shift);
  }
  return result;
}

Value Evaluation::make(const Value& a, const Value& b, int components) const
{
  Value result;
  result.isConstant = a.isConstant && b.isConstant;
  result.isKnown = a.isKnown && b.isKnown;
  result.dimensions = a.dimensions;
  result.array = results::make<vtkDoubleArray>();
  result.array->SetNumberOfComponents(components);
  result.array->SetNumberOfTuples(a.isConstant ? b.array->GetNumberOfTuples() : a.array->GetNumberOfTuples());
  return result;
}

void Evaluation::requireAlike(const Value& a, const Value& b, const char* what) const
{
  if (a.components() != b.components())
    refuse(orv::_("%s takes two numbers or two vectors", what));
  if (a.isKnown && b.isKnown && !(a.dimensions == b.dimensions))
    refuse(orv::_("%s takes values of one dimension, not '%s' and '%s'", what, unitsOf(a), unitsOf(b)));
}

void Evaluation::requireNumber(const Value& value, const std::string& function) const
{
  if (value.components() != 1)
    refuse(orv::_("%s takes a number, not a vector", function));
}

Value Evaluation::sum(const Value& a, const Value& b, double sign) const
{
  requireAlike(a, b, sign > 0 ? "+" : "-");
  Value result = make(a, b, a.components());
  for (vtkIdType i = 0; i < result.array->GetNumberOfTuples(); ++i)
    for (int k = 0; k < result.components(); ++k)
      result.array->SetTypedComponent(i, k, at(a, i, k) + sign * at(b, i, k));
  return result;
}

Value Evaluation::product(const Value& a, const Value& b) const
{
  if (a.components() != 1 && b.components() != 1)
    refuse("* takes one vector at most: dot and cross multiply two");
  Value result = make(a, b, std::max(a.components(), b.components()));
  result.dimensions = a.dimensions * b.dimensions;
  for (vtkIdType i = 0; i < result.array->GetNumberOfTuples(); ++i)
    for (int k = 0; k < result.components(); ++k)
      result.array->SetTypedComponent(
          i, k, at(a, i, a.components() == 1 ? 0 : k) * at(b, i, b.components() == 1 ? 0 : k));
  return result;
}

Value Evaluation::quotient(const Value& a, const Value& b) const
{
  requireNumber(b, "/");
  Value result = make(a, b, a.components());
  result.dimensions = a.dimensions / b.dimensions;
  for (vtkIdType i = 0; i < result.array->GetNumberOfTuples(); ++i)
    for (int k = 0; k < result.components(); ++k)
      result.array->SetTypedComponent(i, k, at(a, i, k) / at(b, i, 0));
  return result;
}

Value Evaluation::power(const Value& a, const Value& b) const
{
  requireNumber(a, "^");
  requireNumber(b, "^");
  if (!b.isConstant || (b.isKnown && !b.dimensions.isDimensionless()))
    refuse("an exponent is a pure number");
  const double exponent = at(b, 0, 0);
  Value result = make(a, b, 1);
  result.dimensions = a.dimensions.power(exponent);
  for (vtkIdType i = 0; i < result.array->GetNumberOfTuples(); ++i)
    result.array->SetValue(i, exponent == 2 ? at(a, i, 0) * at(a, i, 0) : std::pow(at(a, i, 0), exponent));
  return result;
}

Value Evaluation::elementary(const std::string& name, const Value& value) const
{
  requireNumber(value, name);
  const bool keepsUnits = name == "abs" || name == "sqrt";
  if (!keepsUnits && value.isKnown && !value.dimensions.isDimensionless())
    refuse(orv::_("%s takes a pure number, not '%s'", name, unitsOf(value)));
  using Function = double (*)(double);
  static const std::map<std::string, Function> all{{"sqrt", std::sqrt}, {"abs", std::fabs},
                                                   {"exp", std::exp},   {"log", std::log},
                                                   {"sin", std::sin},   {"cos", std::cos}};
  const Function call = all.at(name);
  Value result = make(value, value, 1);
  if (name == "sqrt")
    result.dimensions = value.dimensions.power(0.5);
  for (vtkIdType i = 0; i < result.array->GetNumberOfTuples(); ++i)
    result.array->SetValue(i, call(at(value, i, 0)));
  return result;
}

Value Evaluation::function(const std::string& name, const std::vector<Value>& values) const
{
  const Value& a = values.front();
  if (name == "grad" || name == "div" || name == "curl")
    return derived(name, a);
  if (name == "mag") {
    Value result = make(a, a, 1);
    for (vtkIdType i = 0; i < result.array->GetNumberOfTuples(); ++i) {
      double sum = 0;
      for (int k = 0; k < a.components(); ++k)
        sum += at(a, i, k) * at(a, i, k);
      result.array->SetValue(i, std::sqrt(sum));
    }
    return result;
  }
  if (values.size() == 1)
    return elementary(name, a);
  const Value& b = values.back();
  if (name == "min" || name == "max") {
    requireAlike(a, b, name.c_str());
    requireNumber(a, name);
    Value result = make(a, b, 1);
    for (vtkIdType i = 0; i < result.array->GetNumberOfTuples(); ++i)
      result.array->SetValue(
          i, name == "min" ? std::min(at(a, i, 0), at(b, i, 0)) : std::max(at(a, i, 0), at(b, i, 0)));
    return result;
  }
  if (a.components() != 3 || b.components() != 3)
    refuse(orv::_("%s takes two vectors", name));
  Value result = make(a, b, name == "dot" ? 1 : 3);
  result.dimensions = a.dimensions * b.dimensions;
  for (vtkIdType i = 0; i < result.array->GetNumberOfTuples(); ++i) {
    const Vec u{at(a, i, 0), at(a, i, 1), at(a, i, 2)};
    const Vec v{at(b, i, 0), at(b, i, 1), at(b, i, 2)};
    const Vec w = results::cross(u, v);
    for (int k = 0; k < result.components(); ++k)
      result.array->SetTypedComponent(i, k,
                                      name == "dot" ? results::dot(u, v) : w[static_cast<std::size_t>(k)]);
  }
  return result;
}

namespace {

// Values of cells as means at points, of the cells on both sides of a seam.
Ptr<vtkDataArray> meansAtPoints(vtkDataSet& data, vtkDoubleArray& values)
{
  const Ptr<vtkDataSet> own = copyOf(data);
  own->GetCellData()->Initialize();
  own->GetPointData()->Initialize();
  own->GetCellData()->AddArray(&values);
  const auto filter = results::make<vtkCellDataToPointData>();
  filter->SetInputData(own);
  if (data.GetNumberOfCells() > 0)
    run(*filter, "defineVariable");
  auto* const output = vtkDataSet::SafeDownCast(filter->GetOutputDataObject(0));
  Ptr<vtkDataArray> means = output ? output->GetPointData()->GetArray(values.GetName()) : nullptr;
  if (!means) {
    means = results::make<vtkDoubleArray>();
    means->SetNumberOfComponents(values.GetNumberOfComponents());
  }
  mendSeams(data, {means});
  return means;
}

// Derivatives on cells, as VTK's filter finds them: of the means at points, in the middle of each cell.
Ptr<vtkDoubleArray> derivedOnCells(const std::string& name, vtkDataSet& data, vtkDoubleArray& values)
{
  const int count = values.GetNumberOfComponents();
  const Ptr<vtkDataArray> means = meansAtPoints(data, values);
  auto result = results::make<vtkDoubleArray>();
  result->SetNumberOfComponents(name == "div" ? 1 : 3);
  result->SetNumberOfTuples(data.GetNumberOfCells());
  const auto cell = results::make<vtkGenericCell>();
  std::vector<double> corners;
  std::array<double, 9> d{};
  for (vtkIdType i = 0; i < data.GetNumberOfCells(); ++i) {
    data.GetCell(i, cell);
    corners.clear();
    for (vtkIdType k = 0; k < cell->GetNumberOfPoints(); ++k)
      for (int c = 0; c < count; ++c)
        corners.push_back(means->GetComponent(cell->GetPointId(static_cast<int>(k)), c));
    Vec middle;
    int part = cell->GetParametricCenter(middle.data());
    cell->Derivatives(part, middle.data(), corners.data(), count, d.data());
    if (name == "div")
      result->SetValue(i, d[0] + d[4] + d[8]);
    else if (name == "curl")
      result->SetTuple3(i, d[7] - d[5], d[2] - d[6], d[3] - d[1]);
    else
      result->SetTuple3(i, d[0], d[1], d[2]);
  }
  return result;
}

}  // namespace

// Derivatives along x, y and z, by VTK.
Value Evaluation::derived(const std::string& name, const Value& value) const
{
  if ((name == "grad") != (value.components() == 1))
    refuse(name == "grad" ? "grad takes a number, not a vector" : orv::_("%s takes a vector", name));
  Value result;
  result.isKnown = value.isKnown;
  result.dimensions = value.dimensions / orv::UnitDimensions("m");
  const char* const own = "expression";
  if (m_onCells && !Communicator::instance().isAlone()) {
    result.array = derivedOnCells(name, m_data, *arrayOf(value, own));
    return result;
  }
  const Ptr<vtkDataSet> data = copyOf(m_data);
  (m_onCells ? static_cast<vtkDataSetAttributes*>(data->GetCellData()) : data->GetPointData())
      ->AddArray(arrayOf(value, own));
  const auto filter = results::make<vtkGradientFilter>();
  filter->SetInputData(data);
  filter->SetInputArrayToProcess(
      0, 0, 0, m_onCells ? vtkDataObject::FIELD_ASSOCIATION_CELLS : vtkDataObject::FIELD_ASSOCIATION_POINTS,
      own);
  filter->SetResultArrayName("grad");
  filter->SetDivergenceArrayName("div");
  filter->SetVorticityArrayName("curl");
  filter->SetComputeGradient(name == "grad");
  filter->SetComputeDivergence(name == "div");
  filter->SetComputeVorticity(name == "curl");
  run(*filter, "defineVariable");
  auto* const output = vtkDataSet::SafeDownCast(filter->GetOutputDataObject(0));
  vtkDataArray* const found =
      (m_onCells ? static_cast<vtkDataSetAttributes*>(output->GetCellData()) : output->GetPointData())
          ->GetArray(name.c_str());
  result.array = results::make<vtkDoubleArray>();
  if (found)
    result.array->DeepCopy(found);
  else
    result.array->SetNumberOfComponents(name == "div" ? 1 : 3);  // a piece without cells
  if (!m_onCells)
    mendSeams(m_data, {result.array});
  return result;
}

Ptr<vtkDoubleArray> Evaluation::arrayOf(const Value& value, const std::string& name) const
{
  const vtkIdType count = m_onCells ? m_data.GetNumberOfCells() : m_data.GetNumberOfPoints();
  Ptr<vtkDoubleArray> array = results::make<vtkDoubleArray>();
  array->SetNumberOfComponents(value.components());
  array->SetNumberOfTuples(count);
  for (vtkIdType i = 0; i < count; ++i)
    for (int k = 0; k < value.components(); ++k)
      array->SetTypedComponent(i, k, at(value, i, k));
  array->SetName(name.c_str());
  return array;
}

}  // namespace results
