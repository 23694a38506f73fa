// The flow itself: an ideal fluid past a turning cylinder, known in closed form.
#pragma once

#include "vec.h"

#include <string>
#include <utility>

namespace flow {

// A quantity that can be asked for by name.
struct Variable {
  enum class Kind { pressure, coefficient, speed, velocityX, velocityY, streamFunction };
  const char* name;
  const char* units;  // "" for a pure number
  Kind kind;
};

// "Velocity", a vector, counts by its length where a number is wanted. Throws data::notFound, class
// "FlowLibrary", function "findVariable", "Variable '%s' is not in the results.".
const Variable& findVariable(const std::string& name);

// Air comes along x; the cylinder stands along z at the origin. All in metres, kilograms and seconds.
struct Field {
  double speed = 0;        // far away
  double pressure = 0;     // far away, relative to the reference pressure
  double density = 1.2;    // kg/m^3
  double radius = 0;       // 0 for no cylinder
  double circulation = 0;  // m^2/s, clockwise
  Vec lower;               // corners of the box that the results fill
  Vec upper;

  bool isInBody(Vec point) const;
  bool isInBox(Vec point) const;
  // Inside the body it is that of the surface before it, so that levels run straight into the body.
  Vec velocity(Vec point) const;
  double value(const Variable& variable, Vec point) const;
  // Lowest and highest in the box, outside the body.
  std::pair<double, double> range(const Variable& variable) const;

 private:
  double streamFunction(Vec point) const;
};

}  // namespace flow
