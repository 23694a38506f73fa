// Derivatives of fields along x, y and z, by least squares: exact for what is linear, whatever the cells are.
#pragma once

#include "Data.h"

#include <vtkDoubleArray.h>

namespace results {

// Values that stand on points: from all points of the cells round each. Values that stand on cells: from all cells that
// touch each, as values of their centres. At a seam from the cells of all processes. Along a direction in which there is
// nothing to compare with, as across a surface or a single layer of cells, the derivative is 0.
// For each component the three derivatives, one behind the other.
Ptr<vtkDoubleArray> gradientOf(vtkDataSet& data, vtkDoubleArray& values, bool onCells);

}  // namespace results
