// Points and directions: in space, and on a plane.
#pragma once

#include <cmath>
#include <vector>

namespace flow {

struct Vec {
  double x = 0;
  double y = 0;
  double z = 0;
};

inline Vec operator+(Vec a, Vec b)
{
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec operator-(Vec a, Vec b)
{
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec operator*(double s, Vec a)
{
  return {s * a.x, s * a.y, s * a.z};
}
inline double dot(Vec a, Vec b)
{
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec cross(Vec a, Vec b)
{
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double length(Vec a)
{
  return std::sqrt(dot(a, a));
}
// Null stays null.
inline Vec unit(Vec a)
{
  const double size = length(a);
  return size > 0 ? (1 / size) * a : a;
}

struct Uv {
  double u = 0;
  double v = 0;
};
using Polygon = std::vector<Uv>;

inline Uv between(Uv a, Uv b, double t)
{
  return {a.u + t * (b.u - a.u), a.v + t * (b.v - a.v)};
}
inline double distance(Uv a, Uv b)
{
  return std::hypot(b.u - a.u, b.v - a.v);
}

// The part of a polygon where `height`, linear along its edges, is not negative. Exact for convex polygons.
template <class Height>
Polygon clipped(const Polygon& polygon, Height height)
{
  Polygon kept;
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    const Uv a = polygon[i];
    const Uv b = polygon[(i + 1) % polygon.size()];
    const double ha = height(a);
    const double hb = height(b);
    if (ha >= 0)
      kept.push_back(a);
    if ((ha >= 0) != (hb >= 0))
      kept.push_back(between(a, b, ha / (ha - hb)));
  }
  return kept;
}

// Positive when the corners run counter-clockwise.
inline double area(const Polygon& polygon)
{
  double twice = 0;
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    const Uv a = polygon[i];
    const Uv b = polygon[(i + 1) % polygon.size()];
    twice += a.u * b.v - b.u * a.v;
  }
  return twice / 2;
}

}  // namespace flow
