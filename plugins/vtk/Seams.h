// Where the pieces of several processes meet.
#pragma once

#include "Data.h"

#include <functional>

namespace results {

// The faces of a surface that are wanted, with their fields; the points stay all.
Ptr<vtkPolyData> facesWhere(vtkPolyData& surface, const std::function<bool(vtkIdType)>& isWanted);

// Of all pieces: {least x, most x, least y, ...}; the least above the most without any.
std::array<double, 6> boundsOfAll(vtkDataSet& data);

// How many points there are, those at seams counted once.
vtkIdType countDistinctPoints(vtkDataSet& data);

}  // namespace results
