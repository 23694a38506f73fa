// A plane through the results.
#pragma once

#include "Field.h"
#include "vec.h"

#include <optional>

namespace orv {
class KSLObject;
}

namespace flow {

// A plane with axes of its own, of which u and v count metres.
struct Plane {
  Vec origin;
  Vec uAxis;
  Vec vAxis;
  Vec at(Uv point) const { return origin + point.u * uAxis + point.v * vAxis; }
  Uv toPlane(Vec point) const { return {dot(point - origin, uAxis), dot(point - origin, vAxis)}; }
};

// What is left of a plane when it ends at the box of the results, and at a shape of its own if it has one.
struct Cut {
  Plane plane;
  Polygon outline;  // convex, counter-clockwise; empty when the plane misses the box
  Field field;      // what it cuts

  bool contains(Uv point) const;
  // Above 0 outside the body.
  double clearance(Uv point) const;
};

// A net of squares, as wide as an outline is.
struct Net {
  Uv corner;
  double width = 0;   // of a square
  double height = 0;  // the same, but for what is needed to end at the outline
  int columns = 0;    // of nodes
  int rows = 0;
  Uv node(int column, int row) const { return {corner.u + column * width, corner.v + row * height}; }
};
Net netOver(const Polygon& outline);

// Of a cut's parameters and the field. Throws data::invalid, class "FlowLibrary", function "makeCut", "Cut
// '%s' has no plane: its points lie on a line or its normal has no length.".
Cut makeCut(const orv::KSLObject& object, const Field& field);

struct CutSize {
  int triangles = 0;
  double area = 0;  // m^2
};
// Of the net's triangles, without the body.
CutSize sizeOf(const Cut& cut);

// What a calculation left on the object, to be read by the next; none when there was nothing to cut.
void writeCut(orv::KSLObject& object, const std::optional<Cut>& cut, const orv::KSLObject* domain);
std::optional<Cut> readCut(const orv::KSLObject& object);

}  // namespace flow
