// Sizes of places, sums over them, and values at points.
#pragma once

#include "Data.h"

#include <functional>
#include <vector>

namespace results {

// A triangle of a surface, or a tetrahedron of a volume.
struct Piece {
  vtkIdType cell;
  const vtkIdType* points;  // three or four
  double size;              // m^2 or m^3
  Vec normal;               // of a triangle: of length 1, 0 for one without size
};

// In the order of the cells. A surface with a normal of its own gives that to all pieces. Lines and points have none.
void forEachPiece(const Place& place, const std::function<void(const Piece&)>& visit);

// Of the pieces of all processes.
double areaOf(vtkPolyData& surface);
double volumeOf(vtkDataSet& volume);

// Those of the points that lie in the mesh, as vertices, with its fields; of several processes at the first.
Ptr<vtkPolyData> sampled(const Mesh& mesh, const std::vector<Vec>& points);

}  // namespace results
