#include "ExpressionValues.h"

#include "platform/ORVError.h"
#include "Gradient.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <vtkCellData.h>
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

bool isDerivative(const std::string& function)
{
  return function == "grad" || function == "div" || function == "curl";
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

vtkDataArray* Evaluation::find(const std::string& variable, std::string& field, int& component) const
{
  vtkDataSetAttributes* const fields =
      m_onCells ? static_cast<vtkDataSetAttributes*>(m_data.GetCellData()) : m_data.GetPointData();
  field = variable;
  component = -1;
  vtkDataArray* source = fields->GetArray(variable.c_str());
  if (!source && variable.size() > 2 && variable[variable.size() - 2] == '.' && variable.back() >= 'x'
      && variable.back() <= 'z') {
    field = variable.substr(0, variable.size() - 2);
    component = variable.back() - 'x';
    source = fields->GetArray(field.c_str());
  }
  return source && component < source->GetNumberOfComponents() ? source : nullptr;
}

bool Evaluation::has(const std::vector<std::string>& variables) const
{
  std::string field;
  int component = -1;
  return !variables.empty() && std::all_of(variables.begin(), variables.end(), [&](const std::string& name) {
    return find(name, field, component);
  });
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

const Value& Evaluation::variable(const std::string& name) const
{
  const auto known = m_variables.find(name);
  return known != m_variables.end() ? known->second : m_variables.emplace(name, read(name)).first->second;
}

Value Evaluation::read(const std::string& name) const
{
  std::string field;
  int component = -1;
  vtkDataArray* const source = find(name, field, component);
  if (!source)
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
  if (isDerivative(name))
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

Value Evaluation::derived(const std::string& name, const Value& value) const
{
  const int count = value.components();
  if (count != (name == "grad" ? 1 : 3))
    refuse(name == "grad" ? "grad takes a number, not a vector" : orv::_("%s takes a vector", name));
  Value result;
  result.isKnown = value.isKnown;
  result.dimensions = value.dimensions / orv::UnitDimensions("m");
  const Ptr<vtkDoubleArray> all = gradientOf(m_data, *arrayOf(value, "expression"), m_onCells);
  if (name == "grad") {
    result.array = all;
    return result;
  }
  result.array = results::make<vtkDoubleArray>();
  result.array->SetNumberOfComponents(name == "div" ? 1 : 3);
  result.array->SetNumberOfTuples(all->GetNumberOfTuples());
  for (vtkIdType i = 0; i < all->GetNumberOfTuples(); ++i) {
    std::array<double, 9> d{};
    all->GetTypedTuple(i, d.data());
    if (name == "div")
      result.array->SetValue(i, d[0] + d[4] + d[8]);
    else
      result.array->SetTuple3(i, d[7] - d[5], d[2] - d[6], d[3] - d[1]);
  }
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
