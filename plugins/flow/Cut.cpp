#include "Cut.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/ObjectDB.h"
#include "Domain.h"
#include "Values.h"

#include <algorithm>
#include <array>
#include <numbers>

namespace flow {

using orv::KSLObject;

namespace {

// u is the axis nearest to x that the plane has, so that most cuts are seen the way they are thought of.
Plane planeAt(Vec origin, Vec normal)
{
  const Vec n = unit(normal);
  const Vec side = std::abs(n.z) > 0.9 ? Vec{1, 0, 0} - n.x * n : cross({0, 0, 1}, n);
  const Vec u = unit(side);
  return {origin, u, cross(n, u)};
}

struct PointAndNormal {
  Vec point;
  Vec normal;
};

PointAndNormal placeOf(const KSLObject& object)
{
  const std::string& option = object.getValue("Option");
  if (option == "Point and Normal")
    return {point(object, "Point"), direction(object, "Normal")};
  if (option == "Three Points") {
    const Vec first = point(object, "Point 1");
    return {first, cross(point(object, "Point 2") - first, point(object, "Point 3") - first)};
  }
  const std::string& axis = object.getValue("Axis");
  const Vec normal{axis == "X" ? 1.0 : 0.0, axis == "Y" ? 1.0 : 0.0, axis == "Z" ? 1.0 : 0.0};
  return {number(object, "Offset", "m") * normal, normal};
}

Polygon squareAround(Uv centre, double half)
{
  return {{centre.u - half, centre.v - half},
          {centre.u + half, centre.v - half},
          {centre.u + half, centre.v + half},
          {centre.u - half, centre.v + half}};
}

Polygon circleAround(Uv centre, double radius)
{
  constexpr int corners = 96;
  Polygon circle;
  for (int i = 0; i < corners; ++i) {
    const double angle = 2 * std::numbers::pi * i / corners;
    circle.push_back({centre.u + radius * std::cos(angle), centre.v + radius * std::sin(angle)});
  }
  return circle;
}

Polygon clippedToBox(Polygon polygon, const Plane& plane, const Field& field)
{
  const auto clip = [&](Vec wall, Vec inward) {
    polygon = clipped(polygon, [&](Uv at) { return dot(plane.at(at) - wall, inward); });
  };
  for (const Vec axis : {Vec{1, 0, 0}, Vec{0, 1, 0}, Vec{0, 0, 1}}) {
    clip(field.lower, axis);
    clip(field.upper, -1 * axis);
  }
  return polygon;
}

Polygon shapeOf(const KSLObject& object, const Plane& plane, const Field& field)
{
  const std::string& shape = object.getValue("Clip Shape");
  if (shape == "Circle")
    return circleAround({0, 0}, number(object, "Clip Radius", "m"));
  if (shape == "Square")
    return squareAround({0, 0}, number(object, "Clip Radius", "m"));
  return squareAround(plane.toPlane(0.5 * (field.lower + field.upper)), length(field.upper - field.lower));
}

}  // namespace

Cut makeCut(const KSLObject& object, const Field& field)
{
  const PointAndNormal place = placeOf(object);
  if (!(length(place.normal) > 1e-12))
    throw orv::data::invalid(
        "FlowLibrary", "makeCut",
        orv::_("Cut '%s' has no plane: its points lie on a line or its normal has no length.",
               object.getPath()));
  const Plane plane = planeAt(place.point, place.normal);
  return {plane, clippedToBox(shapeOf(object, plane, field), plane, field), field};
}

bool Cut::contains(Uv point) const
{
  for (std::size_t i = 0; i < outline.size(); ++i) {
    const Uv a = outline[i];
    const Uv b = outline[(i + 1) % outline.size()];
    if ((b.u - a.u) * (point.v - a.v) - (b.v - a.v) * (point.u - a.u) < 0)
      return false;
  }
  return !outline.empty() && clearance(point) >= 0;
}

double Cut::clearance(Uv point) const
{
  const Vec at = plane.at(point);
  return at.x * at.x + at.y * at.y - field.radius * field.radius;
}

Net netOver(const Polygon& outline)
{
  constexpr double squares = 320;  // along the longer side
  Net net;
  if (outline.empty())
    return net;
  Uv high = net.corner = outline.front();
  for (const Uv at : outline) {
    net.corner = {std::min(net.corner.u, at.u), std::min(net.corner.v, at.v)};
    high = {std::max(high.u, at.u), std::max(high.v, at.v)};
  }
  const double wide = high.u - net.corner.u;
  const double tall = high.v - net.corner.v;
  const double size = std::max(wide, tall) / squares;
  const auto nodes = [size](double side) {
    return size > 0 ? std::max(2, static_cast<int>(std::lround(side / size)) + 1) : 2;
  };
  net.columns = nodes(wide);
  net.rows = nodes(tall);
  net.width = wide / (net.columns - 1);
  net.height = tall / (net.rows - 1);
  return net;
}

namespace {

bool isWhole(const Cut& cut, const std::array<Uv, 4>& square)
{
  return std::all_of(square.begin(), square.end(), [&cut](Uv corner) { return cut.contains(corner); });
}

// What the outline and the body leave of a square. The body's border is taken as straight in it.
Polygon remainder(const Cut& cut, const std::array<Uv, 4>& square)
{
  Polygon left = clipped(Polygon(square.begin(), square.end()), [&cut](Uv at) { return cut.clearance(at); });
  for (std::size_t i = 0; i < cut.outline.size() && !left.empty(); ++i) {
    const Uv a = cut.outline[i];
    const Uv b = cut.outline[(i + 1) % cut.outline.size()];
    left = clipped(left, [&](Uv at) { return (b.u - a.u) * (at.v - a.v) - (b.v - a.v) * (at.u - a.u); });
  }
  return left;
}

}  // namespace

CutSize sizeOf(const Cut& cut)
{
  CutSize size;
  const Net net = netOver(cut.outline);
  for (int row = 0; row + 1 < net.rows; ++row) {
    for (int column = 0; column + 1 < net.columns; ++column) {
      const std::array<Uv, 4> square{net.node(column, row), net.node(column + 1, row),
                                     net.node(column + 1, row + 1), net.node(column, row + 1)};
      if (isWhole(cut, square)) {
        size.triangles += 2;
        size.area += net.width * net.height;
        continue;
      }
      const Polygon left = remainder(cut, square);
      const double covered = area(left);
      if (covered > 1e-12) {
        size.triangles += static_cast<int>(left.size()) - 2;
        size.area += covered;
      }
    }
  }
  return size;
}

void writeCut(KSLObject& object, const std::optional<Cut>& cut, const KSLObject* domain)
{
  std::vector<double> plane;
  std::vector<double> outline;
  if (cut) {
    for (const Vec part : {cut->plane.origin, cut->plane.uAxis, cut->plane.vAxis})
      plane.insert(plane.end(), {part.x, part.y, part.z});
    for (const Uv corner : cut->outline)
      outline.insert(outline.end(), {corner.u, corner.v});
  }
  setResult(object, "Plane", plane);
  setResult(object, "Outline Points", outline);
  setResult(object, "Source", cut && domain ? domain->getPath() : std::string());
}

std::optional<Cut> readCut(const KSLObject& object)
{
  const std::vector<double> plane = result(object, "Plane");
  const std::vector<double> corners = result(object, "Outline Points");
  const std::optional<Field> field =
      object.hasParam("Source") ? readField(object.getValue("Source")) : std::nullopt;
  if (!field || plane.size() != 9)
    return std::nullopt;
  Cut cut{{{plane[0], plane[1], plane[2]}, {plane[3], plane[4], plane[5]}, {plane[6], plane[7], plane[8]}},
          {},
          *field};
  for (std::size_t i = 0; i + 1 < corners.size(); i += 2)
    cut.outline.push_back({corners[i], corners[i + 1]});
  return cut;
}

}  // namespace flow
