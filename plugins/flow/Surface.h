// Where a variable has one value everywhere: lines across the flow, drawn out along the cylinder.
#pragma once

#include "Levels.h"

namespace flow {

struct Surface {
  std::vector<Polygon> lines;  // x and y
  double lower = 0;            // z
  double upper = 0;

  int triangles() const;
  double area() const;  // m^2
};

Surface makeSurface(const Field& field, const Variable& variable, double level);

// The pieces of a line for which the test of their middles is true.
std::vector<Polygon> piecesWhere(const std::vector<Polygon>& lines, const std::function<bool(Uv)>& test);

}  // namespace flow
