// The values in an expression over fields: numbers, vectors or tensors, at all points or all cells, in SI units.
#pragma once

#include "platform/ORVUnits.h"
#include "Data.h"

#include <map>
#include <string>
#include <vector>
#include <vtkDoubleArray.h>

namespace results {

struct Value {
  Ptr<vtkDoubleArray> array;  // one tuple when it is the same everywhere
  bool isConstant = false;
  bool isKnown = true;  // the dimensions are
  orv::UnitDimensions dimensions;
  int components() const { return array->GetNumberOfComponents(); }
};

std::string unitsOf(const Value& value);      // "1" for numbers
int operandsOf(const std::string& function);  // 0: no such function
bool isDerivative(const std::string& function);

class Evaluation {
 public:
  Evaluation(const std::string& expression, const Units& units, vtkDataSet& data, bool onCells);

  // Whether all these variables, and any at all, stand there: asked before values on cells.
  bool has(const std::vector<std::string>& variables) const;

  Value number(double value, const std::string& units) const;
  const Value& variable(const std::string& name) const;  // read once, whoever asks
  Value sum(const Value& a, const Value& b, double sign) const;
  Value product(const Value& a, const Value& b) const;
  Value quotient(const Value& a, const Value& b) const;
  Value power(const Value& a, const Value& b) const;
  Value function(const std::string& name, const std::vector<Value>& values) const;
  // As long as the data, named.
  Ptr<vtkDoubleArray> arrayOf(const Value& value, const std::string& name) const;

 private:
  // The field that a variable is of, and which component: -1 for all. Null without.
  vtkDataArray* find(const std::string& variable, std::string& field, int& component) const;
  Value read(const std::string& variable) const;
  [[noreturn]] void refuse(const std::string& what) const;
  void requireAlike(const Value& a, const Value& b, const char* what) const;
  void requireNumber(const Value& value, const std::string& function) const;
  Value make(const Value& a, const Value& b, int components) const;
  Value derived(const std::string& name, const Value& value) const;
  Value elementary(const std::string& name, const Value& value) const;

  const std::string& m_expression;
  const Units& m_units;
  vtkDataSet& m_data;
  bool m_onCells;
  mutable std::map<std::string, Value> m_variables;
};

}  // namespace results
