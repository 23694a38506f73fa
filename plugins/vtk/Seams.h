// Where the pieces of several processes meet.
#pragma once

#include "Data.h"

#include <functional>
#include <unordered_map>
#include <vector>

namespace results {

// The faces of a surface that are wanted, with their fields; the points stay all.
Ptr<vtkPolyData> facesWhere(vtkPolyData& surface, const std::function<bool(vtkIdType)>& isWanted);

// Of all pieces: {least x, most x, least y, ...}; the least above the most without any.
std::array<double, 6> boundsOfAll(vtkDataSet& data);

// How many points there are, those at seams counted once.
vtkIdType countDistinctPoints(vtkDataSet& data);

// The piece, and round it the cells of others that touch it, with the fields on points: what is looked for from inside is
// found beyond a seam, too. Where they meet, both have points of their own.
Ptr<vtkDataSet> withNeighbours(vtkDataSet& data);

// What other processes have on their cells at a seam: for each point of this piece that they touch.
struct CellOfOther {
  Vec centre{};
  std::vector<double> values;
};
using CellsOfOthers = std::unordered_map<vtkIdType, std::vector<CellOfOther>>;
CellsOfOthers cellsOfOthers(vtkDataSet& data, const std::vector<Vec>& centres, vtkDataArray& onCells);

}  // namespace results
