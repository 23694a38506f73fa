#include "Field.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"

#include <algorithm>
#include <iterator>
#include <numbers>

namespace flow {

namespace {

using Kind = Variable::Kind;
constexpr double twoPi = 2 * std::numbers::pi;

constexpr Variable variables[] = {
    {"Pressure", "Pa", Kind::pressure},
    {"Pressure Coefficient", "", Kind::coefficient},
    {"Speed", "m s^-1", Kind::speed},
    {"Velocity", "m s^-1", Kind::speed},
    {"Velocity X", "m s^-1", Kind::velocityX},
    {"Velocity Y", "m s^-1", Kind::velocityY},
    {"Stream Function", "m^2 s^-1", Kind::streamFunction},
};

}  // namespace

const Variable& findVariable(const std::string& name)
{
  const auto found = std::find_if(std::begin(variables), std::end(variables),
                                  [&name](const Variable& variable) { return name == variable.name; });
  if (found == std::end(variables))
    throw orv::data::notFound("FlowLibrary", "findVariable",
                              orv::_("Variable '%s' is not in the results.", name));
  return *found;
}

bool Field::isInBody(Vec point) const
{
  return point.x * point.x + point.y * point.y < radius * radius;
}

bool Field::isInBox(Vec point) const
{
  constexpr double rim = 1e-9;  // cuts lie on the faces of the box
  const auto inside = [](double low, double value, double high) {
    return value >= low - rim && value <= high + rim;
  };
  return inside(lower.x, point.x, upper.x) && inside(lower.y, point.y, upper.y)
         && inside(lower.z, point.z, upper.z);
}

Vec Field::velocity(Vec point) const
{
  const double distance = std::hypot(point.x, point.y);
  const double r = std::max(distance, radius);
  if (r == 0)
    return {speed, 0, 0};
  const double cosine = distance > 0 ? point.x / distance : 1;
  const double sine = distance > 0 ? point.y / distance : 0;
  const double shrink = radius * radius / (r * r);
  const double outward = speed * (1 - shrink) * cosine;
  const double around = -speed * (1 + shrink) * sine - circulation / (twoPi * r);
  return {outward * cosine - around * sine, outward * sine + around * cosine, 0};
}

double Field::streamFunction(Vec point) const
{
  const double distance = std::hypot(point.x, point.y);
  const double r = std::max(distance, radius);
  if (radius == 0 || distance == 0)
    return speed * point.y;
  const double swirl = circulation / twoPi * std::log(r / radius);
  return speed * (r - radius * radius / r) * point.y / distance + swirl;
}

double Field::value(const Variable& variable, Vec point) const
{
  if (variable.kind == Kind::streamFunction)
    return streamFunction(point);
  const Vec v = velocity(point);
  switch (variable.kind) {
    case Kind::velocityX:
      return v.x;
    case Kind::velocityY:
      return v.y;
    case Kind::pressure:
      return pressure + density / 2 * (speed * speed - dot(v, v));
    case Kind::coefficient:
      return speed != 0 ? 1 - dot(v, v) / (speed * speed) : 0;
    case Kind::speed:
    case Kind::streamFunction:
      break;
  }
  return length(v);
}

// The extremes of an ideal flow lie on its borders.
std::pair<double, double> Field::range(const Variable& variable) const
{
  constexpr int steps = 720;
  const double far = value(variable, lower);
  std::pair<double, double> range(far, far);
  const auto takeAnywhere = [&](Vec point) {
    const double here = value(variable, point);
    range = {std::min(range.first, here), std::max(range.second, here)};
  };
  const auto take = [&](double x, double y) {
    if (!isInBody({x, y, 0}))
      takeAnywhere({x, y, 0});
  };
  const auto takeSurface = [&](double angle) {
    const double inside = radius / 2;  // counts as on the surface, without a rounding
    takeAnywhere({inside * std::cos(angle), inside * std::sin(angle), 0});
  };
  // Where the flow stands still, if it does so on the surface.
  const double sine = radius > 0 && speed != 0 ? -circulation / (2 * twoPi * speed * radius) : 2;
  if (std::abs(sine) <= 1)
    takeSurface(std::asin(sine));
  for (int i = 0; i <= steps; ++i) {
    const double t = static_cast<double>(i) / steps;
    takeSurface(twoPi * t);
    const double x = lower.x + t * (upper.x - lower.x);
    const double y = lower.y + t * (upper.y - lower.y);
    take(x, lower.y);
    take(x, upper.y);
    take(lower.x, y);
    take(upper.x, y);
  }
  return range;
}

}  // namespace flow
